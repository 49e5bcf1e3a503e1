#pragma once

#include <cstddef>
#include <cstdint>

namespace vemora {

// Each plays a whole session on the testing backend and stops the process when a promise of the SDK is
// broken. For any bytes; those that are no JSON text do nothing.

/// Each line is a value that the page of a playing session posts, to one handler or the other.
void fuzzValues(const std::uint8_t* data, std::size_t size);
/// The first line is the configuration's "data", the second the ads' "data".
void fuzzDictionaries(const std::uint8_t* data, std::size_t size);
/// Each line is the "params" of an event, a window message and a ping, in this order.
void fuzzEvents(const std::uint8_t* data, std::size_t size);

}  // namespace vemora
