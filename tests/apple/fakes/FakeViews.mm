// Views, windows and their layout: exact for edges, centres and sizes relative to a superview or its safe area, at once after
// each change.

#import "fakes/FakeViews.h"

#include "fakes/Fake.h"

#include <algorithm>
#include <map>

@interface NSLayoutConstraint ()
@property(nonatomic, unsafe_unretained) UIView* first;
@property(nonatomic) NSLayoutAttribute attribute;
@property(nonatomic, unsafe_unretained) UIView* second;
@property(nonatomic) BOOL toSafeArea;
@property(nonatomic) NSLayoutAttribute otherAttribute;
@property(nonatomic) CGFloat multiplier, constant;
@end

namespace {

NSMutableArray* activeConstraints() {
  static NSMutableArray* all = [[NSMutableArray alloc] init];
  return all;
}

CGRect safeBounds(UIView* view) {
  CGRect bounds = [view bounds];
  bounds.origin.y += 20;
  bounds.size.height -= 30;
  return bounds;
}

CGFloat valueOf(CGRect rect, NSLayoutAttribute attribute) {
  switch (attribute) {
    case NSLayoutAttributeLeading:
      return NSMinX(rect);
    case NSLayoutAttributeTrailing:
      return NSMaxX(rect);
    case NSLayoutAttributeTop:
      return NSMinY(rect);
    case NSLayoutAttributeBottom:
      return NSMaxY(rect);
    case NSLayoutAttributeCenterX:
      return NSMidX(rect);
    case NSLayoutAttributeCenterY:
      return NSMidY(rect);
    case NSLayoutAttributeWidth:
      return NSWidth(rect);
    case NSLayoutAttributeHeight:
      return NSHeight(rect);
    default:
      return 0;
  }
}

struct Axis {
  NSLayoutAttribute low, high, centre, extent;
};

void place(const std::map<int, CGFloat>& known, const Axis& axis, CGFloat& origin, CGFloat& size) {
  const auto has = [&](NSLayoutAttribute attribute) { return known.count(attribute) > 0; };
  const auto at = [&](NSLayoutAttribute attribute) { return known.at(attribute); };
  size = has(axis.extent) ? at(axis.extent) : 0;
  if (!has(axis.extent) && has(axis.low) && has(axis.high)) size = at(axis.high) - at(axis.low);
  origin = 0;
  if (has(axis.high)) origin = at(axis.high) - size;
  if (has(axis.centre)) origin = at(axis.centre) - size / 2;
  if (has(axis.low)) origin = at(axis.low);
}

void layOut(UIView* view) {
  if (![view superview] || [view translatesAutoresizingMaskIntoConstraints]) return;
  std::map<int, CGFloat> known;
  for (NSLayoutConstraint* pin in activeConstraints()) {
    if (pin.first != view) continue;
    const CGRect other = pin.toSafeArea ? safeBounds(pin.second) : [pin.second bounds];
    known[pin.attribute] = valueOf(other, pin.otherAttribute) * pin.multiplier + pin.constant;
  }
  CGRect frame;
  place(
      known,
      {NSLayoutAttributeLeading, NSLayoutAttributeTrailing, NSLayoutAttributeCenterX, NSLayoutAttributeWidth},
      frame.origin.x, frame.size.width);
  place(known,
        {NSLayoutAttributeTop, NSLayoutAttributeBottom, NSLayoutAttributeCenterY, NSLayoutAttributeHeight},
        frame.origin.y, frame.size.height);
  [view setFrame:frame];
}

/// Constraints that lead out of a view go when it moves; those of its own go with it.
void dropConstraints(UIView* view, bool own) {
  for (NSLayoutConstraint* pin in [activeConstraints() copy]) {
    if (pin.first == view || (own && pin.second == view)) [activeConstraints() removeObjectIdenticalTo:pin];
  }
}

}  // namespace

@implementation CALayer
@end
@implementation UIResponder
@end
@implementation UIColor
- (id)copyWithZone:(NSZone*)zone {
  return self;
}
+ (UIColor*)blackColor {
  static UIColor* black = [[UIColor alloc] init];
  return black;
}
@end
@implementation UILayoutGuide
@synthesize owningView = _owningView;
@end

@implementation NSLayoutConstraint
@synthesize first = _first, attribute = _attribute, second = _second, toSafeArea = _toSafeArea,
            otherAttribute = _otherAttribute, multiplier = _multiplier, constant = _constant;
+ (instancetype)constraintWithItem:(id)item
                         attribute:(NSLayoutAttribute)attribute
                         relatedBy:(NSLayoutRelation)relation
                            toItem:(id)other
                         attribute:(NSLayoutAttribute)otherAttribute
                        multiplier:(CGFloat)multiplier
                          constant:(CGFloat)constant {
  NSLayoutConstraint* made = [[self alloc] init];
  made.first = item;
  made.attribute = attribute;
  made.toSafeArea = [other isKindOfClass:[UILayoutGuide class]];
  made.second = made.toSafeArea ? [(UILayoutGuide*)other owningView] : (UIView*)other;
  made.otherAttribute = otherAttribute;
  made.multiplier = multiplier;
  made.constant = constant;
  if (relation != NSLayoutRelationEqual) fake::fault("a constraint that is no equality");
  return made;
}
- (BOOL)isActive {
  return [activeConstraints() indexOfObjectIdenticalTo:self] != NSNotFound;
}
- (void)setActive:(BOOL)active {
  fake::mainThreadOnly("a constraint is used");
  if (active == [self isActive]) return;
  if (!active) {
    [activeConstraints() removeObjectIdenticalTo:self];
  } else if (![self.first isDescendantOfView:self.second]) {
    [NSException raise:NSGenericException format:@"Unable to activate constraint: no common ancestor"];
  } else {
    [activeConstraints() addObject:self];
  }
  layOut(self.first);
}
@end

