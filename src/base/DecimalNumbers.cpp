#include "base/DecimalNumbers.h"

#include <clocale>
#include <cstdlib>
#if __has_include(<xlocale.h>)
#include <xlocale.h>  // Darwin declares the functions that take a locale here.
#endif

namespace vemora {

double doubleFromDecimal(const std::string& number) {
  // `std::from_chars` for doubles is missing on the oldest systems that this SDK supports.
  static const locale_t classic = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(number.c_str(), nullptr, classic);
}

}  // namespace vemora
