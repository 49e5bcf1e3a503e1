#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

/// What this process uses, to compare before and after. Both may also fall: what a library left is released a
/// little later.
namespace vemora::test {

inline std::size_t countEntries(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}
inline std::size_t openFileCount() {
  return countEntries("/proc/self/fd");
}
inline std::size_t threadCount() {
  return countEntries("/proc/self/task");
}

}  // namespace vemora::test
