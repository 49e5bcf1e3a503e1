#pragma once

#include "Rules.h"

#include <span>
#include <string>

namespace vemora::check {

bool allHold(std::span<const Finding> findings);

/// One line for each rule and one with the counts, for people.
std::string reportAsText(std::span<const Finding> findings, double seconds);

/// The same for programs, as one line: {"url", "holds", "seconds", "counts": {"ok", "fail", "skip"},
/// "rules": [{"name", "says", "outcome", "seen": [...]}, ...]}.
std::string reportAsJson(std::span<const Finding> findings, const std::string& url, double seconds);

/// For a page that could not be checked: {"url", "holds": false, "problem"}.
std::string problemAsJson(const std::string& url, const std::string& problem);

}  // namespace vemora::check
