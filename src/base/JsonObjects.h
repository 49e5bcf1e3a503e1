#pragma once

#include <Vemora/JsonValue.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// The shared objects behind a JsonValue. Strings, arrays and objects hold their own reference counts, so that
// a value is two words and a copy is one atomic addition.

namespace vemora {

struct JsonValue::Shared {
  std::atomic<std::uint32_t> references{1};
};

/// The text follows the object in the same allocation.
struct JsonValue::StringObject : Shared {
  static StringObject* make(std::string_view text);
  /// The interned object with this text, with a reference for the caller.
  static StringObject* intern(std::string_view text);
  void destroy();

  std::string_view text() const { return {reinterpret_cast<const char*>(this + 1), length}; }
  /// No two interned strings have the same text.
  bool isSameText(const StringObject& other) const {
    return this == &other || (!(isInterned && other.isInterned) && text() == other.text());
  }

  std::size_t length = 0;
  std::size_t hash = 0;  ///< For interned strings only.
  StringObject* nextInBucket = nullptr;
  bool isInterned = false;

 private:
  struct Interned;
  class Recent;
};

/// The elements follow the object in the same allocation.
struct JsonValue::ArrayObject : Shared {
  /// Moves the elements from their place.
  static ArrayObject* make(std::span<JsonValue> elements);
  void destroy();

  std::span<const JsonValue> elements() const {
    return {reinterpret_cast<const JsonValue*>(this + 1), count};
  }

  std::size_t count = 0;
};

/// The entries follow the object in the same allocation.
struct JsonValue::ObjectObject : Shared {
  /// Moves the entries from their place. Keeps the last of those with the same key.
  static ObjectObject* make(std::span<Entry> entries);
  /// The same with alternating keys and values.
  static ObjectObject* make(std::span<JsonValue> keysAndValues);
  void destroy();

  std::span<const Entry> entries() const { return {reinterpret_cast<const Entry*>(this + 1), count}; }
  const JsonValue* find(std::string_view key) const;

  std::size_t count = 0;
  std::vector<std::uint32_t> byKey;  ///< Positions in the order of the keys, for large objects.

 private:
  template <typename EntryAt>
  static ObjectObject* make(std::size_t count, EntryAt entryAt);
  std::span<Entry> ownEntries() { return {reinterpret_cast<Entry*>(this + 1), count}; }
  void dropRepeatedKeys();
  void keepOnly(std::size_t kept);
  void sortByKey();
};

/// Access for the reader, which has the parts of an array or object in a row, and for releasing.
struct JsonValueAccess {
  static JsonValue arrayOf(std::span<JsonValue> elements);
  static JsonValue objectOf(std::span<JsonValue> keysAndValues);
  static void destroy(JsonValue::Type type, JsonValue::Shared* shared);
};

}  // namespace vemora
