#include "core/page/VMRWebViewMonitor.h"

#include "core/bridge/VMRBridgeErrors.h"
#include "core/inspect/Inspection.h"
#include "core/page/VMRWebViewRuntime.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

#include <utility>

namespace vemora {

namespace {

constexpr int kFirstErrorStatus = 400;  // RFC 9110, 15.5

}  // namespace

std::shared_ptr<VMRWebViewMonitor> VMRWebViewMonitor::initWithRuntime(
    std::weak_ptr<VMRWebViewRuntime> runtime) {
  std::shared_ptr<VMRWebViewMonitor> monitor(new VMRWebViewMonitor);
  monitor->setRuntime(std::move(runtime));
  return monitor;
}

void VMRWebViewMonitor::record(const char* event, const JsonValue& url, const JsonValue& error) const {
  const auto owner = runtime();
  inspect::record("page", owner ? owner->number() : 0, {{"event", event}, {"url", url}, {"error", error}});
}

void VMRWebViewMonitor::webViewDidReceiveResponse(int status) {
  if (status >= kFirstErrorStatus)
    reportFailure({"HTTP", status, "HTTP status " + std::to_string(status), {}, {}, nullptr});
}

WebViewNavigationPolicy VMRWebViewMonitor::webViewDecidePolicyForNavigation(std::string_view url) {
  const auto target = Platform::shared().system().urlWithString(url);
  if (!hasDocument_ && target && target->scheme == "https") {
    return WebViewNavigationPolicy::Allow;
  }
  // The address itself can hold what the page knows of the user.
  const std::string text = "Controller page not allowed to navigate to " +
                           (target ? target->scheme + "://" + target->host : "an invalid address");
  // A page can try without end, and errors are logged always.
  std::exchange(hasRefused_, true) ? Vemora::log(text) : Vemora::logError(text);
  return WebViewNavigationPolicy::Cancel;
}

void VMRWebViewMonitor::webViewDidCommitNavigation() {
  if (!std::exchange(hasDocument_, true)) return;
  Vemora::logError("Controller page replaced by another document");
  if (const auto owner = runtime()) owner->removeMessageHandlers();
}

void VMRWebViewMonitor::webViewDidFinishNavigation() {
  if (inspect::isOn()) record("finished");
  const auto owner = runtime();
  if (const auto webView = owner ? owner->getWebView() : nullptr) {
    webView->setContentInsetAdjustmentNever();
    webView->setContentInset({});
  }
  resolve(true);
}

void VMRWebViewMonitor::webViewDidFailProvisionalNavigation(const VMRError& error) {
  if (inspect::isOn()) record("failedProvisional", {}, inspect::valueOf(error));
  reportFailure(error);
  fail(error);
}
void VMRWebViewMonitor::webViewDidFailNavigation(const VMRError& error) {
  if (inspect::isOn()) record("failed", {}, inspect::valueOf(error));
  reportFailure(error);
  fail(error);
}
void VMRWebViewMonitor::webViewWebContentProcessDidTerminate() {
  if (inspect::isOn()) record("terminated");
  reportFailure(makeError(VMRErrorBridge, "its web process ended"));
  cancel();
}

void VMRWebViewMonitor::reportFailure(const VMRError& reason) {
  const auto owner = isDone() ? nullptr : runtime();
  if (owner) owner->pageDidNotLoad(reason);
}

void VMRWebViewMonitor::webViewCreateWebView(const std::optional<std::string>& url) {
  if (inspect::isOn()) record("window", url);
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
  if (inspect::isOn()) record("alert");
  if (Vemora::debugMode()) displayAlertMessage(message);
  completion();
}

void VMRWebViewMonitor::displayAlertMessage(std::string_view message) {
  Platform::shared().application().showAlert("SDK4 Controller Alert:", message, "OK");
}

}  // namespace vemora
