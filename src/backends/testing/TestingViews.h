#pragma once

#include "ports/Application.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// An in-memory stand-in for the views, windows, controllers and web views of a platform. Everything here
// belongs to the main thread, and stops the process when it is touched from another.

namespace vemora::testing {

class FakeWindow;

/// A view in a tree. Frames are what was set, or, once the view no longer translates its autoresizing mask,
/// what `layoutIfNeeded` computes from the constraints between a view and its superview. Observers are
/// notified of "window" for every view of a subtree that enters or leaves a window, and of "hidden" by
/// `setHidden`. Layout observers are called by `setFrame` and `layoutIfNeeded`, for the view that was given
/// another frame and for its subviews.
class FakeView : public virtual View, public std::enable_shared_from_this<FakeView> {
 public:
  FakeView();
  explicit FakeView(const Rect& frame);
  ~FakeView() override;
  /// How many views exist, so that a test can tell whether it leaked one.
  static std::size_t alive();

  std::shared_ptr<View> superview() const override;
  std::shared_ptr<Window> window() const override;
  bool isHidden() const override;
  Rect frame() const override;
  Rect bounds() const override;
  bool isDescendantOfView(const View& ancestor) const override;
  std::optional<Rect> convertRectToView(const Rect& rect, const View& other) const override;
  void addSubview(const std::shared_ptr<View>& view) override;
  void removeFromSuperview() override;
  void setFrame(const Rect& frame) override;
  void setUserInteractionEnabled(bool enabled) override;
  void setOpaque(bool opaque) override;
  void setBackgroundColorBlack() override;
  void setTranslatesAutoresizingMaskIntoConstraints(bool translates) override;
  void addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void setNeedsLayout() override;
  void addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath, bool initial) override;
  void removeObserver(const KeyValueObserver* observer, std::string_view keyPath) override;
  void setLayoutObserver(std::weak_ptr<LayoutObserver> observer) override;
  void* layer() const override;

  void setHidden(bool hidden);
  /// Lays out this view's subtree from the constraints.
  void layoutIfNeeded();

  const std::vector<std::shared_ptr<FakeView>>& subviews() const { return subviews_; }
  const std::vector<std::shared_ptr<LayoutConstraint>>& constraints() const { return constraints_; }
  bool isUserInteractionEnabled() const { return userInteractionEnabled_; }
  bool isOpaque() const { return opaque_; }
  bool isBlack() const { return black_; }
  std::size_t layoutRequests() const { return layoutRequests_; }
  std::size_t observerCount() const { return observers_.size(); }

 private:
  struct Observation {
    std::weak_ptr<KeyValueObserver> observer;
    const KeyValueObserver* address;
    std::string keyPath;
  };

  const FakeView& root() const;
  Rect originInRoot() const;
  void notify(std::string_view keyPath);
  void notifyWindowOfSubtree();
  void notifyLayoutOfSubtree();
  void dropConstraintsOf(const FakeView& view);
  void constrainFrame(const LayoutConstraint& constraint, const Rect& container);

  Rect frame_;
  bool hidden_ = false;
  bool userInteractionEnabled_ = true;
  bool opaque_ = true;
  bool black_ = false;
  bool translates_ = true;
  std::size_t layoutRequests_ = 0;
  FakeView* superview_ = nullptr;  ///< Holds this one, and clears the field when it is destroyed.
  std::vector<std::shared_ptr<FakeView>> subviews_;
  std::vector<std::shared_ptr<LayoutConstraint>> constraints_;
  std::vector<Observation> observers_;
  std::weak_ptr<LayoutObserver> layoutObserver_;
};

class FakeViewController;

class FakeWindow final : public FakeView, public Window {
 public:
  static std::shared_ptr<FakeWindow> make(const Rect& frame);

  std::shared_ptr<ViewController> rootViewController() const override;
  void setRootViewController(std::shared_ptr<ViewController> controller) { root_ = std::move(controller); }

 private:
  using FakeView::FakeView;
  std::shared_ptr<ViewController> root_;
};

