#pragma once

#include <string>

namespace vemora {

/// The double nearest to a decimal number such as "-1.5e3", infinite beyond the largest one. The decimal
/// separator is a point in every locale of the process. 0 when the text does not begin with a number.
double doubleFromDecimal(const std::string& number);

}  // namespace vemora
