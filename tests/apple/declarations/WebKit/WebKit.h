#pragma once
#import <UIKit/UIKit.h>
NS_ASSUME_NONNULL_BEGIN
@class WKWebView, WKUserContentController, WKWindowFeatures;
FOUNDATION_EXPORT NSString* const WKErrorDomain;
typedef NS_ENUM(NSInteger, WKErrorCode) {
  WKErrorUnknown = 1,
  WKErrorWebContentProcessTerminated,
  WKErrorWebViewInvalidated,
  WKErrorJavaScriptExceptionOccurred,
  WKErrorJavaScriptResultTypeIsUnsupported
};
@interface WKNavigation : NSObject
@end
@interface WKFrameInfo : NSObject
@property(nonatomic, readonly, getter=isMainFrame) BOOL mainFrame;
@end
@interface WKNavigationAction : NSObject
@property(nonatomic, readonly, copy) NSURLRequest* request;
@property(nullable, nonatomic, readonly, copy) WKFrameInfo* targetFrame;
@end
@interface WKNavigationResponse : NSObject
@property(nonatomic, readonly, getter=isForMainFrame) BOOL forMainFrame;
@property(nonatomic, readonly, copy) NSURLResponse* response;
@property(nonatomic, readonly) BOOL canShowMIMEType;
@end
typedef NS_ENUM(NSInteger, WKNavigationActionPolicy) {
  WKNavigationActionPolicyCancel,
  WKNavigationActionPolicyAllow
};
typedef NS_ENUM(NSInteger, WKNavigationResponsePolicy) {
  WKNavigationResponsePolicyCancel,
  WKNavigationResponsePolicyAllow
};
@interface WKScriptMessage : NSObject
@property(nonatomic, readonly, copy) id body;
@property(nonatomic, readonly, copy) NSString* name;
@property(nonatomic, readonly, copy) WKFrameInfo* frameInfo;
@end
@protocol WKScriptMessageHandler <NSObject>
- (void)userContentController:(WKUserContentController*)controller
      didReceiveScriptMessage:(WKScriptMessage*)message;
@end
@interface WKUserContentController : NSObject
- (void)addScriptMessageHandler:(id<WKScriptMessageHandler>)handler name:(NSString*)name;
- (void)removeScriptMessageHandlerForName:(NSString*)name;
@end
typedef NS_OPTIONS(NSUInteger, WKAudiovisualMediaTypes) {
  WKAudiovisualMediaTypeNone = 0,
  WKAudiovisualMediaTypeAudio = 1,
  WKAudiovisualMediaTypeVideo = 2,
  WKAudiovisualMediaTypeAll = NSUIntegerMax
};
@interface WKWebViewConfiguration : NSObject
@property(nonatomic, strong) WKUserContentController* userContentController;
@property(nonatomic) BOOL allowsInlineMediaPlayback;
@property(nonatomic) WKAudiovisualMediaTypes mediaTypesRequiringUserActionForPlayback VMR_IOS(10.0);
@end
@protocol WKNavigationDelegate <NSObject>
@optional
- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationAction:(WKNavigationAction*)navigationAction
                    decisionHandler:(void (^)(WKNavigationActionPolicy))decisionHandler;
- (void)webView:(WKWebView*)webView
    decidePolicyForNavigationResponse:(WKNavigationResponse*)navigationResponse
                      decisionHandler:(void (^)(WKNavigationResponsePolicy))decisionHandler;
- (void)webView:(WKWebView*)webView didCommitNavigation:(null_unspecified WKNavigation*)navigation;
- (void)webView:(WKWebView*)webView didFinishNavigation:(null_unspecified WKNavigation*)navigation;
- (void)webView:(WKWebView*)webView
    didFailProvisionalNavigation:(null_unspecified WKNavigation*)navigation
                       withError:(NSError*)error;
- (void)webView:(WKWebView*)webView
    didFailNavigation:(null_unspecified WKNavigation*)navigation
            withError:(NSError*)error;
- (void)webViewWebContentProcessDidTerminate:(WKWebView*)webView;
@end
@protocol WKUIDelegate <NSObject>
@optional
- (nullable WKWebView*)webView:(WKWebView*)webView
    createWebViewWithConfiguration:(WKWebViewConfiguration*)configuration
               forNavigationAction:(WKNavigationAction*)navigationAction
                    windowFeatures:(WKWindowFeatures*)windowFeatures;
- (void)webView:(WKWebView*)webView
    runJavaScriptAlertPanelWithMessage:(NSString*)message
                      initiatedByFrame:(WKFrameInfo*)frame
                     completionHandler:(void (^)(void))completionHandler;
@end
@interface WKWebView : UIView
- (instancetype)initWithFrame:(CGRect)frame configuration:(WKWebViewConfiguration*)configuration;
@property(nonatomic, readonly, copy) WKWebViewConfiguration* configuration;
@property(nullable, nonatomic, weak) id<WKNavigationDelegate> navigationDelegate;
@property(nullable, nonatomic, weak) id<WKUIDelegate> UIDelegate;
@property(nonatomic, readonly, strong) UIScrollView* scrollView;
@property(nullable, nonatomic, readonly, copy) NSURL* URL;
- (nullable WKNavigation*)loadRequest:(NSURLRequest*)request;
- (void)stopLoading;
- (void)evaluateJavaScript:(NSString*)script
         completionHandler:
             (void (^_Nullable)(_Nullable id result, NSError* _Nullable error))completionHandler;
@end
NS_ASSUME_NONNULL_END
