#pragma once

#include <string>

namespace vemora::gtk {

/// The child's part of a test: starts downloads from a server that never answers and exits meanwhile with
/// status 7, from "main" or from a "completion".
[[noreturn]] void endProcessWithDownloads(const std::string& way, const std::string& url);

}  // namespace vemora::gtk
