#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// The regular file that `relative` names below `folder`, as an absolute path without links; absent when
/// there is none, or when dots or links lead out of the folder. Leading slashes of `relative` are ignored.
std::optional<std::filesystem::path> fileBelow(const std::filesystem::path& folder,
                                               std::string_view relative);

/// The media type to announce for a file of this name; "application/octet-stream" for an unknown ending.
///
/// It has its own table: a small machine may lack the system's.
const char* mediaTypeOf(const std::filesystem::path& file);

}  // namespace vemora