/// A controller. To present one, `presentViewController` puts the presented view into the presenter's
/// window at once; the completion follows on the main queue, or, with
/// `FakeApplication::setHoldsPresentations`, when the test calls `finishPresentation`. Presenting over
/// something presented, or from outside a window, does nothing. `userCloses` is the viewer closing it: it is
/// dismissed with all that is presented over it, and each of them notifies its delegate, the topmost first.
class FakeViewController : public virtual ViewController,
                           public std::enable_shared_from_this<FakeViewController> {
 public:
  explicit FakeViewController(const ViewControllerTraits& traits);
  ~FakeViewController() override;

  std::shared_ptr<View> view() const override;
  bool isEqual(const ViewController& other) const override { return this == &other; }
  std::shared_ptr<ViewController> presentedViewController() const override;
  std::shared_ptr<ViewController> presentingViewController() const override;
  void presentViewController(const std::shared_ptr<ViewController>& controller, bool animated,
                             std::function<void()> completion) override;
  void dismissViewController(bool animated) override;
  void setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) override;

  void userCloses();
  /// The presented view is on screen: runs the completion that was held back.
  void finishPresentation();
  const ViewControllerTraits& traits() const { return traits_; }
  const std::shared_ptr<FakeView>& fakeView() const { return view_; }

 protected:
  /// The viewer closed it; called after it has left the screen.
  virtual void didCloseByUser();

 private:
  const ViewControllerTraits traits_;
  const std::shared_ptr<FakeView> view_ = std::make_shared<FakeView>();
  std::shared_ptr<FakeViewController> presented_;
  FakeViewController* presenter_ = nullptr;  ///< Holds this one, and clears the field when it releases it.
  std::function<void()> completion_;
  std::weak_ptr<PresentationControllerDelegate> delegate_;
};

/// The in-app browser. `userCloses` dismisses it and notifies its delegate.
class FakeSafariViewController final : public FakeViewController, public SFSafariViewController {
 public:
  explicit FakeSafariViewController(URL url) : FakeViewController({}), url_(std::move(url)) {}

  void setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) override;
  const URL& url() const { return url_; }

 private:
  void didCloseByUser() override;

  const URL url_;
  std::weak_ptr<SFSafariViewControllerDelegate> delegate_;
};

class FakeUserContentController final : public UserContentController {
 public:
  void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, std::string_view name) override;
  void removeScriptMessageHandlerForName(std::string_view name) override;

  std::shared_ptr<ScriptMessageHandler> handlerNamed(std::string_view name) const;
  std::vector<std::string> names() const;

 private:
  std::map<std::string, std::shared_ptr<ScriptMessageHandler>, std::less<>> handlers_;
};

/// A web view whose page the test plays:
///
///     created --loadRequest--> loading --commitNavigation--> --finishNavigation--> loaded
///                                      --failNavigation / failProvisionalNavigation--> failed
///     loaded --commitNavigation--> the page has been replaced by another document
///     any of these --terminateProcess--> without a process: every script fails from then on
///
/// Scripts are recorded and answered on the main queue, without an error or with the one that `onEvaluate`
/// returns. A view that is destroyed first never answers.
class FakeWebView final : public FakeView, public WebView {
 public:
  FakeWebView(const Rect& frame, WebViewConfiguration configuration);

  const WebViewConfiguration& configuration() const override;
  void setNavigationDelegate(std::weak_ptr<WebViewNavigationDelegate> delegate) override;
  void setUIDelegate(std::weak_ptr<WebViewUIDelegate> delegate) override;
  void loadRequest(const URLRequest& request) override;
  void stopLoading() override;
  void evaluateJavaScript(std::string_view script,
                          std::function<void(const std::optional<VMRError>&)> completion) override;
  void setScrollEnabled(bool enabled) override;
  void setContentInsetAdjustmentNever() override;
  void setContentInset(const EdgeInsets& insets) override;

  /// Whether a redirect or a navigation of the page is allowed.
  bool mayNavigateTo(std::string_view url);
  void commitNavigation();
  /// Commits the navigation first if the test did not.
  void finishNavigation(int status = 200);
  void failProvisionalNavigation(const VMRError& error);
  void failNavigation(const VMRError& error);
  void terminateProcess();
  void requestWindow(const std::optional<std::string>& url);
  /// True when the page was allowed to continue before this returned.
  bool alert(std::string_view text);
  /// What `webkit.messageHandlers[name].postMessage(body)` does; false when there is no such handler.
  bool post(std::string_view name, const JsonValue& body);

