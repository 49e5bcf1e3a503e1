#pragma once

#include "Rules.h"

#include <cstdint>
#include <span>
#include <string>

namespace vemora::check {

/// The exit status of the program.
enum class Result : std::uint8_t {
  Holds = 0,
  Broken = 1,
  Unjudged = 3,  ///< No rule is broken, but some that the sessions should have judged could not be.
};
Result resultOf(std::span<const Finding> findings);

/// One line for each rule and one with the counts; then what failed or could not be judged, each with what to
/// do.
std::string reportAsText(std::span<const Finding> findings, double seconds);

/// The same for programs, as one line: {"url", "holds", "seconds", "counts": {"ok", "fail", "skip"},
/// "rules": [{"name", "says", "outcome", "judged", "advice", "seen": [...], "places": [...]}, ...]}.
std::string reportAsJson(std::span<const Finding> findings, const std::string& url, double seconds);

/// For a page that could not be checked: {"url", "holds": false, "problem"}.
std::string problemAsJson(const std::string& url, const std::string& problem);

}  // namespace vemora::check
