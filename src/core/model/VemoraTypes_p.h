#pragma once

#include <string>
#include <vector>

namespace vemora {

/// The names of all events, each at the position of its value.
std::vector<std::string> adEventArr();

}  // namespace vemora
