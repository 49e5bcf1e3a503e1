#pragma once

#include <vector>

namespace vemora {

/// How a figure develops over cycles.
struct Trend {
  double first = 0;  ///< Median of the first quarter.
  double last = 0;   ///< Median of the last quarter.
  double slope = 0;  ///< A cycle; the median of the slopes between all pairs of points (Theil and Sen).
  double highest = 0;

  /// `values` has at least one element.
  static Trend of(const std::vector<double>& values);
};

}  // namespace vemora
