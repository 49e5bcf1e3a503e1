// View controllers: presentation and dismissal as UIKit does them, with transitions that end on the main queue.

#include "fakes/Fake.h"

#import <SafariServices/SafariServices.h>
#import <UIKit/UIKit.h>

#include <utility>

namespace {

bool holdsPresentations = false;
dispatch_block_t heldPresentation;

}  // namespace

void fake::holdPresentations(bool hold) {
  holdsPresentations = hold;
}
void fake::finishPresentation() {
  if (dispatch_block_t held = std::exchange(heldPresentation, nil)) held();
}

@interface FakeTransition : NSObject <UIViewControllerTransitionCoordinator>
@property(nonatomic, strong) NSMutableArray* completions;
@end
@implementation FakeTransition
@synthesize completions = _completions;
- (instancetype)init {
  if ((self = [super init])) _completions = [[NSMutableArray alloc] init];
  return self;
}
- (BOOL)animateAlongsideTransition:(void (^)(id<UIViewControllerTransitionCoordinatorContext>))animation
                        completion:(void (^)(id<UIViewControllerTransitionCoordinatorContext>))completion {
  [_completions addObject:[completion copy]];
  return YES;
}
@end

@implementation UIViewController {
  UIView* _view;
  UIViewController* _presented;
  __unsafe_unretained UIViewController* _presenting;
  FakeTransition* _transition;
  BOOL _beingDismissed;
}
@synthesize modalPresentationStyle = _modalPresentationStyle;
- (instancetype)init {
  return [self initWithNibName:nil bundle:nil];
}
- (instancetype)initWithNibName:(NSString*)name bundle:(NSBundle*)bundle {
  if ((self = [super init])) _modalPresentationStyle = UIModalPresentationAutomatic;
  return self;
}
- (void)dealloc {
  fake::mainThreadOnly("a view controller is released");
}
- (UIView*)view {
  fake::mainThreadOnly("a view controller is used");
  if (!_view) _view = [[UIView alloc] initWithFrame:CGRectZero];
  return _view;
}
- (void)setView:(UIView*)view {
  _view = view;
}
- (BOOL)prefersStatusBarHidden {
  return NO;
}
- (UIViewController*)presentedViewController {
  return _presented;
}
- (UIViewController*)presentingViewController {
  return _presenting;
}
- (BOOL)isBeingPresented {
  return _transition != nil;
}
- (BOOL)isBeingDismissed {
  return _beingDismissed;
}
- (id<UIViewControllerTransitionCoordinator>)transitionCoordinator {
  return _transition;
}
- (void)viewWillAppear:(BOOL)animated {
}
- (void)viewDidDisappear:(BOOL)animated {
}
- (void)presentViewController:(UIViewController*)controller
                     animated:(BOOL)animated
                   completion:(void (^)(void))completion {
  fake::mainThreadOnly("a controller is presented");
  UIWindow* window = [[self view] window];
  if (_presented || !window) return;
  if (controller.modalPresentationStyle != UIModalPresentationFullScreen &&
      ![controller isKindOfClass:[UIAlertController class]]) {
    fake::fault("the viewer can swipe the presented controller away");
  }
  _presented = controller;
  controller->_presenting = self;
  controller->_transition = [[FakeTransition alloc] init];
  [controller viewWillAppear:animated];
  [[controller view] setFrame:[window bounds]];
  [window addSubview:[controller view]];
  void (^done)(void) = [completion copy];
  dispatch_block_t finish = ^{
    FakeTransition* transition = controller->_transition;
    controller->_transition = nil;
    if (done) done();
    for (void (^each)(id) in [transition completions]) each(transition);
  };
  if (holdsPresentations) {
    heldPresentation = finish;
  } else {
    dispatch_async(dispatch_get_main_queue(), finish);
  }
}
- (void)dismissViewControllerAnimated:(BOOL)animated completion:(void (^)(void))completion {
  fake::mainThreadOnly("a controller is dismissed");
  UIViewController* gone = _presented;
  if (!gone) {
    // As the platform does, which surprises.
    [_presenting dismissViewControllerAnimated:animated completion:completion];
    return;
  }
  if (gone->_transition) return fake::fault("a dismissal during a presentation, which is dropped");
  if (gone->_presented) [gone dismissViewControllerAnimated:animated completion:nil];
  gone->_beingDismissed = YES;
  [[gone view] removeFromSuperview];
  _presented = nil;
  gone->_presenting = nil;
  [gone viewDidDisappear:animated];
  gone->_beingDismissed = NO;
}
@end

@implementation UIAlertAction
@synthesize title = _title;
+ (instancetype)actionWithTitle:(NSString*)title
                          style:(UIAlertActionStyle)style
                        handler:(void (^)(UIAlertAction*))handler {
  UIAlertAction* action = [[self alloc] init];
  action->_title = [title copy];
  return action;
}
@end
@implementation UIAlertController {
  NSMutableArray* _actions;
}
@synthesize title = _title, message = _message;
+ (instancetype)alertControllerWithTitle:(NSString*)title
                                 message:(NSString*)message
                          preferredStyle:(UIAlertControllerStyle)style {
  UIAlertController* alert = [[self alloc] init];
  alert->_title = [title copy];
  alert->_message = [message copy];
  alert->_actions = [[NSMutableArray alloc] init];
  return alert;
}
- (void)addAction:(UIAlertAction*)action {
  [_actions addObject:action];
}
- (NSArray*)actions {
  return _actions;
}
@end

@implementation SFSafariViewController
@synthesize delegate = _delegate;
- (instancetype)initWithURL:(NSURL*)url {
  if (![[url scheme] isEqual:@"http"] && ![[url scheme] isEqual:@"https"]) {
    [NSException raise:NSInvalidArgumentException format:@"The specified URL has an unsupported scheme."];
  }
  return [super initWithNibName:nil bundle:nil];
}
@end
