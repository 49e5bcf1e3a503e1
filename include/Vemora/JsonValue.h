#pragma once

#include <Vemora/VemoraExport.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace vemora {

class JsonValue;

/// The arithmetic types, `bool` included, except those of characters.
template <typename T>
concept JsonNumber = std::is_arithmetic_v<T> && !std::same_as<T, char> && !std::same_as<T, wchar_t> &&
                     !std::same_as<T, char8_t> && !std::same_as<T, char16_t> && !std::same_as<T, char32_t>;

/// A mutable JSON object, for building values.
using JsonDictionary = std::map<std::string, JsonValue, std::less<>>;

/// An immutable JSON value with reference semantics: copying shares, nothing is converted on the way in, and
/// a value may be read from any thread while other threads copy it.
///
///     const JsonValue message = JsonValue::parse(R"({"ads":[{"id":"a"}]})").value_or(nullptr);
///     for (const JsonValue& ad : message["ads"].elements()) use(ad["id"].asString());
///
/// Strings, arrays and objects are shared objects with an identity (`isIdenticalTo`). Two strings from
/// `parse` or `internedString` with the same text are the same object while either of them is in use. Each
/// thread that parses keeps up to 256 of its short strings (up to 32 bytes) until it ends.
///
/// Conversions are lenient, as on the platforms that this SDK was designed for: looking up a key in a value
/// that is not an object gives null, `true` is a number, a string reads as its leading number, and null reads
/// as 0.
class VEMORA_EXPORT JsonValue {
 public:
  /// The kinds of values. Numbers are signed integers, unsigned integers or doubles.
  enum class Type : std::uint8_t { Null, Boolean, Integer, Unsigned, Double, String, Array, Object };
  struct Entry;

  /// Null.
  JsonValue() noexcept : JsonValue(nullptr) {}
  /// Null.
  JsonValue(std::nullptr_t) noexcept : type_(Type::Null), payload_{} {}
  /// A number of the same kind, or a boolean.
  template <JsonNumber T>
  JsonValue(T number) noexcept : payload_{} {
    if constexpr (std::is_same_v<T, bool>) {
      type_ = Type::Boolean;
      payload_.boolean = number;
    } else if constexpr (std::is_floating_point_v<T>) {
      type_ = Type::Double;
      payload_.real = number;
    } else if constexpr (std::is_unsigned_v<T>) {
      type_ = Type::Unsigned;
      payload_.natural = number;
    } else {
      type_ = Type::Integer;
      payload_.integer = number;
    }
  }
  /// A character is a string of one character. The wider character types do not convert.
  template <std::same_as<char> T>
  JsonValue(T character) : JsonValue(std::string_view(&character, 1)) {}
  /// A string; a null pointer gives null. Texts should be UTF-8; others cannot be serialised.
  JsonValue(const char* text) : JsonValue(text ? JsonValue(std::string_view(text)) : JsonValue(nullptr)) {}
  /// A string.
  JsonValue(const std::string& text) : JsonValue(std::string_view(text)) {}
  /// A string.
  JsonValue(std::string_view text);
  /// The value, or null when it is absent.
  template <typename T>
  JsonValue(const std::optional<T>& value) : JsonValue(value ? JsonValue(*value) : JsonValue(nullptr)) {}
  /// An object with the entries of the dictionary.
  JsonValue(const JsonDictionary& object);
  /// An array with these elements.
  JsonValue(const std::vector<JsonValue>& elements);
  /// An array of anything that converts, such as `std::vector<std::string>`.
  template <typename T>
  requires std::convertible_to<const T&, JsonValue> JsonValue(const std::vector<T>& elements)
      : JsonValue(std::vector<JsonValue>(elements.begin(), elements.end())) {}

  /// Shares the content of the other value.
  JsonValue(const JsonValue& other) noexcept;
  /// Takes over the content of the other value, which becomes null.
  JsonValue(JsonValue&& other) noexcept : type_(other.type_), payload_(other.payload_) {
    other.type_ = Type::Null;
  }
  /// Replaces this value.
  JsonValue& operator=(JsonValue other) noexcept;
  ~JsonValue() {
    if (isShared()) release();
  }

