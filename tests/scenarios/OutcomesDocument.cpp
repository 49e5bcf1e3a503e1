#include "OutcomesDocument.h"

#include "Scenario.h"

#include <algorithm>

namespace vemora::scenarios {

namespace {

constexpr char kIntroduction[] = R"(# Outcomes

What the host is notified of when something goes wrong, for each fault that the tests know by name. This file is
generated from the tables in tests/scenarios; a test fails when the two differ. Write it again with

    build/dev/tests/scenarios/vemora-scenarios --write docs/outcomes.md

Each row is played by a test on the placements in brackets (all three where there are none), once in order and in
several random orders of threads. Callbacks are the delegate's operations without "vemora" ("-": no ad group or no ad;
a number after `didLoadAds`: the ads; four digits: the error's code). "Logged" are the lines logged as errors, in
order, and below them lines that the debug log has. What all sessions have in common: at most one report for each load,
at most one ending (`adGroupComplete` or `adError`), and no callback after the ending, after `shutdown` or after the
release of the player.
)";

std::string code(const std::string& text) {
  std::string escaped;
  for (const char c : text) escaped += c == '|' ? std::string("\\|") : std::string(1, c);
  return "`" + escaped + "`";
}

/// Repeated entries as one, with their count.
std::string listed(const std::vector<std::string>& entries) {
  std::string text;
  for (auto first = entries.begin(); first != entries.end();) {
    const auto last = std::find_if(first, entries.end(), [&](const auto& other) { return other != *first; });
    if (!text.empty()) text += ", ";
    text += code(*first);
    if (last - first > 1) text += " × " + std::to_string(last - first);
    first = last;
  }
  return text;
}

bool sameRow(const Scenario& a, const Scenario& b) {
  return a.group == b.group && a.name == b.name && a.placements == b.placements &&
         a.outcome.callbacks == b.outcome.callbacks && a.outcome.errors == b.outcome.errors &&
         a.outcome.logs == b.outcome.logs && a.outcome.note == b.outcome.note;
}

std::string joined(const std::string& a, const std::string& separator, const std::string& b) {
  return a.empty() || b.empty() ? a + b : a + separator + b;
}

std::string row(const Scenario& scenario, const std::vector<std::string>& variants) {
  std::string name = code(scenario.name);
  if (scenario.placements.size() < std::size(kPlacements)) {
    std::string names;
    for (const Placement placement : scenario.placements) names = joined(names, ", ", nameOf(placement));
    name += " (" + names + ")";
  }
  std::string what = scenario.description;
  if (!variants.empty()) what += " " + listed(variants);
  const Outcome& outcome = scenario.outcome;
  const std::string callbacks = outcome.callbacks.empty() ? "none" : listed(outcome.callbacks);
  const std::string errors = outcome.errors.empty() ? "" : "error: " + listed(outcome.errors);
  const std::string logged = joined(errors, "<br>", listed(outcome.logs));
  return "| " + name + " | " + what + " | " + joined(callbacks, "<br>", outcome.note) + " | " + logged +
         " |\n";
}

}  // namespace

std::string outcomesDocument() {
  const auto& all = allScenarios();
  std::string text = kIntroduction;
  std::string group;
  std::vector<bool> done(all.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    if (done[i]) continue;
    if (group != all[i].group) {
      group = all[i].group;
      text += "\n## " + group + "\n\n| scenario | what happens | callbacks | logged |\n|---|---|---|---|\n";
    }
    std::vector<std::string> variants;
    for (std::size_t j = i; j < all.size(); ++j) {
      if (!sameRow(all[i], all[j])) continue;
      done[j] = true;
      if (!all[j].variant.empty()) variants.push_back(all[j].variant);
    }
    text += row(all[i], variants);
  }
  return text;
}

}  // namespace vemora::scenarios
