#include "backends/apple/UIKit/AppleWebView.h"

#include "backends/apple/Foundation/AppleURLSession.h"
#include "backends/apple/Foundation/Conversions.h"

#include <string>
#include <utility>

using vemora::apple::toError;
using vemora::apple::toString;

namespace {

struct Observation {
  std::weak_ptr<vemora::KeyValueObserver> observer;
  const vemora::KeyValueObserver* identity;
  std::string keyPath;
};

NSString* withoutFragment(NSURL* url) {
  return [[[url absoluteString] componentsSeparatedByString:@"#"] firstObject];
}

/// WebKit also asks about a link to a part of the page that is there.
bool staysInDocument(NSURL* current, NSURL* target) {
  return [target fragment] && current && [withoutFragment(current) isEqualToString:withoutFragment(target)];
}

}  // namespace

/// Neither "window" nor "hidden" of a view is promised to be observable; overriding their changes is.
@interface VMRWebView : WKWebView
@end
@implementation VMRWebView {
 @public
  std::vector<Observation> _observations;
  std::weak_ptr<vemora::LayoutObserver> _layoutObserver;
  CGRect _lastPlace;
}
- (void)didMoveToWindow {
  [super didMoveToWindow];
  [self notifyObserversOf:"window"];
}
- (void)setHidden:(BOOL)hidden {
  const BOOL changes = hidden != [self isHidden];
  [super setHidden:hidden];
  if (changes) [self notifyObserversOf:"hidden"];
}
- (void)notifyObserversOf:(const char*)keyPath {
  // An observer may remove itself.
  const std::vector<Observation> observations = _observations;
  for (const Observation& observation : observations) {
    const auto observer = observation.observer.lock();
    if (observer && observation.keyPath == keyPath) observer->observeValueForKeyPath(keyPath);
  }
}
- (void)layoutSubviews {
  [super layoutSubviews];
  const CGRect place = [self convertRect:[self bounds] toView:nil];
  if (CGRectEqualToRect(place, _lastPlace)) return;
  _lastPlace = place;
  if (const auto observer = _layoutObserver.lock()) observer->viewDidLayout();
}
@end

/// WebKit's delegate. It passes everything on to the core's.
@interface VMRWebViewDelegate : NSObject <WKNavigationDelegate, WKUIDelegate>
@end
@implementation VMRWebViewDelegate {
 @public
  std::weak_ptr<vemora::WebViewNavigationDelegate> _navigation;
  std::weak_ptr<vemora::WebViewUIDelegate> _ui;
}
- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationAction:(WKNavigationAction*)action
                    decisionHandler:(void (^)(WKNavigationActionPolicy))decisionHandler {
  NSURL* target = [[action request] URL];
  // Without a target frame a window is asked for: the UI delegate answers that.
  const bool isAsked = [[action targetFrame] isMainFrame] && !staysInDocument([webView URL], target);
  const auto delegate = isAsked ? _navigation.lock() : nullptr;
  const bool allowed =
      !delegate || delegate->webViewDecidePolicyForNavigation(toString([target absoluteString])) ==
                       vemora::WebViewNavigationPolicy::Allow;
  decisionHandler(allowed ? WKNavigationActionPolicyAllow : WKNavigationActionPolicyCancel);
}
- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationResponse:(WKNavigationResponse*)navigationResponse
                      decisionHandler:(void (^)(WKNavigationResponsePolicy))decisionHandler {
  NSURLResponse* response = [navigationResponse response];
  const auto delegate = [navigationResponse isForMainFrame] ? _navigation.lock() : nullptr;
  if (delegate && [response isKindOfClass:[NSHTTPURLResponse class]])
    delegate->webViewDidReceiveResponse(static_cast<int>([(NSHTTPURLResponse*)response statusCode]));
  decisionHandler([navigationResponse canShowMIMEType] ? WKNavigationResponsePolicyAllow
                                                       : WKNavigationResponsePolicyCancel);
}
- (void)webView:(WKWebView*)webView didCommitNavigation:(WKNavigation*)navigation {
  if (const auto delegate = _navigation.lock()) delegate->webViewDidCommitNavigation();
}
- (void)webView:(WKWebView*)webView didFinishNavigation:(WKNavigation*)navigation {
  if (const auto delegate = _navigation.lock()) delegate->webViewDidFinishNavigation();
}
- (void)webView:(WKWebView*)webView
    didFailProvisionalNavigation:(WKNavigation*)navigation
                       withError:(NSError*)error {
  [self didFailProvisionally:error];
}
- (void)didFailProvisionally:(NSError*)error {
  if (const auto delegate = _navigation.lock())
    delegate->webViewDidFailProvisionalNavigation(*toError(error));
}
- (void)webView:(WKWebView*)webView didFailNavigation:(WKNavigation*)navigation withError:(NSError*)error {
  if (const auto delegate = _navigation.lock()) delegate->webViewDidFailNavigation(*toError(error));
}
- (void)webViewWebContentProcessDidTerminate:(WKWebView*)webView {
  if (const auto delegate = _navigation.lock()) delegate->webViewWebContentProcessDidTerminate();
}
- (WKWebView*)webView:(WKWebView*)webView
    createWebViewWithConfiguration:(WKWebViewConfiguration*)configuration
               forNavigationAction:(WKNavigationAction*)action
                    windowFeatures:(WKWindowFeatures*)features {
  NSString* address = [[[action request] URL] absoluteString];
  if (const auto delegate = _ui.lock()) {
    delegate->webViewCreateWebView([address length] > 0 ? std::optional(toString(address)) : std::nullopt);
  }
  return nil;
}
- (void)webView:(WKWebView*)webView
    runJavaScriptAlertPanelWithMessage:(NSString*)message
                      initiatedByFrame:(WKFrameInfo*)frame
                     completionHandler:(void (^)(void))completionHandler {
  // WebKit raises an exception when the handler is released without having been called.
  if (const auto delegate = _ui.lock()) {
    delegate->webViewRunJavaScriptAlertPanel(toString(message), [completionHandler] { completionHandler(); });
  } else {
    completionHandler();
  }
}
@end

