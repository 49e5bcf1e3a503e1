#pragma once

#include "base/Geometry.h"
#include "ports/View.h"

#include <memory>
#include <optional>
#include <vector>

namespace vemora::gtk {

/// Nothing is larger or further away: beyond this, graphics drivers refuse textures.
constexpr double kMaximumExtent = 8192;

/// A frame that can be laid out: what is not finite, and a negative size, is 0.
Rect sanitizedFrame(const Rect& frame);

/// A view that is to be placed in a container: by its frame, or, without one, by constraints.
struct PlacedView {
  const View* view;
  std::optional<Rect> fixedFrame;
  bool isSolved = false;
  Rect frame;  ///< The result.
};

/// Places views in a container of the given size, without a general solver: each view has at most two
/// unknowns for each axis. Two of both edges, centre and size decide; edges come before the size, the size
/// before the centre. Of several constraints for one attribute the last one counts. What is not constrained
/// is 0. A constraint may refer to the container or to another view that does not depend on the first one.
void solveConstraints(const View& container, double width, double height, bool isRightToLeft,
                      const std::vector<std::shared_ptr<LayoutConstraint>>& constraints,
                      std::vector<PlacedView>& views);

}  // namespace vemora::gtk
