#pragma once

#include <Vemora/JsonValue.h>

#include <atomic>
#include <cstdint>
#include <string_view>
#include <vector>

// What stands behind a JsonValue. Strings, arrays and objects count their references themselves, so that a
// value is two words and copying one is one atomic addition.

namespace vemora {

struct JsonValue::Shared {
  std::atomic<std::uint32_t> references{1};
};

/// The text follows the object in the same allocation.
struct JsonValue::StringObject : Shared {
  static StringObject* make(std::string_view text);
  /// The one interned object of this text, with a reference for the caller.
  static StringObject* intern(std::string_view text);
  void destroy();

  std::string_view text() const { return {reinterpret_cast<const char*>(this + 1), length}; }

  /// NUL bytes behind the text: a checking reader of UTF-8 looks at up to three bytes beyond a sequence cut
  /// short.
  static constexpr std::size_t kPadding = 4;

  std::size_t length = 0;
  std::size_t hash = 0;  ///< Of interned strings only.
  StringObject* nextInBucket = nullptr;
  bool isInterned = false;
};

struct JsonValue::ArrayObject : Shared {
  std::vector<JsonValue> elements;
};

struct JsonValue::ObjectObject : Shared {
  /// Keeps the last of entries with the same key.
  explicit ObjectObject(std::vector<Entry> given);
  const JsonValue* find(std::string_view key) const;

  std::vector<Entry> entries;
  std::vector<std::uint32_t> byKey;  ///< Positions ordered by key, for objects too large to walk.
};

}  // namespace vemora
