#include "backends/gtk/ui/ConstraintSolver.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vemora::gtk {

namespace {

constexpr double kMaximumMultiplier = 1000;

double sanitizedOffset(double value) {
  return std::isfinite(value) ? std::clamp(value, -kMaximumExtent, kMaximumExtent) : 0;
}

double sanitizedSize(double value, double maximum) {
  return std::isfinite(value) && value > 0 ? std::min(value, maximum) : 0;
}

/// What is known of a view along one axis.
struct Axis {
  std::optional<double> start, end, centre, size;

  std::pair<double, double> startAndSize() const {
    if (start && end) return {*start, *end - *start};
    if (size && start) return {*start, *size};
    if (size && end) return {*end - *size, *size};
    if (size && centre) return {*centre - *size / 2, *size};
    if (start && centre) return {*start, 2 * (*centre - *start)};
    if (end && centre) return {2 * *centre - *end, 2 * (*end - *centre)};
    return {start.value_or(centre.value_or(end.value_or(0))), size.value_or(0)};
  }
};

class Solver {
 public:
  Solver(const View& container, const Rect& bounds, bool isRightToLeft,
         const std::vector<std::shared_ptr<LayoutConstraint>>& constraints, std::vector<PlacedView>& views)
      : container_(container),
        bounds_(bounds),
        isRightToLeft_(isRightToLeft),
        constraints_(constraints),
        views_(views) {}

  void solve(PlacedView& placed) {
    if (placed.isSolved) return;
    // Set first, so that views that depend on each other do not recurse for ever.
    placed.isSolved = true;
    if (placed.fixedFrame) {
      placed.frame = *placed.fixedFrame;
      return;
    }
    Axis horizontal, vertical;
    for (const auto& constraint : constraints_) {
      if (constraint->firstItem.lock().get() != placed.view) continue;
      const auto reference = frameOf(constraint->secondItem.lock().get());
      if (!reference) continue;
      const double value = attributeOf(*reference, constraint->secondAttribute) *
                               sanitizedSize(constraint->multiplier, kMaximumMultiplier) +
                           sanitizedOffset(constraint->constant);
      unknown(constraint->firstAttribute, horizontal, vertical) = value;
    }
    const auto [x, width] = horizontal.startAndSize();
    const auto [y, height] = vertical.startAndSize();
    placed.frame = sanitizedFrame({x, y, width, height});
  }

 private:
  std::optional<Rect> frameOf(const View* view) {
    if (view == &container_) return bounds_;
    const auto found = std::find_if(views_.begin(), views_.end(),
                                    [view](const auto& placed) { return placed.view == view; });
    if (found == views_.end()) return std::nullopt;
    solve(*found);
    return found->frame;
  }

  double attributeOf(const Rect& rect, LayoutAttribute attribute) const {
    switch (attribute) {
      case LayoutAttribute::Leading:
        return isRightToLeft_ ? rect.x + rect.width : rect.x;
      case LayoutAttribute::Trailing:
        return isRightToLeft_ ? rect.x : rect.x + rect.width;
      case LayoutAttribute::Top:
        return rect.y;
      case LayoutAttribute::Bottom:
        return rect.y + rect.height;
      case LayoutAttribute::CenterX:
        return rect.x + rect.width / 2;
      case LayoutAttribute::CenterY:
        return rect.y + rect.height / 2;
      case LayoutAttribute::Width:
        return rect.width;
      case LayoutAttribute::Height:
        return rect.height;
    }
    return 0;
  }

  std::optional<double>& unknown(LayoutAttribute attribute, Axis& horizontal, Axis& vertical) const {
    switch (attribute) {
      case LayoutAttribute::Leading:
        return isRightToLeft_ ? horizontal.end : horizontal.start;
      case LayoutAttribute::Trailing:
        return isRightToLeft_ ? horizontal.start : horizontal.end;
      case LayoutAttribute::Top:
        return vertical.start;
      case LayoutAttribute::Bottom:
        return vertical.end;
      case LayoutAttribute::CenterX:
        return horizontal.centre;
      case LayoutAttribute::CenterY:
        return vertical.centre;
      case LayoutAttribute::Width:
        return horizontal.size;
      case LayoutAttribute::Height:
        break;
    }
    return vertical.size;
  }

  const View& container_;
  const Rect bounds_;
  const bool isRightToLeft_;
  const std::vector<std::shared_ptr<LayoutConstraint>>& constraints_;
  std::vector<PlacedView>& views_;
};

}  // namespace

Rect sanitizedFrame(const Rect& frame) {
  return {sanitizedOffset(frame.x), sanitizedOffset(frame.y), sanitizedSize(frame.width, kMaximumExtent),
          sanitizedSize(frame.height, kMaximumExtent)};
}

void solveConstraints(const View& container, double width, double height, bool isRightToLeft,
                      const std::vector<std::shared_ptr<LayoutConstraint>>& constraints,
                      std::vector<PlacedView>& views) {
  Solver solver(container, {0, 0, width, height}, isRightToLeft, constraints, views);
  for (PlacedView& placed : views) solver.solve(placed);
}

}  // namespace vemora::gtk
