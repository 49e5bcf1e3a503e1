#include "Trend.h"

#include <algorithm>
#include <cstddef>

namespace vemora {

namespace {

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

Trend Trend::of(const std::vector<double>& values) {
  const auto quarter = static_cast<std::ptrdiff_t>(std::max<std::size_t>(1, values.size() / 4));
  std::vector<double> slopes = {0};
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t j = i + 1; j < values.size(); ++j)
      slopes.push_back((values[j] - values[i]) / static_cast<double>(j - i));
  }
  return {median({values.begin(), values.begin() + quarter}), median({values.end() - quarter, values.end()}),
          median(std::move(slopes)), *std::max_element(values.begin(), values.end())};
}

}  // namespace vemora
