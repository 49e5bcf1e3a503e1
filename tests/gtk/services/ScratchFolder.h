#pragma once

#include <glib.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace vemora::gtk::test {

/// A folder of the test's own, gone with it.
class ScratchFolder {
 public:
  ScratchFolder() {
    char* made = g_dir_make_tmp("vemora-services-XXXXXX", nullptr);
    path_ = made;
    g_free(made);
  }
  ~ScratchFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  std::string path(const std::string& name) const { return path_ + "/" + name; }
  std::string write(const std::string& name, const std::string& text) const {
    std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
    std::ofstream(path(name)) << text;
    return path(name);
  }

 private:
  std::string path_;
};

}  // namespace vemora::gtk::test
