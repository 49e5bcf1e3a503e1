// WKWebView over JavaScriptCore, without a page of its own: a load runs the script that was set for the address.

#include "fakes/Fake.h"

#import <WebKit/WebKit.h>

#include <memory>

NSString* const WKErrorDomain = @"WKErrorDomain";

namespace {

std::map<std::string, std::string>& pages = *new std::map<std::string, std::string>;
std::optional<int> evaluationError;

}  // namespace

void fake::setPage(const std::string& url, const std::string& script) {
  pages[url] = script;
}
void fake::removePages() {
  pages.clear();
}
void fake::setEvaluationError(std::optional<int> code) {
  evaluationError = code;
}

// What WebKit alone makes is filled by key-value coding.
@implementation WKFrameInfo
@synthesize mainFrame = _mainFrame;
@end
@implementation WKScriptMessage
@synthesize body = _body, name = _name, frameInfo = _frameInfo;
@end
@implementation WKNavigationAction
@synthesize request = _request, targetFrame = _targetFrame;
@end
@implementation WKNavigationResponse
@synthesize forMainFrame = _forMainFrame, response = _response, canShowMIMEType = _canShowMIMEType;
@end

WKFrameInfo* fake::frame(bool isMainFrame) {
  WKFrameInfo* frame = [[WKFrameInfo alloc] init];
  [frame setValue:@(isMainFrame) forKey:@"mainFrame"];
  return frame;
}

@implementation WKUserContentController {
  NSMutableDictionary* _handlers;
}
- (instancetype)init {
  if ((self = [super init])) _handlers = [[NSMutableDictionary alloc] init];
  return self;
}
- (void)addScriptMessageHandler:(id<WKScriptMessageHandler>)handler name:(NSString*)name {
  if (_handlers[name]) [NSException raise:NSInvalidArgumentException format:@"handler %@ exists", name];
  _handlers[name] = handler;
}
- (void)removeScriptMessageHandlerForName:(NSString*)name {
  [_handlers removeObjectForKey:name];
}
- (void)deliver:(NSString*)name body:(id)body {
  [self deliver:name body:body frame:fake::frame(true)];
}
- (void)deliver:(NSString*)name body:(id)body frame:(WKFrameInfo*)frame {
  WKScriptMessage* message = [[WKScriptMessage alloc] init];
  [message setValue:name forKey:@"name"];
  [message setValue:body forKey:@"body"];
  [message setValue:frame forKey:@"frameInfo"];
  [_handlers[name] userContentController:self didReceiveScriptMessage:message];
}
@end

@implementation WKWebViewConfiguration
@synthesize userContentController = _userContentController,
            allowsInlineMediaPlayback = _allowsInlineMediaPlayback,
            mediaTypesRequiringUserActionForPlayback = _mediaTypes;
- (instancetype)init {
  if ((self = [super init])) {
    _userContentController = [[WKUserContentController alloc] init];
    _mediaTypes = WKAudiovisualMediaTypeAll;
  }
  return self;
}
@end

@implementation WKWebView {
  WKWebViewConfiguration* _configuration;
  UIScrollView* _scrollView;
  std::unique_ptr<fake::Script> _script;
}
@synthesize navigationDelegate = _navigationDelegate, UIDelegate = _UIDelegate, URL = _URL;
- (BOOL)mayLoad:(NSURLRequest*)request {
  WKNavigationAction* action = [[WKNavigationAction alloc] init];
  [action setValue:request forKey:@"request"];
  [action setValue:fake::frame(true) forKey:@"targetFrame"];
  __block BOOL allowed = YES;
  [self.navigationDelegate webView:self
      decidePolicyForNavigationAction:action
                      decisionHandler:^(WKNavigationActionPolicy policy) {
                        allowed = policy == WKNavigationActionPolicyAllow;
                      }];
  return allowed;
}
- (instancetype)initWithFrame:(CGRect)frame configuration:(WKWebViewConfiguration*)configuration {
  if ((self = [super initWithFrame:frame])) {
    _configuration = configuration;
    _scrollView = [[UIScrollView alloc] initWithFrame:CGRectZero];
    _script.reset(fake::makeScript());
    __weak WKUserContentController* weakController = configuration.userContentController;
    _script->posted = [weakController](std::string name, std::string json) {
      WKUserContentController* controller = weakController;
      dispatch_async(dispatch_get_main_queue(), ^{
        NSData* data = [NSData dataWithBytes:json.data() length:json.size()];
        id message = [NSJSONSerialization JSONObjectWithData:data options:0 error:nullptr];
        [controller deliver:[NSString stringWithUTF8String:name.c_str()] body:message[@"body"]];
      });
    };
  }
  return self;
}
- (WKWebViewConfiguration*)configuration {
  return _configuration;
}
- (UIScrollView*)scrollView {
  return _scrollView;
}
- (WKNavigation*)loadRequest:(NSURLRequest*)request {
  fake::mainThreadOnly("a page is loaded");
  dispatch_async(dispatch_get_main_queue(), ^{
    const BOOL allowed = [self mayLoad:request];
    const auto page = pages.find([[[request URL] absoluteString] UTF8String]);
    if (!allowed || page == pages.end()) {
      NSError* error = allowed ? [NSError errorWithDomain:NSURLErrorDomain code:-1003 userInfo:nil]
                               : [NSError errorWithDomain:@"WebKitErrorDomain" code:102 userInfo:nil];
      [self.navigationDelegate webView:self didFailProvisionalNavigation:nil withError:error];
      return;
    }
    self->_URL = [request URL];
    [self.navigationDelegate webView:self didCommitNavigation:nil];
    std::string ignored;
    self->_script->evaluate(page->second, ignored);
    [self.navigationDelegate webView:self didFinishNavigation:nil];
  });
  return nil;
}
- (void)stopLoading {
  fake::mainThreadOnly("a page is stopped");
}
- (void)evaluateJavaScript:(NSString*)source completionHandler:(void (^)(id, NSError*))completion {
  fake::mainThreadOnly("a script is evaluated");
  std::string result;
  std::string exception = _script->evaluate([source UTF8String], result);
  void (^done)(id, NSError*) = [completion copy];
  int code = exception.empty() ? 0 : WKErrorJavaScriptExceptionOccurred;
  if (evaluationError) code = *evaluationError;
  dispatch_async(dispatch_get_main_queue(), ^{
    NSDictionary* info = @{NSLocalizedDescriptionKey : [NSString stringWithUTF8String:exception.c_str()]};
    NSError* error = code ? [NSError errorWithDomain:WKErrorDomain code:code userInfo:info] : nil;
    done(result.empty() ? nil : [NSString stringWithUTF8String:result.c_str()], error);
  });
}
@end
