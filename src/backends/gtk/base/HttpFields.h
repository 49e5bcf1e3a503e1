#pragma once

#include <string_view>

namespace vemora::gtk {

/// True for what HTTP allows as a method or as the name of a header field: a token of RFC 9110.
bool isHttpToken(std::string_view text);

/// True for text that is safe as the value of a header field: without line breaks and zero bytes.
bool isHttpFieldValue(std::string_view text);

}  // namespace vemora::gtk
