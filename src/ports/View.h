#pragma once

#include "base/Geometry.h"

#include <memory>
#include <optional>
#include <string_view>

namespace vemora {

class View;
class Window;
class ViewController;

enum class LayoutAttribute { Leading, Trailing, Top, Bottom, CenterX, CenterY, Width, Height };

/// first.attribute == second.attribute * multiplier + constant. With `toSafeArea` the second item is the
/// second view's safe-area guide: its bounds less what the system draws over.
struct LayoutConstraint {
  std::weak_ptr<View> firstItem;
  LayoutAttribute firstAttribute;
  std::weak_ptr<View> secondItem;
  LayoutAttribute secondAttribute;
  double multiplier = 1;
  double constant = 0;
  bool toSafeArea = false;
};

/// Notified of changes of the observed keys of a view, "window" and "hidden".
class KeyValueObserver {
 public:
  virtual ~KeyValueObserver() = default;
  virtual void observeValueForKeyPath(std::string_view keyPath) = 0;
};

/// Notified when a view has been given a frame, or when its place in its window has changed, for instance
/// because a superview was scrolled.
class LayoutObserver {
 public:
  virtual ~LayoutObserver() = default;
  virtual void viewDidLayout() = 0;
};

/// A rectangle on the screen that holds other views.
///
/// Lifetime: A superview holds its subviews strongly. `superview`, `window`, observers and the items of
/// constraints are held weakly. A constraint is removed when its superview or one of its items is destroyed.
/// Each call may return another object for the same view or window, so their addresses mean nothing. What was
/// added through an object (observers, constraints) is removed through the same object, and observers last as
/// long as it does.
///
/// Threads: Main thread only, including destruction.
///
/// Completion: Operations take effect before they return. Layout is the exception: it runs after
/// `setNeedsLayout` and before the next frame.
///
/// Errors: None. Negative and non-finite sizes count as 0. Constraints between views without a common
/// superview are ignored.
class View {
 public:
  virtual ~View() = default;

  virtual std::shared_ptr<View> superview() const = 0;
  virtual std::shared_ptr<Window> window() const = 0;
  virtual bool isHidden() const = 0;
  virtual Rect frame() const = 0;   ///< In the superview's coordinates.
  virtual Rect bounds() const = 0;  ///< In its own coordinates.
  virtual bool isDescendantOfView(const View& ancestor) const = 0;
  /// Absent when the two share no window.
  virtual std::optional<Rect> convertRectToView(const Rect& rect, const View& other) const = 0;

  /// Takes the view out of its old superview first.
  virtual void addSubview(const std::shared_ptr<View>& view) = 0;
  virtual void removeFromSuperview() = 0;
  virtual void setFrame(const Rect& frame) = 0;
  virtual void setUserInteractionEnabled(bool enabled) = 0;
  virtual void setOpaque(bool opaque) = 0;
  virtual void setBackgroundColorBlack() = 0;

  /// While true (the default), the frame that was set applies. While false, constraints determine the frame.
  virtual void setTranslatesAutoresizingMaskIntoConstraints(bool translates) = 0;
  virtual void addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) = 0;
  virtual void removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) = 0;
  virtual void setNeedsLayout() = 0;

  /// With `initial`, the observer is also notified once inside this call. Only web views must notify later.
  virtual void addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath,
                           bool initial) = 0;
  virtual void removeObserver(const KeyValueObserver* observer, std::string_view keyPath) = 0;
  /// One observer for each view; a null pointer removes it. It is called on the main thread after the layout
  /// that changed frame or place, once for each change. Only web views must notify, and a platform may miss
  /// changes of place that lay nothing out.
  virtual void setLayoutObserver(std::weak_ptr<LayoutObserver> observer) = 0;

  /// The platform's native layer or view, for third-party measurement libraries.
  virtual void* layer() const = 0;
};

/// A view that is a window of the application.
class Window : public virtual View {
 public:
  virtual std::shared_ptr<ViewController> rootViewController() const = 0;
};

}  // namespace vemora
