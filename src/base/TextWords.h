#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vemora {

constexpr std::size_t kWord = sizeof(std::uint64_t);

/// The bytes at this place as one number, wherever it lies.
template <typename Word = std::uint64_t>
std::uint64_t wordAt(const char* place) {
  Word word = 0;
  std::memcpy(&word, place, sizeof word);
  return word;
}

}  // namespace vemora
