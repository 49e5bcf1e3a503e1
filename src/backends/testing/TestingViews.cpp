#include "backends/testing/TestingViews.h"

#include "backends/testing/TestingPlatform.h"

#include <Vemora/NotificationCenter.h>

#include <algorithm>
#include <cmath>

namespace vemora::testing {

namespace {

std::size_t aliveViews = 0;  // Main thread only, as the views are.

double sane(double extent) {
  return std::isfinite(extent) && extent > 0 ? extent : 0;
}

bool concerns(const LayoutConstraint& constraint, const View* view) {
  return constraint.firstItem.lock().get() == view || constraint.secondItem.lock().get() == view;
}

}  // namespace

// Views.

FakeView::FakeView() : FakeView(Rect{}) {}
FakeView::FakeView(const Rect& frame) : frame_(frame) {
  assertMainThread();
  ++aliveViews;
}

FakeView::~FakeView() {
  assertMainThread();
  for (const auto& view : subviews_) view->superview_ = nullptr;
  --aliveViews;
}

std::size_t FakeView::alive() {
  return aliveViews;
}

std::shared_ptr<View> FakeView::superview() const {
  assertMainThread();
  return superview_ ? superview_->shared_from_this() : nullptr;
}

const FakeView& FakeView::root() const {
  const FakeView* view = this;
  while (view->superview_) view = view->superview_;
  return *view;
}

std::shared_ptr<Window> FakeView::window() const {
  assertMainThread();
  return std::dynamic_pointer_cast<Window>(std::const_pointer_cast<FakeView>(root().shared_from_this()));
}

bool FakeView::isHidden() const {
  assertMainThread();
  return hidden_;
}

Rect FakeView::frame() const {
  assertMainThread();
  return frame_;
}

Rect FakeView::bounds() const {
  return {0, 0, frame().width, frame().height};
}

bool FakeView::isDescendantOfView(const View& ancestor) const {
  assertMainThread();
  for (const FakeView* view = this; view; view = view->superview_) {
    if (static_cast<const View*>(view) == &ancestor) return true;
  }
  return false;
}

Rect FakeView::originInRoot() const {
  Rect origin;
  for (const FakeView* view = this; view->superview_; view = view->superview_) {
    origin.x += view->frame_.x;
    origin.y += view->frame_.y;
  }
  return origin;
}

std::optional<Rect> FakeView::convertRectToView(const Rect& rect, const View& other) const {
  const auto& target = dynamic_cast<const FakeView&>(other);
  if (!window() || window() != target.window()) return std::nullopt;
  const Rect from = originInRoot();
  const Rect to = target.originInRoot();
  return Rect{rect.x + from.x - to.x, rect.y + from.y - to.y, rect.width, rect.height};
}

void FakeView::addSubview(const std::shared_ptr<View>& view) {
  assertMainThread();
  const auto added = std::dynamic_pointer_cast<FakeView>(view);
  added->removeFromSuperview();
  added->superview_ = this;
  subviews_.push_back(added);
  if (window()) added->notifyWindowOfSubtree();
}

void FakeView::removeFromSuperview() {
  assertMainThread();
  if (!superview_) return;
  const auto self = shared_from_this();
  const bool hadWindow = window() != nullptr;
  for (FakeView* ancestor = superview_; ancestor; ancestor = ancestor->superview_)
    ancestor->dropConstraintsOf(*this);
  std::erase(superview_->subviews_, self);
  superview_ = nullptr;
  if (hadWindow) notifyWindowOfSubtree();
}

void FakeView::dropConstraintsOf(const FakeView& view) {
  std::erase_if(constraints_, [&view](const auto& constraint) { return concerns(*constraint, &view); });
}

void FakeView::setFrame(const Rect& frame) {
  assertMainThread();
  const Rect before = frame_;
  frame_ = {frame.x, frame.y, sane(frame.width), sane(frame.height)};
  if (frame_ != before) notifyLayoutOfSubtree();
}

void FakeView::setUserInteractionEnabled(bool enabled) {
  assertMainThread();
  userInteractionEnabled_ = enabled;
}

void FakeView::setOpaque(bool opaque) {
  assertMainThread();
  opaque_ = opaque;
}

void FakeView::setBackgroundColorBlack() {
  assertMainThread();
  black_ = true;
}

void FakeView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
  assertMainThread();
  translates_ = translates;
}

