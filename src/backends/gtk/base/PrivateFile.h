#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Files of the user's that hold this library's state.
namespace vemora::gtk {

/// Where the file of that name belongs.
std::string privateFilePath(std::string_view name);

/// The whole file; absent when it cannot be read.
std::optional<std::string> readFile(const std::string& path);

/// Replaces the file as a whole and makes its folders. Readers, and a crash at any moment, find the old text
/// or the new one. Only the user may read it. False when it could not be written.
bool replacePrivateFile(const std::string& path, std::string_view text);

/// Keeps other processes that do the same out of what goes with `path`, for as long as it lives. Gives up
/// after three seconds.
class FileLock {
 public:
  explicit FileLock(const std::string& path);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  bool isHeld() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

}  // namespace vemora::gtk
