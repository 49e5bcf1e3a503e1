#pragma once

#include <cstddef>
#include <cstdint>

namespace vemora {

/// Reads the bytes as JSON, as a message and as a page's post to a player, and stops the process when what
/// was read does not survive being written and read again. For any bytes.
void fuzzMessage(const std::uint8_t* data, std::size_t size);

}  // namespace vemora
