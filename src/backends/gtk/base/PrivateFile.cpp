#include "backends/gtk/base/PrivateFile.h"

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/InfoDictionary.h"

#include <fcntl.h>
#include <glib.h>
#include <glib/gstdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <thread>

namespace vemora::gtk {

namespace {

constexpr int kFolderMode = 0700;
constexpr int kFileMode = 0600;
constexpr std::chrono::milliseconds kRetryTime{5};
constexpr int kRetries = 600;

void makeFolderOf(const std::string& path) {
  const GStringPtr folder(g_path_get_dirname(path.c_str()));
  g_mkdir_with_parents(folder.get(), kFolderMode);
}

/// False when another holder has it.
bool takeLock(int descriptor, LockWait wait) {
  const int attempts = wait == LockWait::None ? 1 : kRetries;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (attempt > 0) std::this_thread::sleep_for(kRetryTime);
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0) return true;
    if (errno != EWOULDBLOCK && errno != EINTR) return false;
  }
  return false;
}

/// "<path>.XXXXXX", as GLib names the files that it writes first and renames then.
bool isTemporaryFileOf(const std::string& path, const std::string& candidate) {
  constexpr std::size_t kRandomCharacters = 6;
  return candidate.size() == path.size() + 1 + kRandomCharacters && candidate.starts_with(path + ".") &&
         std::all_of(candidate.end() - kRandomCharacters, candidate.end(),
                     [](char c) { return g_ascii_isalnum(c); });
}

/// Young ones may belong to a writer that is still at work.
void removeAbandonedTemporaryFiles(const std::string& path) {
  constexpr time_t kAbandonedSeconds = 60;
  std::error_code error;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::filesystem::path(path).parent_path(), error)) {
    struct stat status {};
    const std::string name = entry.path().string();
    if (isTemporaryFileOf(path, name) && stat(name.c_str(), &status) == 0 &&
        status.st_mtime < std::time(nullptr) - kAbandonedSeconds) {
      unlink(name.c_str());
    }
  }
}

std::string applicationName() {
  if (auto identifier = InfoDictionary::shared().entry("CFBundleIdentifier")) return *std::move(identifier);
  const GStringPtr executable(g_file_read_link("/proc/self/exe", nullptr));
  const GStringPtr name(g_path_get_basename(executable ? executable.get() : "unknown"));
  return name.get();
}

}  // namespace

std::string applicationFilePath(std::string_view suffix) {
  const GStringPtr escaped(g_uri_escape_string(applicationName().c_str(), nullptr, FALSE));
  const std::string file = std::string(escaped.get()).append(suffix);
  const GStringPtr path(g_build_filename(g_get_user_config_dir(), "vemora", file.c_str(), nullptr));
  return path.get();
}

std::optional<std::string> readFile(const std::string& path) {
  char* contents = nullptr;
  gsize length = 0;
  if (!g_file_get_contents(path.c_str(), &contents, &length, nullptr)) return std::nullopt;
  const GStringPtr owned(contents);
  return std::string(contents, length);
}

bool replacePrivateFile(const std::string& path, std::string_view text) {
  makeFolderOf(path);
  removeAbandonedTemporaryFiles(path);
  constexpr auto kFlags =
      static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT | G_FILE_SET_CONTENTS_DURABLE);
  return g_file_set_contents_full(path.c_str(), text.data() ? text.data() : "",
                                  static_cast<gssize>(text.size()), kFlags, kFileMode, nullptr);
}

std::optional<std::string> claimPrivateFile(const std::string& path, const std::string& text) {
  makeFolderOf(path);
  removeAbandonedTemporaryFiles(path);
  std::string draft = path + ".XXXXXX";
  const int descriptor = g_mkstemp_full(draft.data(), O_RDWR | O_CLOEXEC, kFileMode);
  if (descriptor < 0) return std::nullopt;
  const bool isWritten = write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  close(descriptor);
  // Unlike a rename, a link never replaces a file that another process has made meanwhile.
  const bool isThere = isWritten && (link(draft.c_str(), path.c_str()) == 0 || errno == EEXIST);
  unlink(draft.c_str());
  return isThere ? readFile(path) : std::nullopt;
}

FileLock::FileLock(const std::string& path, LockWait wait) {
  makeFolderOf(path);
  const std::string lockPath = path + ".lock";
  descriptor_ = g_open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kFileMode);
  if (descriptor_ >= 0 && !takeLock(descriptor_, wait)) {
    close(descriptor_);
    descriptor_ = -1;
  }
}

FileLock::~FileLock() {
  if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace vemora::gtk
