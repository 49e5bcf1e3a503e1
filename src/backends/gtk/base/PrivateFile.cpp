#include "backends/gtk/base/PrivateFile.h"

#include "backends/gtk/base/GObjectPtr.h"

#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <thread>

namespace vemora::gtk {

namespace {

using OwnedText = std::unique_ptr<char, GFree<g_free>>;

constexpr int kFolderMode = 0700;
constexpr int kFileMode = 0600;
constexpr std::chrono::milliseconds kRetryTime{5};
constexpr int kRetries = 600;

void makeFolderOf(const std::string& path) {
  const OwnedText folder(g_path_get_dirname(path.c_str()));
  g_mkdir_with_parents(folder.get(), kFolderMode);
}

/// False when somebody else has it.
bool takeLock(int descriptor) {
  for (int attempt = 0; attempt < kRetries; ++attempt) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return false;
    std::this_thread::sleep_for(kRetryTime);
  }
  return false;
}

}  // namespace

std::string privateFilePath(std::string_view name) {
  const OwnedText path(
      g_build_filename(g_get_user_config_dir(), "vemora", std::string(name).c_str(), nullptr));
  return path.get();
}

std::optional<std::string> readFile(const std::string& path) {
  char* contents = nullptr;
  gsize length = 0;
  if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr)) return std::nullopt;
  const OwnedText owned(contents);
  return std::string(contents, length);
}

bool replacePrivateFile(const std::string& path, std::string_view text) {
  makeFolderOf(path);
  constexpr auto kFlags =
      static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
  return g_file_set_contents_full(path.c_str(), text.data() ? text.data() : "",
                                  static_cast<gssize>(text.size()), kFlags, kFileMode, nullptr);
}

FileLock::FileLock(const std::string& path) {
  makeFolderOf(path);
  const std::string lockPath = path + ".lock";
  descriptor_ = g_open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode);
  if (descriptor_ >= 0 && !takeLock(descriptor_)) {
    close(descriptor_);
    descriptor_ = -1;
  }
}

FileLock::~FileLock() {
  if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace vemora::gtk
