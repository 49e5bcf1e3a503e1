#pragma once

#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

namespace vemora {

/// The double nearest to a decimal number such as "-1.5e3", infinite beyond the largest. Whatever the
/// process's locale, which may write decimals with a comma.
inline double doubleFromDecimal(std::string_view number) {
#if __cpp_lib_to_chars >= 201611L
  double quick = 0;
  if (std::from_chars(number.data(), number.data() + number.size(), quick).ec == std::errc()) return quick;
#endif
  std::istringstream stream{std::string(number)};
  stream.imbue(std::locale::classic());
  double value = 0;
  stream >> value;
  // Numbers too large and, on some platforms, too small count as failures, and the former come as the
  // largest.
  if (stream.fail() && std::abs(value) > 1)
    return std::copysign(std::numeric_limits<double>::infinity(), value);
  return value;
}

}  // namespace vemora
