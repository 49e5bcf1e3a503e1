#pragma once

#include "Scenario.h"

#include <filesystem>
#include <string>

namespace vemora::scenarios {

/// Plays a scenario in order and records it; the recording ends with the scenario.
void recordScenario(const Scenario& scenario, Placement placement, const std::string& file);
/// Records every scenario, on the first of its placements, into a file of its own in the folder. Returns how
/// many; throws `std::runtime_error` when a file cannot be written.
std::size_t recordScenarios(const std::filesystem::path& folder);

}  // namespace vemora::scenarios
