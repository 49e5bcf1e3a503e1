#include "core/page/VMRWebViewMonitor.h"

#include "core/page/VMRWebViewRuntime.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

namespace vemora {

std::shared_ptr<VMRWebViewMonitor> VMRWebViewMonitor::initWithRuntime(
    std::weak_ptr<VMRWebViewRuntime> runtime) {
  std::shared_ptr<VMRWebViewMonitor> monitor(new VMRWebViewMonitor);
  monitor->setRuntime(std::move(runtime));
  return monitor;
}

void VMRWebViewMonitor::webViewDidFinishNavigation() {
  const auto owner = runtime();
  if (const auto webView = owner ? owner->getWebView() : nullptr) {
    webView->setContentInsetAdjustmentNever();
    webView->setContentInset({});
  }
  resolve(true);
}

void VMRWebViewMonitor::webViewDidFailProvisionalNavigation(const VMRError& error) {
  fail(error);
}
void VMRWebViewMonitor::webViewDidFailNavigation(const VMRError& error) {
  fail(error);
}
void VMRWebViewMonitor::webViewWebContentProcessDidTerminate() {
  cancel();
}

void VMRWebViewMonitor::webViewCreateWebView(const std::optional<std::string>& url) {
  if (!url) return;
  const auto owner = runtime();
  if (!owner) return;
  const auto message =
      VMRRpc::initWithMethod("window", JsonValue::object({{"event", "open"}, {"url", *url}}));
  // Through the line of the page's own messages, so that it cannot overtake them.
  owner->deliver(message);
}

void VMRWebViewMonitor::webViewRunJavaScriptAlertPanel(std::string_view message,
                                                       std::function<void()> completion) {
  if (Vemora::debugMode()) displayAlertMessage(message);
  completion();
}

void VMRWebViewMonitor::displayAlertMessage(std::string_view message) {
  Platform::shared().application().showAlert("SDK4 Controller Alert:", message, "OK");
}

}  // namespace vemora