void FakeView::addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  assertMainThread();
  constraints_.push_back(constraint);
}

void FakeView::removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  assertMainThread();
  std::erase(constraints_, constraint);
}

void FakeView::setNeedsLayout() {
  assertMainThread();
  ++layoutRequests_;
}

void FakeView::addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath, bool initial) {
  assertMainThread();
  const auto kept = observer.lock();
  observers_.push_back({observer, kept.get(), std::string(keyPath)});
  if (initial && kept) kept->observeValueForKeyPath(keyPath);
}

void FakeView::removeObserver(const KeyValueObserver* observer, std::string_view keyPath) {
  assertMainThread();
  std::erase_if(observers_, [&](const Observation& observation) {
    return observation.address == observer && observation.keyPath == keyPath;
  });
}

void FakeView::setLayoutObserver(std::weak_ptr<LayoutObserver> observer) {
  assertMainThread();
  layoutObserver_ = std::move(observer);
}

void* FakeView::layer() const {
  assertMainThread();
  return const_cast<FakeView*>(this);
}

void FakeView::setHidden(bool hidden) {
  assertMainThread();
  hidden_ = hidden;
  notify("hidden");
}

void FakeView::notify(std::string_view keyPath) {
  const auto snapshot = observers_;
  for (const Observation& observation : snapshot) {
    const auto observer = observation.observer.lock();
    if (observer && observation.keyPath == keyPath) observer->observeValueForKeyPath(keyPath);
  }
}

void FakeView::notifyWindowOfSubtree() {
  const auto kept = subviews_;
  notify("window");
  for (const auto& view : kept) view->notifyWindowOfSubtree();
}

void FakeView::notifyLayoutOfSubtree() {
  const auto kept = subviews_;
  if (const auto observer = layoutObserver_.lock()) observer->viewDidLayout();
  for (const auto& view : kept) view->notifyLayoutOfSubtree();
}

/// Sizes come before centres in what the presenters add or can add, so one pass over the kinds in that order
/// suffices.
void FakeView::layoutIfNeeded() {
  assertMainThread();
  const auto isCentre = [](const LayoutConstraint& constraint) {
    return constraint.firstAttribute == LayoutAttribute::CenterX ||
           constraint.firstAttribute == LayoutAttribute::CenterY;
  };
  std::map<std::shared_ptr<FakeView>, Rect> before;
  for (const auto& view : subviews_) before.emplace(view, view->frame_);
  for (const bool centres : {false, true}) {
    for (const auto& constraint : constraints_) {
      const auto first = std::dynamic_pointer_cast<FakeView>(constraint->firstItem.lock());
      if (!first || first->translates_ || first->superview_ != this || isCentre(*constraint) != centres)
        continue;
      first->constrainFrame(*constraint, bounds());
    }
  }
  const auto kept = subviews_;
  for (const auto& view : kept) {
    if (view->frame_ != before[view]) view->notifyLayoutOfSubtree();
    view->layoutIfNeeded();
  }
}

