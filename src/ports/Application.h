#pragma once

#include "ports/URLSession.h"
#include "ports/View.h"
#include "ports/ViewController.h"
#include "ports/WebView.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// Posted on the default notification centre, on the main thread, when the application as a whole becomes
/// inactive or active. Focus that moves between windows of the application posts neither.
inline constexpr char UIApplicationWillResignActiveNotification[] =
    "UIApplicationWillResignActiveNotification";
inline constexpr char UIApplicationDidBecomeActiveNotification[] = "UIApplicationDidBecomeActiveNotification";

/// The windows of the host application, and a factory for what is shown in them.
///
/// Lifetime: Lives as long as the platform. The caller owns the objects that it creates.
///
/// Threads: Main thread only.
///
/// Completion: Operations take effect before they return, except for `webViewUserAgent`, which completes
/// once, on the main thread, inside the call or later.
///
/// Errors: `keyWindow` returns null when there is no window. `createSafariViewController` returns null when
/// there is no in-app browser or when the browser cannot show the address.
class Application {
 public:
  virtual ~Application() = default;

  /// The window that has or last had the focus.
  virtual std::shared_ptr<Window> keyWindow() = 0;
  virtual std::shared_ptr<UserContentController> createUserContentController() = 0;
  /// Null, after an error in the log, when the platform has no display.
  virtual std::shared_ptr<WebView> createWebView(const Rect& frame,
                                                 const WebViewConfiguration& configuration) = 0;
  virtual std::shared_ptr<ViewController> createViewController(const ViewControllerTraits& traits) = 0;
  virtual std::shared_ptr<SFSafariViewController> createSafariViewController(const URL& url) = 0;
  virtual void showAlert(std::string_view title, std::string_view message, std::string_view button) = 0;
  /// The value of "navigator.userAgent" in a new web view; absent when it cannot be read. Always the same
  /// value, once there has been one.
  using UserAgentCompletion = std::function<void(const std::optional<std::string>&)>;
  virtual void webViewUserAgent(UserAgentCompletion completion) = 0;
};

}  // namespace vemora
