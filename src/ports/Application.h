#pragma once

#include "ports/URLSession.h"
#include "ports/View.h"
#include "ports/ViewController.h"
#include "ports/WebView.h"

#include <memory>
#include <string>
#include <string_view>

namespace vemora {

/// Posted on the default notification centre, on the main thread, when the application as a whole stops or
/// becomes the one in use. Focus that moves between the application's own windows is neither.
inline constexpr char UIApplicationWillResignActiveNotification[] =
    "UIApplicationWillResignActiveNotification";
inline constexpr char UIApplicationDidBecomeActiveNotification[] = "UIApplicationDidBecomeActiveNotification";

/// The host application's windows, and what can be put into them.
///
/// Lifetime: as long as the platform; what it makes belongs to the caller.
/// Threads: the main thread, save `webViewUserAgent`'s result, which never changes.
/// Completion: everything acts at once.
/// Errors: without a window `keyWindow` is null; without an in-app browser, or for an address that it cannot
/// show, `createSafariViewController` returns null.
class Application {
 public:
  virtual ~Application() = default;

  /// The window that has or last had the focus.
  virtual std::shared_ptr<Window> keyWindow() = 0;
  virtual std::shared_ptr<UserContentController> createUserContentController() = 0;
  virtual std::shared_ptr<WebView> createWebView(const Rect& frame,
                                                 const WebViewConfiguration& configuration) = 0;
  virtual std::shared_ptr<ViewController> createViewController(const ViewControllerTraits& traits) = 0;
  virtual std::shared_ptr<SFSafariViewController> createSafariViewController(const URL& url) = 0;
  virtual void showAlert(std::string_view title, std::string_view message, std::string_view button) = 0;
  /// What "navigator.userAgent" says in a new web view; absent when there is no answer.
  virtual std::optional<std::string> webViewUserAgent() = 0;
};

}  // namespace vemora
