#pragma once

#include <Vemora/JsonValue.h>

#include <sys/types.h>

#include <ctime>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vemora::gtk {

/// A key file of an application's settings. A value is plain text; a second group says of those that are no
/// strings what they are:
///
///     [Defaults]
///     vemora.app.guid=8E5C2C0B-...
///     IABConsent_SubjectToGDPR=1
///
///     [Types]
///     IABConsent_SubjectToGDPR=integer
///
/// So other programs can read and write it with any key-file reader. Their groups and comments stay as they
/// are.
class DefaultsFile {
 public:
  using Values = std::map<std::string, JsonValue, std::less<>>;
  /// Null removes.
  using Changes = std::map<std::string, JsonValue, std::less<>>;

  /// Which contents a path had at some moment.
  struct Version {
    dev_t device = 0;
    ino_t file = 0;
    off_t size = 0;
    std::int64_t modified = 0;  ///< Nanoseconds.
    std::int64_t changed = 0;

    bool operator==(const Version&) const = default;
    /// Old enough that another change could not have the same time.
    bool isSettled() const;
  };

  explicit DefaultsFile(std::string path) : path_(std::move(path)) {}

  /// All zeros when there is no file.
  Version version() const;
  /// Empty when there is none or it cannot be read.
  Values read() const;
  /// Applies the changes to what is on disk now, and returns what is there afterwards. A file that makes no
  /// sense is kept under another name and counts as empty. Absent when nothing could be written.
  std::optional<Values> merge(const Changes& changes) const;

  /// False for values that have no text: strings that are not UTF-8, and nesting beyond measure.
  static bool canHold(std::string_view key, const JsonValue& value);

 private:
  const std::string path_;
};

}  // namespace vemora::gtk
