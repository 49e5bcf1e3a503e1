#include "Report.h"

#include <algorithm>

namespace vemora::check {

namespace {

const char* nameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Ok:
      return "ok";
    case Outcome::Fail:
      return "fail";
    case Outcome::Skip:
      return "skip";
  }
  return "";
}

const char* markOf(Outcome outcome) {
  return outcome == Outcome::Fail ? "FAIL" : nameOf(outcome);
}

std::size_t count(std::span<const Finding> findings, Outcome outcome) {
  return static_cast<std::size_t>(std::count_if(
      findings.begin(), findings.end(), [&](const Finding& finding) { return finding.outcome == outcome; }));
}

std::string padded(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

std::string lineOf(const Finding& finding, std::size_t nameWidth) {
  std::string line =
      padded(markOf(finding.outcome), 6) + padded(finding.rule->name, nameWidth + 2) + finding.rule->says;
  const char* separator = ": ";
  for (const std::string& seen : finding.seen) {
    line += separator + seen;
    separator = "; ";
  }
  return line + "\n";
}

/// The advice: a line for each rule that failed and for each that could not be judged.
std::string summary(std::span<const Finding> findings) {
  std::string text;
  for (const Finding& finding : findings) {
    if (finding.outcome != Outcome::Fail && !finding.isUnjudged) continue;
    text.append(finding.isUnjudged ? "NOT JUDGED  " : "FAIL  ").append(finding.rule->name);
    if (!finding.seen.empty()) text.append(": ").append(finding.seen.front());
    if (!finding.isUnjudged) text.append(". To do: ").append(finding.rule->advice);
    for (const std::string& place : finding.places) text.append("\n      recorded in ").append(place);
    text.append("\n");
  }
  return text;
}

}  // namespace

Result resultOf(std::span<const Finding> findings) {
  if (count(findings, Outcome::Fail) > 0) return Result::Broken;
  const bool isComplete = std::none_of(findings.begin(), findings.end(),
                                       [](const Finding& finding) { return finding.isUnjudged; });
  return isComplete ? Result::Holds : Result::Unjudged;
}

std::string reportAsText(std::span<const Finding> findings, double seconds) {
  std::size_t nameWidth = 0;
  for (const Finding& finding : findings)
    nameWidth = std::max(nameWidth, std::string(finding.rule->name).size());
  std::string text;
  for (const Finding& finding : findings) text += lineOf(finding, nameWidth);
  const auto number = [&](Outcome outcome) { return std::to_string(count(findings, outcome)); };
  text += std::to_string(findings.size()) + " rules: " + number(Outcome::Ok) + " hold, " +
          number(Outcome::Fail) + " do not, " + number(Outcome::Skip) + " skipped; " + inSeconds(seconds) +
          "\n";
  return text + summary(findings);
}

std::string reportAsJson(std::span<const Finding> findings, const std::string& url, double seconds) {
  std::vector<JsonValue> rules;
  for (const Finding& finding : findings) {
    std::vector<JsonValue> seen(finding.seen.begin(), finding.seen.end());
    rules.push_back(JsonValue::object({{"name", finding.rule->name},
                                       {"says", finding.rule->says},
                                       {"outcome", nameOf(finding.outcome)},
                                       {"judged", !finding.isUnjudged},
                                       {"advice", finding.rule->advice},
                                       {"seen", JsonValue::array(std::move(seen))},
                                       {"places", finding.places}}));
  }
  const JsonValue counts = JsonValue::object({{"ok", count(findings, Outcome::Ok)},
                                              {"fail", count(findings, Outcome::Fail)},
                                              {"skip", count(findings, Outcome::Skip)}});
  return JsonValue::object({{"url", url},
                            {"holds", resultOf(findings) == Result::Holds},
                            {"seconds", seconds},
                            {"counts", counts},
                            {"rules", JsonValue::array(std::move(rules))}})
             .serialized()
             .value_or("null") +
         "\n";
}

std::string problemAsJson(const std::string& url, const std::string& problem) {
  return JsonValue::object({{"url", url}, {"holds", false}, {"problem", problem}})
             .serialized()
             .value_or("null") +
         "\n";
}

}  // namespace vemora::check
