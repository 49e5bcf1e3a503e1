#pragma once

#include "Session.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace vemora::scenarios {

/// In place of error lines: whatever a load logs that the host has given up.
inline constexpr char kGivenUp[] = "lines of the load that was given up";

/// What a host sees of a scenario.
struct Outcome {
  std::vector<std::string> callbacks{};
  /// Every line that is logged as an error, in order; one that ends in "..." stands for all that begin so.
  std::vector<std::string> errors{};
  /// Lines of the debug log that must be there.
  std::vector<std::string> logs{};
  /// Why there is no callback, or what else happens.
  std::string note{};
};

/// A fault by name, how it is brought about, and its documented outcome.
struct Scenario {
  std::string group;
  std::string name;
  std::string description;
  std::function<void(Session&)> act;
  Outcome outcome;
  std::vector<Placement> placements = {Placement::Inline, Placement::Resizable, Placement::Interstitial};
  /// Scenarios of one family with the same outcome share a row of the document, which names the variants.
  std::string variant{};
};

/// How a failed test names it.
inline void PrintTo(const Scenario& scenario, std::ostream* stream) {
  *stream << scenario.name << " " << scenario.variant;
}

/// All of them, in the order of the document.
const std::vector<Scenario>& allScenarios();

// One table each.
std::vector<Scenario> loadingScenarios();
std::vector<Scenario> replyScenarios();
std::vector<Scenario> valueScenarios();
std::vector<Scenario> eventScenarios();
std::vector<Scenario> heartbeatScenarios();
std::vector<Scenario> windowScenarios();
std::vector<Scenario> hostScenarios();
std::vector<Scenario> placementScenarios();

/// The callbacks of a whole group of two ads, as `playWholeGroup` brings them about.
const std::vector<std::string>& wholeGroup();
/// From `load` to "AdGroupEnd", with each kind of event once; stops once the player was released.
void playWholeGroup(Session& session);

}  // namespace vemora::scenarios
