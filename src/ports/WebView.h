#pragma once

#include "ports/URLSession.h"
#include "ports/View.h"

#include <Vemora/JsonValue.h>
#include <Vemora/VMRError.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// A message that the page posted to a named handler. The body keeps its JSON type. A value that JSON cannot
/// represent is passed as its text.
struct ScriptMessage {
  std::string name;
  JsonValue body;
};

class ScriptMessageHandler {
 public:
  virtual ~ScriptMessageHandler() = default;
  virtual void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) = 0;
};

/// The page's message handlers, held strongly. They receive messages of the main frame's own scripts only:
/// those of other frames do not find them, or get nothing through, whatever their origin.
class UserContentController {
 public:
  virtual ~UserContentController() = default;
  /// Before the page is loaded.
  virtual void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler,
                                       std::string_view name) = 0;
  virtual void removeScriptMessageHandlerForName(std::string_view name) = 0;
};

struct WebViewConfiguration {
  std::shared_ptr<UserContentController> userContentController;
  bool allowsInlineMediaPlayback = false;
  bool mediaTypesRequireUserAction = true;
  /// What the page or one of its frames requests over http is requested over https instead.
  bool upgradeToHTTPS = false;
};

enum class WebViewNavigationPolicy { Cancel, Allow };

class WebViewNavigationDelegate {
 public:
  virtual ~WebViewNavigationDelegate() = default;
  /// The HTTP status of the page that loads. It precedes the end of the navigation.
  virtual void webViewDidReceiveResponse(int status) = 0;
  /// Asked before the main frame gets another document: for a load, for each redirect of it, and for each
  /// navigation of the page, except within its document. A platform that learns late which frame navigates
  /// asks when the answer arrives, and asks about a navigation to plain http before it knows the frame. A
  /// cancelled navigation fails as a provisional one, and the document stays.
  virtual WebViewNavigationPolicy webViewDecidePolicyForNavigation(std::string_view) {
    return WebViewNavigationPolicy::Allow;
  }
  /// The main frame has got another document, before any message from it.
  virtual void webViewDidCommitNavigation() {}
  virtual void webViewDidFinishNavigation() = 0;
  virtual void webViewDidFailProvisionalNavigation(const VMRError& error) = 0;
  virtual void webViewDidFailNavigation(const VMRError& error) = 0;
  virtual void webViewWebContentProcessDidTerminate() = 0;
};

class WebViewUIDelegate {
 public:
  virtual ~WebViewUIDelegate() = default;
  /// The page asked for a new window, which it never gets. Without an address, `url` is absent.
  virtual void webViewCreateWebView(const std::optional<std::string>& url) = 0;
  virtual void webViewRunJavaScriptAlertPanel(std::string_view message, std::function<void()> completion) = 0;
};

struct EdgeInsets {
  double top = 0, left = 0, bottom = 0, right = 0;
};

/// A view that shows a web page in a separate process.
///
/// Lifetime: Delegates are held weakly. The configuration and its content controller are held strongly.
///
/// Threads: Main thread only, including destruction. Every callback runs on the main thread.
///
/// Completion: `evaluateJavaScript` completes exactly once, unless the view is destroyed before. The value of
/// the script is discarded; a value that cannot be serialized is not an error. Delegates are notified when a
/// navigation ends, never before the call that started it has returned.
///
/// Errors: Domain and code are those of the platform.
class WebView : public virtual View {
 public:
  virtual const WebViewConfiguration& configuration() const = 0;
  virtual void setNavigationDelegate(std::weak_ptr<WebViewNavigationDelegate> delegate) = 0;
  virtual void setUIDelegate(std::weak_ptr<WebViewUIDelegate> delegate) = 0;
  virtual void loadRequest(const URLRequest& request) = 0;
  virtual void stopLoading() = 0;
  virtual void evaluateJavaScript(std::string_view script,
                                  std::function<void(const std::optional<VMRError>&)> completion) = 0;
  virtual void setScrollEnabled(bool enabled) = 0;
  virtual void setContentInsetAdjustmentNever() = 0;
  virtual void setContentInset(const EdgeInsets& insets) = 0;
};

}  // namespace vemora
