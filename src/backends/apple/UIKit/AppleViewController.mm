#include "backends/apple/UIKit/AppleViewController.h"

#include "backends/apple/UIKit/AppleBrowser.h"
#include "backends/apple/UIKit/AppleView.h"

/// The stage of an interstitial.
@interface VMRStageViewController : UIViewController
@end
@implementation VMRStageViewController {
 @public
  BOOL _statusBarHidden;
  BOOL _dismissedByPort;
  std::weak_ptr<vemora::PresentationControllerDelegate> _presentationDelegate;
}
- (BOOL)prefersStatusBarHidden {
  return _statusBarHidden;
}
- (void)viewWillAppear:(BOOL)animated {
  [super viewWillAppear:animated];
  _dismissedByPort = NO;
}
// Also called when another controller covers this one.
- (void)viewDidDisappear:(BOOL)animated {
  [super viewDidDisappear:animated];
  if (![self isBeingDismissed] || _dismissedByPort) return;
  if (const auto delegate = _presentationDelegate.lock()) delegate->presentationControllerDidDismiss();
}
@end

namespace vemora::apple {

namespace {

UIViewController* unwrap(const ViewController& controller) {
  return dynamic_cast<const AppleViewController&>(controller).uiViewController();
}

VMRStageViewController* asStage(UIViewController* controller) {
  return [controller isKindOfClass:[VMRStageViewController class]]
             ? static_cast<VMRStageViewController*>(controller)
             : nil;
}

void dismissPresented(UIViewController* presenter, bool animated) {
  // A presenter that presents nothing would pass the message up to whatever presented it.
  if (![presenter presentedViewController]) return;
  for (UIViewController* gone = [presenter presentedViewController]; gone;
       gone = [gone presentedViewController]) {
    if (VMRStageViewController* stage = asStage(gone)) stage->_dismissedByPort = YES;
  }
  [presenter dismissViewControllerAnimated:animated completion:nil];
}

}  // namespace

std::shared_ptr<ViewController> wrap(UIViewController* controller) {
  if (!controller) return nullptr;
  if (isBrowser(controller)) return std::make_shared<AppleBrowser>(controller);
  return std::make_shared<AppleViewController>(controller);
}

std::shared_ptr<ViewController> makeStageViewController(const ViewControllerTraits& traits) {
  VMRStageViewController* stage = [[VMRStageViewController alloc] init];
  stage->_statusBarHidden = traits.prefersStatusBarHidden;
  // The default is a card that the viewer can swipe away.
  [stage setModalPresentationStyle:UIModalPresentationFullScreen];
  return std::make_shared<AppleViewController>(stage);
}

bool AppleViewController::isEqual(const ViewController& other) const {
  return controller_ == unwrap(other);
}

std::shared_ptr<View> AppleViewController::view() const {
  return wrap([controller_ view]);
}

std::shared_ptr<ViewController> AppleViewController::presentedViewController() const {
  return wrap([controller_ presentedViewController]);
}

std::shared_ptr<ViewController> AppleViewController::presentingViewController() const {
  return wrap([controller_ presentingViewController]);
}

void AppleViewController::presentViewController(const std::shared_ptr<ViewController>& controller,
                                                bool animated, std::function<void()> completion) {
  [controller_ presentViewController:unwrap(*controller)
                            animated:animated
                          completion:^{
                            if (completion) completion();
                          }];
}

void AppleViewController::dismissViewController(bool animated) {
  UIViewController* presenter = controller_;
  UIViewController* presented = [presenter presentedViewController];
  id<UIViewControllerTransitionCoordinator> transition =
      [presented isBeingPresented] ? [presented transitionCoordinator] : nil;
  if (!transition) return dismissPresented(presenter, animated);
  // While a presentation is under way, dismissals are dropped.
  [transition animateAlongsideTransition:nil
                              completion:^(id<UIViewControllerTransitionCoordinatorContext>) {
                                if ([presenter presentedViewController] == presented) {
                                  dismissPresented(presenter, animated);
                                }
                              }];
}

void AppleViewController::setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) {
  if (VMRStageViewController* stage = asStage(controller_))
    stage->_presentationDelegate = std::move(delegate);
}

}  // namespace vemora::apple
