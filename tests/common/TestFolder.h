#pragma once

#include "../../apps/common/GLibHandles.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace vemora::test {

/// A new folder that is deleted with its contents.
class TestFolder {
 public:
  TestFolder() {
    const GStringPtr made(g_dir_make_tmp("vemora-test-XXXXXX", nullptr));
    path_ = made.get();
  }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  ~TestFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  /// The path of a file in the folder, which need not exist; a leading slash is the folder itself.
  [[nodiscard]] std::string path(const std::filesystem::path& name) const {
    return (path_ / name.relative_path()).string();
  }

  /// Writes a file, with the folders above it, and returns its whole path.
  std::filesystem::path write(const std::filesystem::path& name, std::string_view content) const {
    const std::filesystem::path file = path(name);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file;
  }
  /// The contents of a file; empty when it does not exist.
  [[nodiscard]] std::string read(const std::filesystem::path& name) const {
    std::ifstream file(path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::filesystem::path path_;
};

}  // namespace vemora::test
