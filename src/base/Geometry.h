#pragma once

#include <algorithm>

namespace vemora {

/// A rectangle in points, in the coordinates of a view; y grows downwards.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double area() const { return width * height; }

  /// The common part; its size is zero when there is none.
  Rect intersection(const Rect& other) const {
    const double left = std::max(x, other.x);
    const double top = std::max(y, other.y);
    const double right = std::min(x + width, other.x + other.width);
    const double bottom = std::min(y + height, other.y + other.height);
    if (right <= left || bottom <= top) return {left, top, 0, 0};
    return {left, top, right - left, bottom - top};
  }

  bool operator==(const Rect&) const = default;
};

}  // namespace vemora
