#pragma once

#include <string>

namespace vemora::test {

constexpr int kProcessEndStatus = 7;

/// Runs this program again with "--end-process WAY" and returns its exit status; -1 when it did not exit by
/// itself.
int runProcessEnd(const std::string& way);

/// The child's part: gives the dispatch everything at once, then calls `exit(kProcessEndStatus)` in the given
/// way. Aborts when anything runs while static objects are destroyed.
[[noreturn]] void endProcess(const std::string& way);

}  // namespace vemora::test