@implementation UIView {
  CGRect _frame;
  BOOL _hidden;
  NSMutableArray* _subviews;
  __unsafe_unretained UIView* _superview;
  CALayer* _layer;
}
@synthesize translatesAutoresizingMaskIntoConstraints = _translates, opaque = _opaque,
            userInteractionEnabled = _userInteractionEnabled, backgroundColor = _backgroundColor;
- (instancetype)init {
  return [self initWithFrame:CGRectZero];
}
- (instancetype)initWithFrame:(CGRect)frame {
  fake::mainThreadOnly("a view is made");
  if ((self = [super init])) {
    _frame = frame;
    _translates = YES;
    _subviews = [[NSMutableArray alloc] init];
    _layer = [[CALayer alloc] init];
  }
  return self;
}
- (void)dealloc {
  fake::mainThreadOnly("a view is released");
  dropConstraints(self, true);
  for (UIView* view in _subviews) view->_superview = nil;
}
- (CGRect)frame {
  fake::mainThreadOnly("a view is used");
  return _frame;
}
- (CGRect)bounds {
  return {{0, 0}, _frame.size};
}
- (void)setFrame:(CGRect)frame {
  fake::mainThreadOnly("a view is used");
  const BOOL changes = !CGRectEqualToRect(frame, _frame);
  _frame = frame;
  if (changes) [self layoutSubviews];
}
- (void)layoutSubviews {
  for (UIView* view in [_subviews copy]) layOut(view);
}
- (void)setTranslatesAutoresizingMaskIntoConstraints:(BOOL)translates {
  _translates = translates;
  layOut(self);
}
- (BOOL)isHidden {
  return _hidden;
}
- (void)setHidden:(BOOL)hidden {
  fake::mainThreadOnly("a view is used");
  _hidden = hidden;
}
- (CALayer*)layer {
  return _layer;
}
- (UILayoutGuide*)safeAreaLayoutGuide {
  UILayoutGuide* guide = [[UILayoutGuide alloc] init];
  guide.owningView = self;
  return guide;
}
- (UIView*)superview {
  return _superview;
}
- (NSArray*)subviews {
  return [_subviews copy];
}
- (UIWindow*)window {
  UIView* view = self;
  while (view && ![view isKindOfClass:[UIWindow class]]) view = view->_superview;
  return (UIWindow*)view;
}
- (void)didMoveToWindow {
}
- (void)didMove {
  [self didMoveToWindow];
  for (UIView* view in [self subviews]) [view didMove];
}
- (void)moveTo:(UIView*)superview {
  fake::mainThreadOnly("a view is moved");
  UIView* kept = self;
  UIWindow* before = [self window];
  dropConstraints(self, false);
  if (_superview) [_superview->_subviews removeObjectIdenticalTo:self];
  _superview = superview;
  if (superview) [superview->_subviews addObject:kept];
  if ([self window] != before) [self didMove];
}
- (void)addSubview:(UIView*)view {
  [view moveTo:self];
}
- (void)removeFromSuperview {
  if (_superview) [self moveTo:nil];
}
- (BOOL)isDescendantOfView:(UIView*)other {
  for (UIView* view = self; view; view = view->_superview) {
    if (view == other) return YES;
  }
  return NO;
}
- (CGRect)convertRect:(CGRect)rect toView:(UIView*)target {  // To an ancestor only.
  for (UIView* view = self; view && view != target; view = view->_superview) {
    rect = NSOffsetRect(rect, view->_frame.origin.x, view->_frame.origin.y);
  }
  return rect;
}
- (void)setNeedsLayout {
  fake::mainThreadOnly("a view is used");
}
@end

@implementation UIScrollView
@synthesize scrollEnabled = _scrollEnabled, contentInset = _contentInset,
            contentInsetAdjustmentBehavior = _adjustment;
@end

static bool sceneIsActive = true;
static bool windowIsKey = true;
static UIWindow* currentWindow;

@implementation UIWindow
@synthesize rootViewController = _root;
- (BOOL)isKeyWindow {
  return windowIsKey && self == currentWindow;
}
- (void)setRootViewController:(UIViewController*)controller {
  _root = controller;
  [[controller view] setFrame:[self bounds]];
  [self addSubview:[controller view]];
}
@end

@implementation UIScene
- (UISceneActivationState)activationState {
  return sceneIsActive ? UISceneActivationStateForegroundActive : UISceneActivationStateBackground;
}
@end
@implementation UIWindowScene
- (NSArray*)windows {
  return @[ fake::window() ];
}
@end
@implementation UIApplication
+ (UIApplication*)sharedApplication {
  static UIApplication* shared = [[UIApplication alloc] init];
  return shared;
}
- (NSSet*)connectedScenes {
  fake::mainThreadOnly("the scenes are used");
  return [NSSet setWithObjects:[[UIScene alloc] init], [[UIWindowScene alloc] init], nil];
}
@end

NSString* const UIApplicationWillResignActiveNotification = @"UIApplicationWillResignActiveNotification";
NSString* const UIApplicationDidBecomeActiveNotification = @"UIApplicationDidBecomeActiveNotification";

void fake::setScene(bool active, bool key) {
  sceneIsActive = active;
  windowIsKey = key;
}
UIWindow* fake::window() {
  if (!currentWindow) resetWindow();
  return currentWindow;
}
void fake::resetWindow() {
  currentWindow = [[UIWindow alloc] initWithFrame:NSMakeRect(0, 0, 320, 480)];
  [currentWindow setRootViewController:[[UIViewController alloc] init]];
}
