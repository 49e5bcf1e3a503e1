#include "DataFiles.h"

#include <system_error>

namespace vemora {

namespace fs = std::filesystem;

fs::path dataFile(const char* name, const char* inSource) {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error);
  const fs::path installed = (program.parent_path() / VEMORA_DATA_FROM_PROGRAMS / name).lexically_normal();
  return !error && fs::exists(installed, error) ? installed : fs::path(inSource);
}

}  // namespace vemora
