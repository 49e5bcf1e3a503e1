#pragma once

#include <filesystem>

namespace vemora {

/// A file or folder that is installed with the programs, by its name below share/vemora: the one of the
/// installation that this program belongs to, otherwise `inSource`.
std::filesystem::path dataFile(const char* name, const char* inSource);

}  // namespace vemora
