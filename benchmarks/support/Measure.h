#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>
#include <vector>

/// What a piece of work costs, and how to compare two pieces on a machine with other
/// load.
namespace vemora::bench {

/// What has been used up so far. The cost of work is the difference of two samples.
struct Usage {
  double cpu = 0;  ///< Seconds in user and system mode.
  double switches = 0;
  double voluntary = 0;  ///< Those of the switches in which a thread went to sleep.
  double wall = 0;

  static Usage ofProcess();
  static Usage ofThread();

  Usage operator-(const Usage& earlier) const {
    return {cpu - earlier.cpu, switches - earlier.switches, voluntary - earlier.voluntary,
            wall - earlier.wall};
  }
};

/// How often the living threads of this name have gone to sleep.
double sleepsOfThreads(std::string_view name);

template <typename Work>
Usage usageOf(Work work) {
  const Usage before = Usage::ofProcess();
  work();
  return Usage::ofProcess() - before;
}

/// The value at this part (0 to 1) of the sorted values.
inline double quantile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  const auto at =
      values.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1) + 0.5);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

inline double median(std::vector<double> values) {
  return quantile(std::move(values), 0.5);
}

/// One quantity of two contestants, round by round.
struct Comparison {
  std::vector<double> floor;
  std::vector<double> ours;

  void add(double floorValue, double ourValue) {
    floor.push_back(floorValue);
    ours.push_back(ourValue);
  }
  /// The median of the rounds' ratios: the two of a round ran side by side, so what slowed one slowed the
  /// other.
  double ratio() const {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < ours.size(); ++i) ratios.push_back(ours[i] / floor[i]);
    return median(std::move(ratios));
  }
};

/// Runs the contestants in turn, each first in every second round, after one round that does not count.
/// `record(floor, ours)` gets what the two returned.
template <typename Floor, typename Ours, typename Record>
void takeTurns(int rounds, Floor floor, Ours ours, Record record) {
  floor();
  ours();
  for (int round = 0; round < rounds; ++round) {
    if (round % 2 == 0) {
      const auto first = floor();
      record(first, ours());
    } else {
      const auto first = ours();
      record(floor(), first);
    }
  }
}

template <typename Floor, typename Ours>
Comparison takeTurns(int rounds, Floor floor, Ours ours) {
  Comparison comparison;
  takeTurns(rounds, floor, ours,
            [&](double floorValue, double ourValue) { comparison.add(floorValue, ourValue); });
  return comparison;
}

}  // namespace vemora::bench
