#pragma once

#include <string>

namespace vemora::scenarios {

/// docs/outcomes.md, from the tables.
std::string outcomesDocument();

}  // namespace vemora::scenarios
