#pragma once
#import <Foundation/Foundation.h>
NS_ASSUME_NONNULL_BEGIN
typedef NSPoint CGPoint;
typedef NSSize CGSize;
typedef NSRect CGRect;
static const CGRect CGRectZero = {{0, 0}, {0, 0}};
static inline bool CGRectEqualToRect(CGRect a, CGRect b) {
  return NSEqualRects(a, b);
}
static inline CGRect CGRectIntersection(CGRect a, CGRect b) {
  return NSIntersectionRect(a, b);
}
static inline CGFloat CGRectGetWidth(CGRect r) {
  return r.size.width;
}
static inline CGFloat CGRectGetHeight(CGRect r) {
  return r.size.height;
}
typedef struct {
  CGFloat top, left, bottom, right;
} UIEdgeInsets;
static const UIEdgeInsets UIEdgeInsetsZero = {0, 0, 0, 0};

@class UIView, UIWindow, UIViewController;
@interface CALayer : NSObject
@end
@interface UIResponder : NSObject
@end
@interface UIColor : NSObject
@property(class, nonatomic, readonly) UIColor* blackColor;
@end
typedef NS_ENUM(NSInteger, NSLayoutRelation) {
  NSLayoutRelationLessThanOrEqual = -1,
  NSLayoutRelationEqual = 0,
  NSLayoutRelationGreaterThanOrEqual = 1
};
typedef NS_ENUM(NSInteger, NSLayoutAttribute) {
  NSLayoutAttributeLeft = 1,
  NSLayoutAttributeRight,
  NSLayoutAttributeTop,
  NSLayoutAttributeBottom,
  NSLayoutAttributeLeading,
  NSLayoutAttributeTrailing,
  NSLayoutAttributeWidth,
  NSLayoutAttributeHeight,
  NSLayoutAttributeCenterX,
  NSLayoutAttributeCenterY,
  NSLayoutAttributeNotAnAttribute = 0
};
@interface NSLayoutConstraint : NSObject
+ (instancetype)constraintWithItem:(id)item
                         attribute:(NSLayoutAttribute)attribute
                         relatedBy:(NSLayoutRelation)relation
                            toItem:(nullable id)other
                         attribute:(NSLayoutAttribute)otherAttribute
                        multiplier:(CGFloat)multiplier
                          constant:(CGFloat)constant;
+ (void)activateConstraints:(NSArray*)constraints;
@property(getter=isActive) BOOL active;
@end
@interface NSLayoutAnchor : NSObject
- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutAnchor*)anchor;
@end
@interface NSLayoutXAxisAnchor : NSLayoutAnchor
@end
@interface NSLayoutYAxisAnchor : NSLayoutAnchor
@end
@interface NSLayoutDimension : NSLayoutAnchor
- (NSLayoutConstraint*)constraintEqualToAnchor:(NSLayoutDimension*)anchor multiplier:(CGFloat)m;
@end
@interface UILayoutGuide : NSObject
@property(nonatomic, weak, nullable) UIView* owningView;
@property(nonatomic, readonly, strong) NSLayoutXAxisAnchor *leadingAnchor, *trailingAnchor;
@property(nonatomic, readonly, strong) NSLayoutYAxisAnchor *topAnchor, *bottomAnchor;
@end
@interface UIView : UIResponder
- (instancetype)initWithFrame:(CGRect)frame;
@property(nonatomic) CGRect frame;
@property(nonatomic) CGRect bounds;
@property(nonatomic, getter=isHidden) BOOL hidden;
@property(nonatomic, getter=isUserInteractionEnabled) BOOL userInteractionEnabled;
@property(nonatomic, getter=isOpaque) BOOL opaque;
@property(nonatomic, readonly, strong) CALayer* layer;
@property(nonatomic) BOOL translatesAutoresizingMaskIntoConstraints;
@property(nullable, nonatomic, readonly) UIView* superview;
@property(nullable, nonatomic, readonly) UIWindow* window;
@property(nullable, nonatomic, copy) UIColor* backgroundColor;
@property(nonatomic, readonly, copy) NSArray* subviews;
@property(nonatomic, readonly, strong) UILayoutGuide* safeAreaLayoutGuide VMR_IOS(11.0);
@property(nonatomic, readonly, strong) NSLayoutXAxisAnchor *leadingAnchor, *trailingAnchor, *centerXAnchor;
@property(nonatomic, readonly, strong) NSLayoutYAxisAnchor *topAnchor, *bottomAnchor, *centerYAnchor;
@property(nonatomic, readonly, strong) NSLayoutDimension *widthAnchor, *heightAnchor;
- (void)addSubview:(UIView*)view;
- (void)removeFromSuperview;
- (BOOL)isDescendantOfView:(UIView*)view;
- (CGRect)convertRect:(CGRect)rect toView:(nullable UIView*)view;
@property(nonatomic, readonly) NSArray* constraints;
- (void)addConstraint:(NSLayoutConstraint*)constraint;
- (void)removeConstraint:(NSLayoutConstraint*)constraint;
- (void)setNeedsLayout;
- (void)layoutIfNeeded;
- (void)didMoveToWindow;
- (void)layoutSubviews;
@end
typedef NS_ENUM(NSInteger, UIScrollViewContentInsetAdjustmentBehavior) {
  UIScrollViewContentInsetAdjustmentAutomatic,
  UIScrollViewContentInsetAdjustmentScrollableAxes,
  UIScrollViewContentInsetAdjustmentNever,
  UIScrollViewContentInsetAdjustmentAlways
};
@interface UIScrollView : UIView
@property(nonatomic, getter=isScrollEnabled) BOOL scrollEnabled;
@property(nonatomic) UIEdgeInsets contentInset;
@property(nonatomic) UIScrollViewContentInsetAdjustmentBehavior contentInsetAdjustmentBehavior VMR_IOS(11.0);
@end
@interface UIWindow : UIView
@property(nullable, nonatomic, strong) UIViewController* rootViewController;
@property(nonatomic, readonly, getter=isKeyWindow) BOOL keyWindow;
@end
typedef NS_ENUM(NSInteger, UIModalPresentationStyle) {
  UIModalPresentationFullScreen = 0,
  UIModalPresentationPageSheet,
  UIModalPresentationFormSheet,
  UIModalPresentationCurrentContext,
  UIModalPresentationCustom,
  UIModalPresentationOverFullScreen,
  UIModalPresentationOverCurrentContext,
  UIModalPresentationPopover,
  UIModalPresentationNone = -1,
  UIModalPresentationAutomatic VMR_IOS(13.0) = -2
};
@protocol UIViewControllerTransitionCoordinatorContext <NSObject>
@end
@protocol UIViewControllerTransitionCoordinator <UIViewControllerTransitionCoordinatorContext>
- (BOOL)animateAlongsideTransition:
            (void (^_Nullable)(id<UIViewControllerTransitionCoordinatorContext> context))animation
                        completion:(void (^_Nullable)(
                                       id<UIViewControllerTransitionCoordinatorContext> context))completion;
