#pragma once

#include <algorithm>
#include <string_view>

namespace vemora {

inline char asciiLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Folds ASCII letters only, in every locale of the process.
inline bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return asciiLower(x) == asciiLower(y); });
}

}  // namespace vemora