void FakeView::constrainFrame(const LayoutConstraint& constraint, const Rect& container) {
  const auto scaled = [&constraint](double value) {
    return value * constraint.multiplier + constraint.constant;
  };
  switch (constraint.firstAttribute) {
    case LayoutAttribute::Width:
      frame_.width = sane(scaled(container.width));
      break;
    case LayoutAttribute::Height:
      frame_.height = sane(scaled(container.height));
      break;
    case LayoutAttribute::Leading:
      frame_.x = scaled(0);
      break;
    case LayoutAttribute::Top:
      frame_.y = scaled(0);
      break;
    case LayoutAttribute::Trailing:
      frame_.width = sane(scaled(container.width) - frame_.x);
      break;
    case LayoutAttribute::Bottom:
      frame_.height = sane(scaled(container.height) - frame_.y);
      break;
    case LayoutAttribute::CenterX:
      frame_.x = scaled(container.width / 2) - frame_.width / 2;
      break;
    case LayoutAttribute::CenterY:
      frame_.y = scaled(container.height / 2) - frame_.height / 2;
      break;
  }
}

std::shared_ptr<FakeWindow> FakeWindow::make(const Rect& frame) {
  return std::shared_ptr<FakeWindow>(new FakeWindow(frame));
}

std::shared_ptr<ViewController> FakeWindow::rootViewController() const {
  assertMainThread();
  return root_;
}

// View controllers.

FakeViewController::FakeViewController(const ViewControllerTraits& traits) : traits_(traits) {
  assertMainThread();
}

FakeViewController::~FakeViewController() {
  assertMainThread();
  if (presented_) presented_->presenter_ = nullptr;
}

std::shared_ptr<View> FakeViewController::view() const {
  assertMainThread();
  return view_;
}

std::shared_ptr<ViewController> FakeViewController::presentedViewController() const {
  assertMainThread();
  return presented_;
}

std::shared_ptr<ViewController> FakeViewController::presentingViewController() const {
  assertMainThread();
  return presenter_ ? presenter_->shared_from_this() : nullptr;
}

void FakeViewController::presentViewController(const std::shared_ptr<ViewController>& controller, bool,
                                               std::function<void()> completion) {
  assertMainThread();
  const auto window = std::dynamic_pointer_cast<FakeView>(view_->window());
  if (presented_ || !window) return;
  presented_ = std::dynamic_pointer_cast<FakeViewController>(controller);
  presented_->presenter_ = this;
  presented_->view_->setFrame(window->bounds());
  window->addSubview(presented_->view_);
  if (!completion) return;
  if (TestingPlatform::current().fakeApplication().holdsPresentations()) {
    presented_->completion_ = std::move(completion);
  } else {
    dispatch().mainAsync(std::move(completion));
  }
}

void FakeViewController::finishPresentation() {
  assertMainThread();
  if (const auto completion = std::exchange(completion_, nullptr)) completion();
}

void FakeViewController::dismissViewController(bool animated) {
  assertMainThread();
  const auto dismissed = std::exchange(presented_, nullptr);
  if (!dismissed) return;
  dismissed->dismissViewController(animated);
  dismissed->presenter_ = nullptr;
  dismissed->completion_ = nullptr;
  dismissed->view_->removeFromSuperview();
}

void FakeViewController::setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) {
  assertMainThread();
  delegate_ = std::move(delegate);
}

void FakeViewController::userCloses() {
  assertMainThread();
  if (!presenter_) return;
  std::vector<std::shared_ptr<FakeViewController>> closed = {presenter_->presented_};
  while (const auto over = closed.back()->presented_) closed.push_back(over);
  presenter_->dismissViewController(true);
  for (auto entry = closed.rbegin(); entry != closed.rend(); ++entry) (*entry)->didCloseByUser();
}

void FakeViewController::didCloseByUser() {
  if (const auto delegate = delegate_.lock()) delegate->presentationControllerDidDismiss();
}

void FakeSafariViewController::setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) {
  assertMainThread();
  delegate_ = std::move(delegate);
}

void FakeSafariViewController::didCloseByUser() {
  if (const auto delegate = delegate_.lock()) {
    delegate->safariViewControllerDidFinish(
        std::dynamic_pointer_cast<SFSafariViewController>(shared_from_this()));
  }
}

// Web views.

void FakeUserContentController::addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler,
                                                        std::string_view name) {
  assertMainThread();
  handlers_.insert_or_assign(std::string(name), std::move(handler));
}

