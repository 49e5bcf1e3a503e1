#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The files in the user's configuration folder that hold this library's state.
namespace vemora::gtk {

/// "vemora/<application><suffix>" in the user's configuration folder. The application is the one with the
/// "CFBundleIdentifier" of the information dictionary or, without one, the name of the executable.
std::string applicationFilePath(std::string_view suffix);

/// The whole file; absent when it cannot be read.
std::optional<std::string> readFile(const std::string& path);

/// Replaces the file as a whole and makes its folders. Readers, and a crash at any moment, find the old text
/// or the new one. Only the user may read it. Also removes temporary files of earlier writers that were
/// killed. False when the file could not be written.
bool replacePrivateFile(const std::string& path, std::string_view text);

/// Makes the file with this text unless it exists, and returns the text that it has then. Processes that do
/// this at the same time get the same text. Never blocks on another process. Absent when it cannot be done.
std::optional<std::string> claimPrivateFile(const std::string& path, const std::string& text);

enum class LockWait { None, ThreeSeconds };

/// Excludes other holders of the lock of `path`, in this process and in others, while it lives.
class FileLock {
 public:
  FileLock(const std::string& path, LockWait wait);
  ~FileLock();
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  bool isHeld() const { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

}  // namespace vemora::gtk
