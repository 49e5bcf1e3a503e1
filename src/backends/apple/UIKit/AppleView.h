#pragma once

#include "ports/View.h"

#import <UIKit/UIKit.h>

#include <memory>
#include <vector>

namespace vemora::apple {

/// A UIView as the core has it. Several wrappers of one view may exist at a time. The constraints that were
/// added through a wrapper are removed through the same one.
class AppleView : public virtual View {
 public:
  explicit AppleView(UIView* view) : view_(view) {}
  AppleView(const AppleView&) = delete;
  AppleView& operator=(const AppleView&) = delete;

  UIView* uiView() const { return view_; }

  std::shared_ptr<View> superview() const override;
  std::shared_ptr<Window> window() const override;
  bool isHidden() const override;
  Rect frame() const override;
  Rect bounds() const override;
  bool isDescendantOfView(const View& ancestor) const override;
  std::optional<Rect> convertRectToView(const Rect& rect, const View& other) const override;
  void addSubview(const std::shared_ptr<View>& view) override;
  void removeFromSuperview() override;
  void setFrame(const Rect& frame) override;
  void setUserInteractionEnabled(bool enabled) override;
  void setOpaque(bool opaque) override;
  void setBackgroundColorBlack() override;
  void setTranslatesAutoresizingMaskIntoConstraints(bool translates) override;
  void addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void setNeedsLayout() override;
  void* layer() const override;

  // The platform promises no such notifications for views of other classes than our own: see AppleWebView.
  void addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath, bool initial) override;
  void removeObserver(const KeyValueObserver* observer, std::string_view keyPath) override;
  void setLayoutObserver(std::weak_ptr<LayoutObserver> observer) override;

 private:
  struct AddedConstraint {
    std::weak_ptr<LayoutConstraint> constraint;
    __weak NSLayoutConstraint* native;
  };

  UIView* const view_;
  std::vector<AddedConstraint> constraints_;
};

class AppleWindow final : public AppleView, public Window {
 public:
  explicit AppleWindow(UIWindow* window) : AppleView(window) {}
  std::shared_ptr<ViewController> rootViewController() const override;
};

/// A new wrapper; null for nil.
std::shared_ptr<View> wrap(UIView* view);
std::shared_ptr<Window> wrap(UIWindow* window);
UIView* unwrap(const View& view);

inline CGRect toCGRect(const Rect& rect) {
  return {{rect.x, rect.y}, {rect.width, rect.height}};
}
inline Rect toRect(CGRect rect) {
  return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

}  // namespace vemora::apple