void FakeUserContentController::removeScriptMessageHandlerForName(std::string_view name) {
  assertMainThread();
  if (const auto found = handlers_.find(name); found != handlers_.end()) handlers_.erase(found);
}

std::shared_ptr<ScriptMessageHandler> FakeUserContentController::handlerNamed(std::string_view name) const {
  const auto found = handlers_.find(name);
  return found == handlers_.end() ? nullptr : found->second;
}

std::vector<std::string> FakeUserContentController::names() const {
  std::vector<std::string> all;
  for (const auto& [name, handler] : handlers_) all.push_back(name);
  return all;
}

FakeWebView::FakeWebView(const Rect& frame, WebViewConfiguration configuration)
    : FakeView(frame), configuration_(std::move(configuration)) {}

const WebViewConfiguration& FakeWebView::configuration() const {
  assertMainThread();
  return configuration_;
}

FakeUserContentController& FakeWebView::contentController() const {
  return dynamic_cast<FakeUserContentController&>(*configuration_.userContentController);
}

void FakeWebView::setNavigationDelegate(std::weak_ptr<WebViewNavigationDelegate> delegate) {
  assertMainThread();
  journal_.push_back(delegate.expired() ? "navigationDelegate null" : "navigationDelegate");
  navigationDelegate_ = std::move(delegate);
}

void FakeWebView::setUIDelegate(std::weak_ptr<WebViewUIDelegate> delegate) {
  assertMainThread();
  journal_.push_back(delegate.expired() ? "uiDelegate null" : "uiDelegate");
  uiDelegate_ = std::move(delegate);
}

void FakeWebView::loadRequest(const URLRequest& request) {
  assertMainThread();
  journal_.push_back("load " + request.url);
  requests_.push_back(request);
}

void FakeWebView::stopLoading() {
  assertMainThread();
  journal_.push_back("stopLoading");
}

void FakeWebView::evaluateJavaScript(std::string_view script,
                                     std::function<void(const std::optional<VMRError>&)> completion) {
  assertMainThread();
  scripts_.emplace_back(script);
  std::optional<VMRError> error;
  if (!hasProcess_) {
    error = VMRError{"FakeWebKit", 1, "The web process has ended", {}, {}, nullptr};
  } else if (onEvaluate) {
    error = onEvaluate(scripts_.back());
  }
  dispatch().mainAsync([weak = weak_from_this(), completion = std::move(completion), error] {
    if (weak.lock() && completion) completion(error);
  });
}

void FakeWebView::setScrollEnabled(bool enabled) {
  assertMainThread();
  scrollEnabled_ = enabled;
}

void FakeWebView::setContentInsetAdjustmentNever() {
  assertMainThread();
  neverAdjustsInsets_ = true;
}

void FakeWebView::setContentInset(const EdgeInsets& insets) {
  assertMainThread();
  contentInset_ = insets;
}

bool FakeWebView::mayNavigateTo(std::string_view url) {
  const auto delegate = navigationDelegate_.lock();
  return !delegate || delegate->webViewDecidePolicyForNavigation(url) == WebViewNavigationPolicy::Allow;
}

void FakeWebView::commitNavigation() {
  hasDocument_ = true;
  if (const auto delegate = navigationDelegate_.lock()) delegate->webViewDidCommitNavigation();
}

void FakeWebView::finishNavigation(int status) {
  if (!hasDocument_) commitNavigation();
  const auto delegate = navigationDelegate_.lock();
  if (!delegate) return;
  delegate->webViewDidReceiveResponse(status);
  delegate->webViewDidFinishNavigation();
}

void FakeWebView::failProvisionalNavigation(const VMRError& error) {
  if (const auto delegate = navigationDelegate_.lock()) delegate->webViewDidFailProvisionalNavigation(error);
}

