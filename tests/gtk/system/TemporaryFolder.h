#pragma once

#include <glib.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vemora::test {

/// A folder of the test's own, gone with it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vemora-test-XXXXXX").string();
    if (!g_mkdtemp(pattern.data())) std::abort();
    path_ = pattern;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  std::string path(const std::string& name = "") const { return path_ + name; }

  void write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories(std::filesystem::path(path_ + name).parent_path());
    std::ofstream(path_ + name, std::ios::binary) << text;
  }

  std::string read(const std::string& name) const {
    std::ifstream file(path_ + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path_;
};

}  // namespace vemora::test