@end
@interface UIViewController : UIResponder
- (instancetype)initWithNibName:(nullable NSString*)name bundle:(nullable NSBundle*)bundle;
@property(null_resettable, nonatomic, strong) UIView* view;
@property(nullable, nonatomic, readonly) UIViewController* presentedViewController;
@property(nullable, nonatomic, readonly) UIViewController* presentingViewController;
@property(nonatomic) UIModalPresentationStyle modalPresentationStyle;
@property(nonatomic, readonly) BOOL prefersStatusBarHidden;
@property(nonatomic, readonly, getter=isBeingPresented) BOOL beingPresented;
@property(nonatomic, readonly, getter=isBeingDismissed) BOOL beingDismissed;
@property(nullable, nonatomic, readonly) id<UIViewControllerTransitionCoordinator> transitionCoordinator;
- (void)viewWillAppear:(BOOL)animated;
- (void)viewDidDisappear:(BOOL)animated;
- (void)presentViewController:(UIViewController*)vc
                     animated:(BOOL)flag
                   completion:(void (^_Nullable)(void))completion;
- (void)dismissViewControllerAnimated:(BOOL)flag completion:(void (^_Nullable)(void))completion;
@end
typedef NS_ENUM(NSInteger, UISceneActivationState) {
  UISceneActivationStateUnattached = -1,
  UISceneActivationStateForegroundActive,
  UISceneActivationStateForegroundInactive,
  UISceneActivationStateBackground
} VMR_IOS(13.0);
VMR_IOS(13.0) @interface UIScene : UIResponder
@property(nonatomic, readonly) UISceneActivationState activationState;
@end
VMR_IOS(13.0) @interface UIWindowScene : UIScene
@property(nonatomic, readonly) NSArray* windows;
@property(nullable, nonatomic, readonly) UIWindow* keyWindow VMR_IOS(15.0);
@end
@interface UIApplication : UIResponder
@property(class, nonatomic, readonly) UIApplication* sharedApplication;
@property(nullable, nonatomic, readonly) UIWindow* keyWindow VMR_IOS_UNTIL(2.0, 13.0);
@property(nonatomic, readonly) NSSet* connectedScenes VMR_IOS(13.0);
@end
typedef NS_ENUM(NSInteger, UIUserInterfaceIdiom) {
  UIUserInterfaceIdiomUnspecified = -1,
  UIUserInterfaceIdiomPhone,
  UIUserInterfaceIdiomPad,
  UIUserInterfaceIdiomTV,
  UIUserInterfaceIdiomCarPlay,
  UIUserInterfaceIdiomMac = 5
};
typedef NS_ENUM(NSInteger, UIAlertControllerStyle) {
  UIAlertControllerStyleActionSheet = 0,
  UIAlertControllerStyleAlert
};
typedef NS_ENUM(NSInteger, UIAlertActionStyle) {
  UIAlertActionStyleDefault = 0,
  UIAlertActionStyleCancel,
  UIAlertActionStyleDestructive
};
@interface UIAlertAction : NSObject
@property(nullable, nonatomic, readonly) NSString* title;
+ (instancetype)actionWithTitle:(nullable NSString*)title
                          style:(UIAlertActionStyle)style
                        handler:(void (^_Nullable)(UIAlertAction* action))handler;
@end
@interface UIAlertController : UIViewController
+ (instancetype)alertControllerWithTitle:(nullable NSString*)title
                                 message:(nullable NSString*)message
                          preferredStyle:(UIAlertControllerStyle)style;
- (void)addAction:(UIAlertAction*)action;
@property(nonatomic, readonly) NSArray* actions;
@property(nullable, nonatomic, copy) NSString *title, *message;
@end
@interface UIDevice : NSObject
@property(class, nonatomic, readonly) UIDevice* currentDevice;
@property(nonatomic, readonly, strong) NSString *model, *systemName, *systemVersion;
@property(nullable, nonatomic, readonly, strong) NSUUID* identifierForVendor;
@property(nonatomic, readonly) UIUserInterfaceIdiom userInterfaceIdiom;
@end
FOUNDATION_EXPORT NSString* const UIApplicationWillResignActiveNotification;
FOUNDATION_EXPORT NSString* const UIApplicationDidBecomeActiveNotification;
NS_ASSUME_NONNULL_END
