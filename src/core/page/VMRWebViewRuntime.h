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

/// Stands between a content controller, which holds its handlers strongly, and the real handler, which it
/// does not keep alive.
class WeakMessageHandler final : public ScriptMessageHandler {
 public:
  static std::shared_ptr<WeakMessageHandler> initWith(std::weak_ptr<ScriptMessageHandler> handler);

  void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) override;
  std::shared_ptr<ScriptMessageHandler> handler() const { return _handler.lock(); }
  void setHandler(std::weak_ptr<ScriptMessageHandler> handler) { _handler = std::move(handler); }

 private:
  std::weak_ptr<ScriptMessageHandler> _handler;
};

/// The channel to a controller page in a web view.
///
/// Native to page, a message is evaluated as a call of the page's bridge; page to native, the page posts to
/// two named script message handlers. Every message that comes, and every change of visibility, reaches the
/// observers on a thread of its own. `init` belongs to the main thread; `postMessage`, `close`, `isVisible`
/// and the end of its life to any.
class VMRWebViewRuntime final : public VMRRuntime, public ScriptMessageHandler, public KeyValueObserver {
 public:
  /// Starts loading the page at once. There is no second try: a runtime whose page failed stays failed.
  static std::shared_ptr<VMRWebViewRuntime> init();
  ~VMRWebViewRuntime() override;

  /// Null after `close`. The view itself belongs to the main thread, and so does letting go of it.
  std::shared_ptr<WebView> getWebView() const { return _webView.get(); }
  /// A new configuration, with this runtime behind both script message handlers.
  WebViewConfiguration configuration();
  void loadHtml();

  void postMessage(const std::shared_ptr<VMRRpc>& message, ErrorHandler errorHandler) override;
  void close() override;
  bool isVisible() const override { return _isVisible; }

  /// Looks now and every second from then on, until the runtime has gone.
  void updateVisibility();
  void updateForVisibilityChange();
  void removeObservers();
  void observeValueForKeyPath(std::string_view keyPath) override;
  void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) override;

 protected:
  const char* className() const override { return "VMRWebViewRuntime"; }

 private:
  VMRWebViewRuntime() = default;
  void build();
  void evaluate(const std::string& script, const ErrorHandler& errorHandler);
  void tearDown();
  std::shared_ptr<VMRWebViewRuntime> self();

  const std::shared_ptr<DeliveryLine> _messages = std::make_shared<DeliveryLine>();
  Locked<std::shared_ptr<WebView>> _webView;
  std::atomic<bool> _isVisible{false};
};

}  // namespace vemora
