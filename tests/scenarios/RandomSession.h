#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vemora::scenarios {

struct ExploredSession {
  /// What the host, the page and the clock did, one a line.
  std::vector<std::string> steps;
  std::vector<std::string> callbacks;
  /// The promises that were broken; empty when all is well.
  std::vector<std::string> broken;
  std::string schedule;
};

/// Plays one session that the seed chooses: the placement, what the host and the page do and when, in which
/// order threads, messages and timers go, and how the session ends. The same seed gives the same session.
ExploredSession exploreSession(std::uint64_t seed);

}  // namespace vemora::scenarios
