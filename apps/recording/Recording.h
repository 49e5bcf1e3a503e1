#pragma once

#include <Vemora/JsonValue.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace vemora {

/// The file is no recording that this version can read; the text says which file and line, and why.
class BadRecording : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// One line of a recording after the header. docs/inspector.md defines the members.
struct Record {
  std::size_t line = 0;   ///< In the file, counted from 1.
  std::int64_t time = 0;  ///< Microseconds since the recording began.
  std::string kind;
  std::uint64_t session = 0;  ///< 0 for a record of the whole process.
  JsonValue members;

  [[nodiscard]] JsonValue operator[](std::string_view name) const { return members[name]; }
  /// A member's text; empty when it is none.
  [[nodiscard]] std::string text(std::string_view name) const {
    return std::string(members[name].asString().value_or(std::string_view()));
  }
  [[nodiscard]] bool is(std::string_view wanted) const { return kind == wanted; }
  [[nodiscard]] bool is(std::string_view wanted, std::string_view name, std::string_view value) const {
    return kind == wanted && members[name].asString() == value;
  }
};

/// A recording that was read and checked.
struct Recording {
  JsonValue header;
  std::vector<Record> records;
  bool isCutOff = false;      ///< The last line is not complete, and was dropped.
  std::uint64_t missing = 0;  ///< Records that were lost to gaps.

  /// Throws `BadRecording`.
  static Recording read(const std::filesystem::path& file);
  static Recording parse(std::string_view text, const std::string& name);
};

/// Microseconds as seconds with three digits, such as "12.004".
std::string secondsText(std::int64_t microseconds);
/// A callback's record in words, such as "vemoraAdError a, error 5005".
std::string describeCallback(const JsonValue& callback);

}  // namespace vemora