/// WebKit holds it strongly, and it holds the core's handler.
@interface VMRScriptMessageHandler : NSObject <WKScriptMessageHandler>
@end
@implementation VMRScriptMessageHandler {
 @public
  std::shared_ptr<vemora::ScriptMessageHandler> _handler;
}
- (void)userContentController:(WKUserContentController*)controller
      didReceiveScriptMessage:(WKScriptMessage*)message {
  if (![[message frameInfo] isMainFrame]) return;
  _handler->userContentControllerDidReceiveScriptMessage(
      {toString([message name]), vemora::apple::toJson([message body])});
}
@end

namespace vemora::apple {

namespace {

/// `upgradeToHTTPS` needs nothing here: App Transport Security refuses plain http unless the app exempts it.
VMRWebView* newWebView(const Rect& frame, const WebViewConfiguration& configuration) {
  WKWebViewConfiguration* made = [[WKWebViewConfiguration alloc] init];
  const auto content =
      std::dynamic_pointer_cast<AppleUserContentController>(configuration.userContentController);
  if (content) [made setUserContentController:content->wkController()];
  [made setAllowsInlineMediaPlayback:configuration.allowsInlineMediaPlayback];
  [made setMediaTypesRequiringUserActionForPlayback:configuration.mediaTypesRequireUserAction
                                                        ? WKAudiovisualMediaTypeAll
                                                        : WKAudiovisualMediaTypeNone];
  return [[VMRWebView alloc] initWithFrame:toCGRect(frame) configuration:made];
}

/// The script ran, but its value cannot leave the page.
bool isUnsupportedResult(NSError* error) {
  return [[error domain] isEqualToString:WKErrorDomain] &&
         [error code] == WKErrorJavaScriptResultTypeIsUnsupported;
}

}  // namespace

void AppleUserContentController::addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler,
                                                         std::string_view name) {
  VMRScriptMessageHandler* native = [[VMRScriptMessageHandler alloc] init];
  native->_handler = std::move(handler);
  [controller_ addScriptMessageHandler:native name:toNSString(name) ?: @""];
}
void AppleUserContentController::removeScriptMessageHandlerForName(std::string_view name) {
  [controller_ removeScriptMessageHandlerForName:toNSString(name) ?: @""];
}

AppleWebView::AppleWebView(const Rect& frame, const WebViewConfiguration& configuration)
    : AppleView(newWebView(frame, configuration)),
      configuration_(configuration),
      delegate_([[VMRWebViewDelegate alloc] init]) {
  [native() setNavigationDelegate:delegate_];
  [native() setUIDelegate:delegate_];
}

AppleWebView::~AppleWebView() {
  [native() setNavigationDelegate:nil];
  [native() setUIDelegate:nil];
  native()->_observations.clear();
  native()->_layoutObserver.reset();
}

VMRWebView* AppleWebView::native() const {
  return static_cast<VMRWebView*>(uiView());
}

void AppleWebView::setNavigationDelegate(std::weak_ptr<WebViewNavigationDelegate> delegate) {
  delegate_->_navigation = std::move(delegate);
}
void AppleWebView::setUIDelegate(std::weak_ptr<WebViewUIDelegate> delegate) {
  delegate_->_ui = std::move(delegate);
}

void AppleWebView::loadRequest(const URLRequest& request) {
  if (NSURLRequest* made = toNSURLRequest(request)) {
    [native() loadRequest:made];
    return;
  }
  VMRWebViewDelegate* delegate = delegate_;
  dispatch_async(dispatch_get_main_queue(), ^{
    [delegate didFailProvisionally:[NSError errorWithDomain:NSURLErrorDomain
                                                       code:NSURLErrorBadURL
                                                   userInfo:nil]];
  });
}
void AppleWebView::stopLoading() {
  [native() stopLoading];
}
void AppleWebView::evaluateJavaScript(std::string_view script,
                                      std::function<void(const std::optional<VMRError>&)> completion) {
  [native() evaluateJavaScript:toNSString(script) ?: @""
             completionHandler:^(id, NSError* error) {
               if (completion) completion(isUnsupportedResult(error) ? std::nullopt : toError(error));
             }];
}

void AppleWebView::setScrollEnabled(bool enabled) {
  [[native() scrollView] setScrollEnabled:enabled];
}
void AppleWebView::setContentInsetAdjustmentNever() {
  [[native() scrollView] setContentInsetAdjustmentBehavior:UIScrollViewContentInsetAdjustmentNever];
}
void AppleWebView::setContentInset(const EdgeInsets& insets) {
  [[native() scrollView] setContentInset:UIEdgeInsets{insets.top, insets.left, insets.bottom, insets.right}];
}

void AppleWebView::addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath,
                               bool initial) {
  const auto alive = observer.lock();
  native()->_observations.push_back({observer, alive.get(), std::string(keyPath)});
  if (initial && alive) alive->observeValueForKeyPath(keyPath);
}

void AppleWebView::removeObserver(const KeyValueObserver* observer, std::string_view keyPath) {
  std::erase_if(native()->_observations, [&](const Observation& observation) {
    return observation.identity == observer && observation.keyPath == keyPath;
  });
}

void AppleWebView::setLayoutObserver(std::weak_ptr<LayoutObserver> observer) {
  native()->_layoutObserver = std::move(observer);
}

}  // namespace vemora::apple
