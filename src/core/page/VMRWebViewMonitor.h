#pragma once

#include "core/bridge/VMRFuture.h"
#include "ports/WebView.h"

#include <memory>

namespace vemora {

class VMRWebViewRuntime;

/// Watches the web view of the controller page. It is the runtime's `loaded` future itself: the end of the
/// navigation resolves it with true, a failed navigation fails it, the end of the web process cancels it.
/// Only the first of these counts, so a page whose process ends after it has loaded stays loaded.
///
/// The web view holds it weakly as its delegate, the runtime strongly. Delegate calls come on the main
/// thread.
class VMRWebViewMonitor final : public VMRFuture, public WebViewNavigationDelegate, public WebViewUIDelegate {
 public:
  static std::shared_ptr<VMRWebViewMonitor> initWithRuntime(std::weak_ptr<VMRWebViewRuntime> runtime);

  std::shared_ptr<VMRWebViewRuntime> runtime() const { return runtime_.lock(); }
  void setRuntime(std::weak_ptr<VMRWebViewRuntime> runtime) { runtime_ = std::move(runtime); }

  /// An HTTP error is logged. It does not fail the load: that is left to the page that came with it.
  void webViewDidReceiveResponse(int status) override;
  /// The load may follow redirects, over https only. The document that it ends at is the controller for good:
  /// its main frame goes nowhere else, not even to the same address again.
  WebViewNavigationPolicy webViewDecidePolicyForNavigation(std::string_view url) override;
  /// A document that replaces the controller's gets no bridge.
  void webViewDidCommitNavigation() override;
  void webViewDidFinishNavigation() override;
  void webViewDidFailProvisionalNavigation(const VMRError& error) override;
  void webViewDidFailNavigation(const VMRError& error) override;
  void webViewWebContentProcessDidTerminate() override;
  /// The page gets no window: the address goes to the runtime's observers as a "window" message.
  void webViewCreateWebView(const std::optional<std::string>& url) override;
  /// Never keeps the page waiting. The text is shown in debug mode only.
  void webViewRunJavaScriptAlertPanel(std::string_view message, std::function<void()> completion) override;
  void displayAlertMessage(std::string_view message);

 private:
  VMRWebViewMonitor() = default;
  void record(const char* event, const JsonValue& url = {}, const JsonValue& error = {}) const;
  void reportFailure(const VMRError& reason);

  std::weak_ptr<VMRWebViewRuntime> runtime_;
  bool hasDocument_ = false;
  bool hasRefused_ = false;
};

}  // namespace vemora
