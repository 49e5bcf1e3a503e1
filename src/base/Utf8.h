#pragma once

#include <string_view>

namespace vemora {

/// True when the text is valid UTF-8 (RFC 3629). A zero byte is a valid character.
bool isUtf8(std::string_view text);

}  // namespace vemora
