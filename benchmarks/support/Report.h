#pragma once

#include "support/Measure.h"

#include <optional>
#include <string>
#include <vector>

namespace vemora::bench {

/// The results of one benchmark program: a table on standard output and, on request, a JSON file.
///
///     int main(int argc, char** argv) {
///       Report report("json", argc, argv);
///       report.ratio("reading a ping", "ns", "nlohmann/json", comparison, 0.35);
///       return report.finish();
///     }
///
/// The programs understand `--rounds N` and `--json FILE`; anything else ends them with status 2.
class Report {
 public:
  Report(std::string benchmark, int argc, char** argv);

  int rounds(int usual) const { return rounds_.value_or(usual); }

  /// Medians of both sides, and the median of the ratios; the goal, if any, is at most `limit`.
  void ratio(const std::string& what, const std::string& unit, const std::string& floorName,
             const Comparison& comparison, std::optional<double> limit);
  void value(const std::string& what, const std::string& unit, double ours, std::optional<double> limit);

  /// Prints and writes. The exit status: 0, or 1 when the file cannot be written. A missed goal is a finding
  /// and no failure of the program.
  int finish() const;

 private:
  struct Row {
    std::string what, unit, floorName;
    std::optional<double> floor;
    double ours = 0;
    std::optional<double> ratio;
    std::optional<double> limit;
    bool isMet() const { return !limit || (ratio ? *ratio : ours) <= *limit; }
  };

  void print() const;
  bool writeJson() const;

  std::string benchmark_;
  std::optional<int> rounds_;
  std::string jsonFile_;
  std::vector<Row> rows_;
};

}  // namespace vemora::bench
