#pragma once

#include "base/Locked.h"
#include "core/bridge/DeliveryLine.h"
#include "core/bridge/VMRRuntime.h"
#include "core/page/VMRWebViewMonitor.h"
#include "ports/WebView.h"

#include <atomic>
#include <memory>
#include <string>

namespace vemora {

/// Forwards to the real handler, which it holds weakly, for a content controller, which holds its handlers
/// strongly.
class WeakMessageHandler final : public ScriptMessageHandler {
 public:
  static std::shared_ptr<WeakMessageHandler> initWith(std::weak_ptr<ScriptMessageHandler> handler);

  void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) override;
  std::shared_ptr<ScriptMessageHandler> handler() const { return handler_.lock(); }
  void setHandler(std::weak_ptr<ScriptMessageHandler> handler) { handler_ = std::move(handler); }

 private:
  std::weak_ptr<ScriptMessageHandler> handler_;
};

/// The channel to a controller page in a web view.
///
/// Native to page, a message is evaluated as a call of the page's bridge; page to native, the page posts to
/// two named script message handlers. Messages reach the observers on background threads, in order as a rule:
/// see `DeliveryLine`. A change of visibility reaches each observer on a thread of its own. Main thread,
/// except for `postMessage`, `deliver`, `close`, `isVisible`, `getWebView` and destruction, which may come on
/// any.
class VMRWebViewRuntime final : public VMRRuntime,
                                public ScriptMessageHandler,
                                public KeyValueObserver,
                                public LayoutObserver {
 public:
  /// Starts loading the page at once. There is no second try: a runtime whose page failed stays failed.
  static std::shared_ptr<VMRWebViewRuntime> init();
  ~VMRWebViewRuntime() override;

  /// Null after `close`. The view itself belongs to the main thread, its release included.
  std::shared_ptr<WebView> getWebView() const { return webView_.get(); }
  /// A new configuration, with this runtime behind both script message handlers.
  WebViewConfiguration configuration();
  void loadHtml();
  /// Logs which page did not load and why, and adds that to the errors of the scripts that fail after it.
  void pageDidNotLoad(const VMRError& reason);

  void postMessage(const std::shared_ptr<VMRRpc>& message, ErrorHandler errorHandler) override;
  void close() override;
  bool isVisible() const override { return isVisible_; }

  /// Passes a message, which may be null, to the observers in the background, after those that came before.
  void deliver(const std::shared_ptr<VMRRpc>& message);

  /// Tests the visibility now and every second from then on, until the runtime has gone. The test also runs
  /// when the view enters or leaves a window, is hidden or shown, or was laid out; the second's poll is for
  /// what no observer reports, such as an ancestor that was moved.
  void updateVisibility();
  void updateForVisibilityChange();
  void removeObservers();
  /// For a page that is not the controller any more.
  void removeMessageHandlers();
  void observeValueForKeyPath(std::string_view keyPath) override;
  void viewDidLayout() override;
  void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) override;

 protected:
  const char* className() const override { return "VMRWebViewRuntime"; }

 private:
  VMRWebViewRuntime() = default;
  void build();
  void evaluate(const std::string& script, const ErrorHandler& errorHandler);
  void tearDown();
  void recordLayout(const WebView& webView);
  std::shared_ptr<VMRWebViewRuntime> self();

  const std::shared_ptr<DeliveryLine> messages_ = std::make_shared<DeliveryLine>();
  Locked<std::shared_ptr<WebView>> webView_;
  std::atomic<bool> isVisible_{false};
  std::shared_ptr<const VMRError> loadFailure_;  ///< Main thread only.
  bool hasNoWebView_ = false;                    ///< The platform could make none. Main thread only.

  /// The view's place as it was recorded last. Main thread only.
  struct Layout {
    Rect frame;
    bool isInWindow = false;
    bool isHidden = false;
    bool operator==(const Layout& other) const = default;
  };
  Layout recordedLayout_;
};

}  // namespace vemora