  std::function<std::optional<VMRError>(const std::string& script)> onEvaluate;

  FakeUserContentController& contentController() const;
  const std::vector<URLRequest>& requests() const { return requests_; }
  const std::vector<std::string>& scripts() const { return scripts_; }
  /// Every call that changed the view's loading, in order: "navigationDelegate null", "stopLoading", "load
  /// URL", ...
  const std::vector<std::string>& journal() const { return journal_; }
  bool isScrollEnabled() const { return scrollEnabled_; }
  bool neverAdjustsInsets() const { return neverAdjustsInsets_; }
  bool hasContentInset() const { return contentInset_.has_value(); }

 private:
  const WebViewConfiguration configuration_;
  std::weak_ptr<WebViewNavigationDelegate> navigationDelegate_;
  std::weak_ptr<WebViewUIDelegate> uiDelegate_;
  std::vector<URLRequest> requests_;
  std::vector<std::string> scripts_;
  std::vector<std::string> journal_;
  bool hasDocument_ = false;
  bool hasProcess_ = true;
  bool scrollEnabled_ = true;
  bool neverAdjustsInsets_ = false;
  std::optional<EdgeInsets> contentInset_;
};

struct ShownAlert {
  std::string title, message, button;
  bool operator==(const ShownAlert&) const = default;
};

/// The host application: one key window of 400 by 300 points with a root view controller, unless the test
/// takes it away.
class FakeApplication final : public Application {
 public:
  FakeApplication();
  ~FakeApplication() override;

  std::shared_ptr<Window> keyWindow() override;
  std::shared_ptr<UserContentController> createUserContentController() override;
  std::shared_ptr<WebView> createWebView(const Rect& frame,
                                         const WebViewConfiguration& configuration) override;
  std::shared_ptr<ViewController> createViewController(const ViewControllerTraits& traits) override;
  /// For http and https addresses, as long as the browser is there.
  std::shared_ptr<SFSafariViewController> createSafariViewController(const URL& url) override;
  void showAlert(std::string_view title, std::string_view message, std::string_view button) override;
  void webViewUserAgent(UserAgentCompletion completion) override;

  void setKeyWindow(std::shared_ptr<FakeWindow> window) { window_ = std::move(window); }
  void setHasBrowser(bool has) { hasBrowser_ = has; }
  void setUserAgent(std::optional<std::string> userAgent) { userAgent_ = std::move(userAgent); }
  /// From now on queries are answered by `answerUserAgents`, not at once.
  void holdUserAgent() { holdsUserAgent_ = true; }
  void answerUserAgents();
  void setHoldsPresentations(bool holds) { holdsPresentations_ = holds; }
  bool holdsPresentations() const { return holdsPresentations_; }
  /// Called with each web view that is made.
  std::function<void(const std::shared_ptr<FakeWebView>&)> onCreateWebView;
  /// The application as a whole leaves and comes back.
  void resignActive();
  void becomeActive();

  const std::shared_ptr<FakeWindow>& window() const { return window_; }
  std::shared_ptr<FakeViewController> rootViewController() const;
  /// The web views made so far; those that are gone are null.
  std::shared_ptr<FakeWebView> webView(std::size_t index) const { return webViews_.at(index).lock(); }
  std::size_t webViewCount() const { return webViews_.size(); }
  std::shared_ptr<FakeWebView> lastWebView() const;
  const std::vector<std::shared_ptr<FakeSafariViewController>>& browsers() const { return browsers_; }
  const std::vector<ShownAlert>& alerts() const { return alerts_; }
  std::size_t userAgentQueries() const { return userAgentQueries_; }

 private:
  std::shared_ptr<FakeWindow> window_;
  bool hasBrowser_ = true;
  bool holdsPresentations_ = false;
  std::optional<std::string> userAgent_ = "FakeWebKit/1.0";
  std::size_t userAgentQueries_ = 0;
  bool holdsUserAgent_ = false;
  std::vector<UserAgentCompletion> heldUserAgents_;
  std::vector<std::weak_ptr<FakeWebView>> webViews_;
  std::vector<std::shared_ptr<FakeSafariViewController>> browsers_;
  std::vector<ShownAlert> alerts_;
};

}  // namespace vemora::testing
