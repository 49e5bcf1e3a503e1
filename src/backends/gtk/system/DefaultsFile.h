#pragma once

#include <Vemora/JsonValue.h>

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora::gtk {

/// The key file with an application's settings. Each value is plain text. A second group names the type of
/// each value that is not a string:
///
///     [Defaults]
///     vemora.app.guid=8E5C2C0B-...
///     IABConsent_SubjectToGDPR=1
///
///     [Types]
///     IABConsent_SubjectToGDPR=integer
///
/// Other programs can read and write it with any reader of key files. Their groups and comments stay.
class DefaultsFile {
 public:
  using Values = std::map<std::string, JsonValue, std::less<>>;
  struct Change {
    JsonValue value;  ///< Null removes.
    bool onlyIfAbsent = false;
    std::uint64_t number = 0;  ///< For the caller.
  };
  using Changes = std::map<std::string, Change, std::less<>>;

  /// Identifies the contents of a file at some moment.
  struct Version {
    dev_t device = 0;
    ino_t file = 0;
    off_t size = 0;
    std::int64_t modified = 0;  ///< Nanoseconds.
    std::int64_t changed = 0;
    std::int64_t folderModified = 0;  ///< Changes that were handed over are files of their own.

    bool operator==(const Version&) const = default;
    /// Old enough that another change could not have the same time.
    bool isSettled() const;
  };

  explicit DefaultsFile(std::string path) : path_(std::move(path)) {}

  /// All zeros when there is no file.
  Version version() const;
  /// Empty when there is no file or it cannot be read.
  Values read() const;
  /// Applies the changes to what is on disk, and returns what is there afterwards. A file that is not a key
  /// file is kept under another name and replaced. Absent when nothing could be written. The caller holds the
  /// lock of `path`.
  std::optional<Values> merge(const Changes& changes) const;
  /// Leaves the changes beside the file, without any lock: each `read` includes them, and the next `merge`
  /// puts them into the file before its own. False when they could not be written.
  bool handOver(const Changes& changes) const;

  const std::string& path() const { return path_; }
  /// Where `setObjectIfAbsent` keeps the value of this key until it is saved.
  std::string claimPath(std::string_view key) const;

  /// False for values that have no text: strings that are not UTF-8, and values that are nested too deeply.
  static bool canHold(std::string_view key, const JsonValue& value);

 private:
  /// The files of `handOver`, the oldest first.
  std::vector<std::string> handedOver() const;

  const std::string path_;
};

}  // namespace vemora::gtk