void FakeWebView::failNavigation(const VMRError& error) {
  if (const auto delegate = navigationDelegate_.lock()) delegate->webViewDidFailNavigation(error);
}

void FakeWebView::terminateProcess() {
  hasProcess_ = false;
  if (const auto delegate = navigationDelegate_.lock()) delegate->webViewWebContentProcessDidTerminate();
}

void FakeWebView::requestWindow(const std::optional<std::string>& url) {
  if (const auto delegate = uiDelegate_.lock()) delegate->webViewCreateWebView(url);
}

bool FakeWebView::alert(std::string_view text) {
  bool completed = false;
  if (const auto delegate = uiDelegate_.lock())
    delegate->webViewRunJavaScriptAlertPanel(text, [&completed] { completed = true; });
  return completed;
}

bool FakeWebView::post(std::string_view name, const JsonValue& body) {
  const auto handler = contentController().handlerNamed(name);
  if (handler) handler->userContentControllerDidReceiveScriptMessage({std::string(name), body});
  return handler != nullptr;
}

// The application.

FakeApplication::FakeApplication() : window_(FakeWindow::make({0, 0, 400, 300})) {
  const auto root = std::make_shared<FakeViewController>(ViewControllerTraits{});
  root->fakeView()->setFrame(window_->bounds());
  window_->addSubview(root->fakeView());
  window_->setRootViewController(root);
}

FakeApplication::~FakeApplication() {
  if (const auto root = window_ ? window_->rootViewController() : nullptr) root->dismissViewController(false);
}

std::shared_ptr<Window> FakeApplication::keyWindow() {
  assertMainThread();
  return window_;
}

std::shared_ptr<UserContentController> FakeApplication::createUserContentController() {
  assertMainThread();
  return std::make_shared<FakeUserContentController>();
}

std::shared_ptr<WebView> FakeApplication::createWebView(const Rect& frame,
                                                        const WebViewConfiguration& configuration) {
  auto webView = std::make_shared<FakeWebView>(frame, configuration);
  webViews_.push_back(webView);
  if (onCreateWebView) onCreateWebView(webView);
  return webView;
}

std::shared_ptr<ViewController> FakeApplication::createViewController(const ViewControllerTraits& traits) {
  return std::make_shared<FakeViewController>(traits);
}

std::shared_ptr<SFSafariViewController> FakeApplication::createSafariViewController(const URL& url) {
  assertMainThread();
  if (!hasBrowser_ || (url.scheme != "http" && url.scheme != "https")) return nullptr;
  browsers_.push_back(std::make_shared<FakeSafariViewController>(url));
  return browsers_.back();
}

void FakeApplication::showAlert(std::string_view title, std::string_view message, std::string_view button) {
  assertMainThread();
  alerts_.push_back({std::string(title), std::string(message), std::string(button)});
}

void FakeApplication::webViewUserAgent(UserAgentCompletion completion) {
  assertMainThread();
  ++userAgentQueries_;
  if (!holdsUserAgent_) return completion(userAgent_);
  heldUserAgents_.push_back(std::move(completion));
}

void FakeApplication::answerUserAgents() {
  assertMainThread();
  for (const auto& completion : std::exchange(heldUserAgents_, {})) completion(userAgent_);
}

void FakeApplication::resignActive() {
  assertMainThread();
  NotificationCenter::defaultCenter().postNotification(
      {UIApplicationWillResignActiveNotification, nullptr, nullptr});
}

void FakeApplication::becomeActive() {
  assertMainThread();
  NotificationCenter::defaultCenter().postNotification(
      {UIApplicationDidBecomeActiveNotification, nullptr, nullptr});
}

std::shared_ptr<FakeViewController> FakeApplication::rootViewController() const {
  return std::dynamic_pointer_cast<FakeViewController>(window_->rootViewController());
}

std::shared_ptr<FakeWebView> FakeApplication::lastWebView() const {
  return webViews_.empty() ? nullptr : webViews_.back().lock();
}

}  // namespace vemora::testing
