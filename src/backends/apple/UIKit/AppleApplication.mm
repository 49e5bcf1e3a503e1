#include "backends/apple/ApplePorts.h"
#include "backends/apple/Foundation/Conversions.h"
#include "backends/apple/UIKit/AppleBrowser.h"
#include "backends/apple/UIKit/AppleView.h"
#include "backends/apple/UIKit/AppleViewController.h"
#include "backends/apple/UIKit/AppleWebView.h"

#include <Vemora/NotificationCenter.h>

#import <UIKit/UIKit.h>

/// Passes UIKit's notifications on to the core's notification centre.
@interface VMRLifeCycleObserver : NSObject
@end
@implementation VMRLifeCycleObserver
- (void)willResignActive:(NSNotification*)notification {
  vemora::NotificationCenter::defaultCenter().postNotification(
      {vemora::UIApplicationWillResignActiveNotification, nullptr, nullptr});
}
- (void)didBecomeActive:(NSNotification*)notification {
  vemora::NotificationCenter::defaultCenter().postNotification(
      {vemora::UIApplicationDidBecomeActiveNotification, nullptr, nullptr});
}
@end

namespace vemora::apple {

namespace {

/// In an active scene: its key window, or else a visible one. Then the key window of another scene.
UIWindow* currentWindow() {
  UIWindow* visible = nil;
  UIWindow* elsewhere = nil;
  for (UIScene* scene in [[UIApplication sharedApplication] connectedScenes]) {
    if (![scene isKindOfClass:[UIWindowScene class]]) continue;
    const bool isActive = [scene activationState] == UISceneActivationStateForegroundActive;
    for (UIWindow* window in [static_cast<UIWindowScene*>(scene) windows]) {
      if (isActive && [window isKeyWindow]) return window;
      if ([window isKeyWindow] && !elsewhere) elsewhere = window;
      if (isActive && ![window isHidden] && !visible) visible = window;
    }
  }
  return visible ?: elsewhere;
}

UIViewController* topMostController() {
  UIViewController* top = [currentWindow() rootViewController];
  while ([top presentedViewController]) top = [top presentedViewController];
  return top;
}

class AppleApplication final : public Application {
 public:
  AppleApplication() {
    NSNotificationCenter* center = [NSNotificationCenter defaultCenter];
    [center addObserver:lifeCycle_
               selector:@selector(willResignActive:)
                   name:(::UIApplicationWillResignActiveNotification)object:nil];
    [center addObserver:lifeCycle_
               selector:@selector(didBecomeActive:)
                   name:(::UIApplicationDidBecomeActiveNotification)object:nil];
  }

  std::shared_ptr<Window> keyWindow() override { return wrap(currentWindow()); }

  std::shared_ptr<UserContentController> createUserContentController() override {
    return std::make_shared<AppleUserContentController>();
  }

  std::shared_ptr<WebView> createWebView(const Rect& frame,
                                         const WebViewConfiguration& configuration) override {
    return std::make_shared<AppleWebView>(frame, configuration);
  }

  std::shared_ptr<ViewController> createViewController(const ViewControllerTraits& traits) override {
    return makeStageViewController(traits);
  }

  std::shared_ptr<vemora::SFSafariViewController> createSafariViewController(const URL& url) override {
    return AppleBrowser::create(url);
  }

  void showAlert(std::string_view title, std::string_view message, std::string_view button) override {
    UIAlertController* alert = [UIAlertController alertControllerWithTitle:toNSString(title)
                                                                   message:toNSString(message)
                                                            preferredStyle:UIAlertControllerStyleAlert];
    [alert addAction:[UIAlertAction actionWithTitle:toNSString(button)
                                              style:UIAlertActionStyleDefault
                                            handler:nil]];
    [topMostController() presentViewController:alert animated:YES completion:nil];
  }

  void webViewUserAgent(UserAgentCompletion completion) override {
    if (userAgent_) return completion(userAgent_);
    WKWebView* view = [[WKWebView alloc] initWithFrame:CGRectZero
                                         configuration:[[WKWebViewConfiguration alloc] init]];
    // The block keeps the view until it has answered.
    [view evaluateJavaScript:@"navigator.userAgent"
           completionHandler:^(id result, NSError*) {
             (void)view;
             if ([result isKindOfClass:[NSString class]] && !userAgent_) userAgent_ = toString(result);
             completion(userAgent_);
           }];
  }

 private:
  VMRLifeCycleObserver* const lifeCycle_ = [[VMRLifeCycleObserver alloc] init];
  std::optional<std::string> userAgent_;  ///< Known from the first answer on.
};

}  // namespace

std::unique_ptr<Application> makeApplication() {
  return std::make_unique<AppleApplication>();
}

}  // namespace vemora::apple