  /// An object with the given entries in their order. The last of several entries with the same key counts.
  static JsonValue object(std::vector<Entry> entries);
  /// An array with the given elements.
  static JsonValue array(std::vector<JsonValue> elements);
  /// The one shared string object with this text.
  static JsonValue internedString(std::string_view text);

  /// Reads one JSON text (RFC 8259) in UTF-8. Absent when the text is not exactly one value, is nested deeper
  /// than `kMaximumDepth`, or is not valid UTF-8. Lone surrogate escapes become U+FFFD. Integers of up to 64
  /// bits are kept exactly, signed or unsigned; other numbers become the nearest double.
  static std::optional<JsonValue> parse(std::string_view text);
  /// The deepest nesting of arrays and objects that is read or written.
  static constexpr std::size_t kMaximumDepth = 512;

  /// Compact JSON text. Absent when the value holds what JSON cannot carry: a number that is not finite, a
  /// string that is not UTF-8, or nesting beyond `kMaximumDepth`.
  std::optional<std::string> serialized() const;

  /// The kind of this value.
  Type type() const noexcept { return type_; }
  /// True for null.
  bool isNull() const noexcept { return type_ == Type::Null; }
  /// True for a string.
  bool isString() const noexcept { return type_ == Type::String; }
  /// True for an array.
  bool isArray() const noexcept { return type_ == Type::Array; }
  /// True for an object.
  bool isObject() const noexcept { return type_ == Type::Object; }
  /// True for every number and for booleans.
  bool isNumber() const noexcept { return type_ >= Type::Boolean && type_ <= Type::Double; }

  /// The text of a string; absent for every other type. Valid while any copy of this value lives.
  std::optional<std::string_view> asString() const noexcept;
  /// Strings as they are, numbers as their decimal text ("1" for true); absent for every other type.
  std::optional<std::string> stringValue() const;
  /// Numbers clamped to the type's range, strings by their leading number, 0 for every other type.
  std::int64_t integerValue() const noexcept;
  /// The same, as an unsigned number; negative numbers give 0.
  std::uint64_t unsignedValue() const noexcept;
  /// The same, as a double.
  double doubleValue() const;
  /// Numbers: not zero. Strings: a leading Y, y, T, t or non-zero digit. False for every other type.
  bool boolValue() const noexcept;

  /// Entries of an object or elements of an array; absent for every other type.
  std::optional<std::size_t> count() const noexcept;
  /// The value of a key; null when this is not an object or has no such key.
  JsonValue operator[](std::string_view key) const;
  /// Not a key.
  JsonValue operator[](std::nullptr_t) const = delete;
  /// The element at a position of an array, counted from 0; null when this is not an array or is shorter.
  template <JsonNumber T>
  requires std::integral<T> JsonValue operator[](T index) const {
    return index < T{} ? JsonValue() : elementAt(static_cast<std::size_t>(index));
  }
  /// The elements of an array; empty for every other type. Valid while any copy of this value lives.
  std::span<const JsonValue> elements() const noexcept;
  /// The entries of an object in their order; empty for every other type. Valid while any copy of this value
  /// lives.
  std::span<const Entry> entries() const noexcept;

  /// True when both are the same string, array or object, or scalars of the same type and value. Null is
  /// identical to no value, not even to null.
  bool isIdenticalTo(const JsonValue& other) const noexcept;

  /// Deep equality; numbers compare by value, whatever their kind, and booleans equal only booleans.
  bool operator==(const JsonValue& other) const;

 private:
  struct Shared;
  struct StringObject;
  struct ArrayObject;
  struct ObjectObject;
  friend struct JsonValueAccess;

  JsonValue(Type type, Shared* owned) noexcept;
  JsonValue elementAt(std::size_t index) const;
  bool isShared() const noexcept { return type_ >= Type::String; }
  void release() noexcept;

  Type type_;
  union {
    bool boolean;
    std::int64_t integer;
    std::uint64_t natural;
    double real;
    Shared* shared;
  } payload_;
};

/// A key of an object with its value.
struct JsonValue::Entry {
  JsonValue key;    ///< Always a string.
  JsonValue value;  ///< Any value.
};

}  // namespace vemora
