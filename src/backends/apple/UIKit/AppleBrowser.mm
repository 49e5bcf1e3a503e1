#include "backends/apple/UIKit/AppleBrowser.h"

#include "backends/apple/Foundation/Conversions.h"

#import <SafariServices/SafariServices.h>

/// Passes the end of the browser on, once.
@interface VMRBrowserObserver : NSObject <SFSafariViewControllerDelegate>
@end
@implementation VMRBrowserObserver {
 @public
  std::weak_ptr<vemora::SFSafariViewControllerDelegate> _delegate;
}
- (void)safariViewControllerDidFinish:(SFSafariViewController*)controller {
  const auto delegate = std::exchange(_delegate, {}).lock();
  if (delegate) {
    delegate->safariViewControllerDidFinish(std::make_shared<vemora::apple::AppleBrowser>(controller));
  }
}
@end

namespace vemora::apple {

namespace {

Class browserClass() {
  return NSClassFromString(@"SFSafariViewController");
}

}  // namespace

bool isBrowser(UIViewController* controller) {
  Class browser = browserClass();
  return browser && [controller isKindOfClass:browser];
}

std::shared_ptr<AppleBrowser> AppleBrowser::create(const URL& url) {
  if ((url.scheme != "http" && url.scheme != "https") || url.host.empty()) return nullptr;
  // The scheme in lower case, as the browser is strict about it.
  NSString* address = toNSString(url.scheme + url.absoluteString.substr(url.scheme.size()));
  NSURL* target = address ? [NSURL URLWithString:address] : nil;
  if (!target || !browserClass()) return nullptr;
  ::SFSafariViewController* browser = [[browserClass() alloc] initWithURL:target];
  // A card could be swiped away without a word to the delegate.
  [browser setModalPresentationStyle:UIModalPresentationFullScreen];
  return std::make_shared<AppleBrowser>(browser);
}

void AppleBrowser::setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) {
  observer_ = [[VMRBrowserObserver alloc] init];
  observer_->_delegate = std::move(delegate);
  [static_cast<::SFSafariViewController*>(uiViewController()) setDelegate:observer_];
}

}  // namespace vemora::apple
