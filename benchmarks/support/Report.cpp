#include "support/Report.h"

#include <Vemora/JsonValue.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string_view>
#include <utility>

namespace vemora::bench {

namespace {

std::string shown(std::optional<double> number) {
  if (!number) return "-";
  char text[32];
  const double size = *number < 0 ? -*number : *number;
  std::snprintf(text, sizeof text, size >= 1000 ? "%.0f" : size >= 10 ? "%.1f" : "%.3f", *number);
  return text;
}

[[noreturn]] void usage(const char* program) {
  std::fprintf(stderr, "usage: %s [--rounds N] [--json FILE]\n", program);
  std::exit(2);
}

}  // namespace

Report::Report(std::string benchmark, int argc, char** argv) : benchmark_(std::move(benchmark)) {
  for (int i = 1; i < argc; i += 2) {
    const std::string_view option = argv[i];
    if (i + 1 == argc) usage(argv[0]);
    if (option == "--json") {
      jsonFile_ = argv[i + 1];
    } else if (option == "--rounds" && std::atoi(argv[i + 1]) > 0) {
      rounds_ = std::atoi(argv[i + 1]);
    } else {
      usage(argv[0]);
    }
  }
}

void Report::ratio(const std::string& what, const std::string& unit, const std::string& floorName,
                   const Comparison& comparison, std::optional<double> limit) {
  rows_.push_back(
      {what, unit, floorName, median(comparison.floor), median(comparison.ours), comparison.ratio(), limit});
}

void Report::value(const std::string& what, const std::string& unit, double ours,
                   std::optional<double> limit) {
  rows_.push_back({what, unit, "", std::nullopt, ours, std::nullopt, limit});
}

int Report::finish() const {
  print();
  if (jsonFile_.empty() || writeJson()) return 0;
  std::fprintf(stderr, "cannot write %s\n", jsonFile_.c_str());
  return 1;
}

void Report::print() const {
  std::printf("\n%-46s %-9s %-26s %10s %10s %7s %7s\n", benchmark_.c_str(), "unit", "floor", "floor", "ours",
              "ratio", "goal");
  for (const Row& row : rows_) {
    std::printf("%-46s %-9s %-26s %10s %10s %7s %7s %s\n", row.what.c_str(), row.unit.c_str(),
                row.floorName.c_str(), shown(row.floor).c_str(), shown(row.ours).c_str(),
                shown(row.ratio).c_str(), shown(row.limit).c_str(),
                !row.limit    ? ""
                : row.isMet() ? "met"
                              : "MISSED");
  }
}

bool Report::writeJson() const {
  std::vector<JsonValue> rows;
  for (const Row& row : rows_) {
    rows.push_back(JsonValue::object({{"what", row.what},
                                      {"unit", row.unit},
                                      {"floorName", row.floorName},
                                      {"floor", row.floor},
                                      {"ours", row.ours},
                                      {"ratio", row.ratio},
                                      {"goal", row.limit},
                                      {"met", row.isMet()}}));
  }
  const JsonValue whole =
      JsonValue::object({{"benchmark", benchmark_}, {"rows", JsonValue::array(std::move(rows))}});
  std::ofstream file(jsonFile_);
  file << whole.serialized().value_or("") << '\n';
  file.close();
  return file.good();
}

}  // namespace vemora::bench
