#pragma once

#include "recording/Recording.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vemora {

/// Something in a recording that went wrong, or soon will, with what to do about it.
struct Hazard {
  std::size_t line = 0;   ///< Of the record that shows it.
  std::int64_t time = 0;  ///< Microseconds, of that record.
  std::uint64_t session = 0;
  std::string name;  ///< For programs, such as "stale-check".
  std::string says;
  std::string advice;
};

/// All hazards in the order of their lines. Every view of a recording shows these, so that they are decided
/// in one place.
std::vector<Hazard> hazardsOf(const Recording& recording);

}  // namespace vemora
