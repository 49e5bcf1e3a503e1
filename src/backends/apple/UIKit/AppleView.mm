#include "backends/apple/UIKit/AppleView.h"

#include "backends/apple/UIKit/AppleViewController.h"

#include <algorithm>
#include <cmath>

namespace vemora::apple {

namespace {

NSLayoutAttribute attributeOf(LayoutAttribute attribute) {
  switch (attribute) {
    case LayoutAttribute::Leading:
      return NSLayoutAttributeLeading;
    case LayoutAttribute::Trailing:
      return NSLayoutAttributeTrailing;
    case LayoutAttribute::Top:
      return NSLayoutAttributeTop;
    case LayoutAttribute::Bottom:
      return NSLayoutAttributeBottom;
    case LayoutAttribute::CenterX:
      return NSLayoutAttributeCenterX;
    case LayoutAttribute::CenterY:
      return NSLayoutAttributeCenterY;
    case LayoutAttribute::Width:
      return NSLayoutAttributeWidth;
    case LayoutAttribute::Height:
      return NSLayoutAttributeHeight;
  }
}

/// The platform raises an exception for a constraint between other views.
bool haveCommonSuperview(UIView* first, UIView* second) {
  for (UIView* view = first; view; view = [view superview]) {
    if ([second isDescendantOfView:view]) return true;
  }
  return false;
}

/// The platform raises an exception for what is not finite.
double usable(double value) {
  return std::isfinite(value) ? value : 0;
}

}  // namespace

UIView* unwrap(const View& view) {
  return dynamic_cast<const AppleView&>(view).uiView();
}

std::shared_ptr<Window> wrap(UIWindow* window) {
  return window ? std::make_shared<AppleWindow>(window) : nullptr;
}
std::shared_ptr<View> wrap(UIView* view) {
  if ([view isKindOfClass:[UIWindow class]]) return wrap(static_cast<UIWindow*>(view));
  return view ? std::make_shared<AppleView>(view) : nullptr;
}

std::shared_ptr<View> AppleView::superview() const {
  return wrap([view_ superview]);
}
std::shared_ptr<Window> AppleView::window() const {
  return wrap([view_ window]);
}
bool AppleView::isHidden() const {
  return [view_ isHidden];
}
Rect AppleView::frame() const {
  return toRect([view_ frame]);
}
Rect AppleView::bounds() const {
  return toRect([view_ bounds]);
}
bool AppleView::isDescendantOfView(const View& ancestor) const {
  return [view_ isDescendantOfView:unwrap(ancestor)];
}
std::optional<Rect> AppleView::convertRectToView(const Rect& rect, const View& other) const {
  UIView* target = unwrap(other);
  if (![view_ window] || [view_ window] != [target window]) return std::nullopt;
  return toRect([view_ convertRect:toCGRect(rect) toView:target]);
}

void AppleView::addSubview(const std::shared_ptr<View>& view) {
  [view_ addSubview:unwrap(*view)];
}
void AppleView::removeFromSuperview() {
  [view_ removeFromSuperview];
}
void AppleView::setFrame(const Rect& frame) {
  [view_ setFrame:toCGRect({usable(frame.x), usable(frame.y), std::max(usable(frame.width), 0.0),
                            std::max(usable(frame.height), 0.0)})];
}
void AppleView::setUserInteractionEnabled(bool enabled) {
  [view_ setUserInteractionEnabled:enabled];
}
void AppleView::setOpaque(bool opaque) {
  [view_ setOpaque:opaque];
}
void AppleView::setBackgroundColorBlack() {
  [view_ setBackgroundColor:[UIColor blackColor]];
}
void AppleView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
  [view_ setTranslatesAutoresizingMaskIntoConstraints:translates];
}
void AppleView::setNeedsLayout() {
  [view_ setNeedsLayout];
}

void AppleView::addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  const auto first = constraint->firstItem.lock();
  const auto second = constraint->secondItem.lock();
  if (!first || !second || !haveCommonSuperview(unwrap(*first), unwrap(*second))) return;
  id item = unwrap(*second);
  if (constraint->toSafeArea) item = [static_cast<UIView*>(item) safeAreaLayoutGuide];
  NSLayoutConstraint* native =
      [NSLayoutConstraint constraintWithItem:unwrap(*first)
                                   attribute:attributeOf(constraint->firstAttribute)
                                   relatedBy:NSLayoutRelationEqual
                                      toItem:item
                                   attribute:attributeOf(constraint->secondAttribute)
                                  multiplier:std::max(usable(constraint->multiplier), 0.0)
                                    constant:usable(constraint->constant)];
  [native setActive:YES];
  std::erase_if(constraints_, [](const AddedConstraint& added) { return added.constraint.expired(); });
  constraints_.push_back({constraint, native});
}

void AppleView::removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  std::erase_if(constraints_, [&](const AddedConstraint& added) {
    if (added.constraint.lock() != constraint) return false;
    [added.native setActive:NO];
    return true;
  });
}

void AppleView::addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath,
                            bool initial) {
  const auto alive = observer.lock();
  if (initial && alive) alive->observeValueForKeyPath(keyPath);
}
void AppleView::removeObserver(const KeyValueObserver*, std::string_view) {}
void AppleView::setLayoutObserver(std::weak_ptr<LayoutObserver>) {}

void* AppleView::layer() const {
  return (__bridge void*)[view_ layer];
}

std::shared_ptr<ViewController> AppleWindow::rootViewController() const {
  return wrap([static_cast<UIWindow*>(uiView()) rootViewController]);
}

}  // namespace vemora::apple
