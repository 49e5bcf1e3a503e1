#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

/// Counts for before and after. Both may also fall: what a helper program left is cleared away a little
/// later.
namespace vemora::gtk::test {

inline std::size_t countEntries(const char* folder) {
  return static_cast<std::size_t>(
      std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
}
inline std::size_t openFileCount() {
  return countEntries("/proc/self/fd");
}
inline std::size_t threadCount() {
  return countEntries("/proc/self/task");
}

}  // namespace vemora::gtk::test
