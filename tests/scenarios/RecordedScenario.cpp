#include "RecordedScenario.h"

#include <Vemora/Vemora.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <stdexcept>

namespace vemora::scenarios {

namespace {

/// The name, with the variant if there is one, as part of a file name.
std::string fileName(const Scenario& scenario) {
  std::string name = scenario.name + (scenario.variant.empty() ? "" : "-" + scenario.variant);
  std::replace_if(
      name.begin(), name.end(), [](unsigned char c) { return std::isalnum(c) == 0 && c != '.'; }, '-');
  return name;
}

}  // namespace

void recordScenario(const Scenario& scenario, Placement placement, const std::string& file) {
  Session session(placement, {});
  if (!Vemora::startRecording(file)) throw std::runtime_error("cannot write " + file);
  scenario.act(session);
  Vemora::stopRecording();
  session.finish();
}

std::size_t recordScenarios(const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  std::map<std::string, int> uses;
  for (const Scenario& scenario : allScenarios()) {
    std::string name = fileName(scenario);
    if (const int use = ++uses[name]; use > 1) name += "-" + std::to_string(use);
    recordScenario(scenario, scenario.placements.front(), (folder / (name + ".jsonl")).string());
  }
  return allScenarios().size();
}

}  // namespace vemora::scenarios
