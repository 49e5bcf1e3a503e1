#include "base/DecimalNumbers.h"
#include "base/JsonObjects.h"
#include "base/Utf8.h"

#include <Vemora/JsonValue.h>

#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <cmath>

namespace vemora {

namespace {

/// RapidJSON converts zeros with exponents and some long integers wrongly, so it delivers numbers as text.
constexpr unsigned kReadFlags = rapidjson::kParseNumbersAsStringsFlag |
                                rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;
constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

template <typename Integer>
std::optional<JsonValue> integerFrom(std::string_view text) {
  Integer value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// `text` is a number of the JSON grammar. Absent when it is beyond the largest double.
std::optional<JsonValue> numberFrom(std::string_view text) {
  if (auto value = integerFrom<std::int64_t>(text)) return value;
  if (auto value = integerFrom<std::uint64_t>(text)) return value;
  const double value = doubleFromDecimal(std::string(text));
  return std::isfinite(value) ? std::optional<JsonValue>(value) : std::nullopt;
}

/// Builds values from the reader's events. The parts of an array or object wait on one stack until it ends.
class ValueBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ValueBuilder> {
 public:
  ValueBuilder() { values_.reserve(32); }
  bool Null() { return add(nullptr); }
  bool Bool(bool value) { return add(value); }
  bool RawNumber(const char* text, rapidjson::SizeType length, bool) {
    const std::optional<JsonValue> number = numberFrom({text, length});
    return number && add(*number);
  }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    return add(JsonValue::internedString({text, length}));
  }
  bool Key(const char* text, rapidjson::SizeType length, bool copied) { return String(text, length, copied); }
  bool StartObject() { return ++depth_ <= JsonValue::kMaximumDepth; }
  bool StartArray() { return ++depth_ <= JsonValue::kMaximumDepth; }
  bool EndObject(rapidjson::SizeType count) {
    const std::size_t parts = std::size_t{count} * 2;
    return end(JsonValueAccess::objectOf(std::span(values_).last(parts)), parts);
  }
  bool EndArray(rapidjson::SizeType count) {
    return end(JsonValueAccess::arrayOf(std::span(values_).last(count)), count);
  }

  JsonValue take() { return std::move(values_.front()); }

 private:
  bool add(JsonValue value) {
    values_.push_back(std::move(value));
    return true;
  }
  bool end(JsonValue value, std::size_t parts) {
    --depth_;
    values_.resize(values_.size() - parts);
    return add(std::move(value));
  }

  std::vector<JsonValue> values_;
  std::size_t depth_ = 0;
};

/// The code unit of an escape "\uXXXX" at the start of the text; absent when there is none.
std::optional<unsigned> escapedUnit(std::string_view text) {
  constexpr std::size_t kLength = 6;
  if (text.size() < kLength || !text.starts_with("\\u")) return std::nullopt;
  unsigned unit = 0;
  const char* end = text.data() + kLength;
  return std::from_chars(text.data() + 2, end, unit, 16).ptr == end ? std::optional(unit) : std::nullopt;
}

bool isHighSurrogate(unsigned unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(unsigned unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// A string of JavaScript may hold half of a surrogate pair. Its JSON text then has an escape that is no
/// Unicode text and that the reader refuses. Each becomes an escaped U+FFFD. Absent when there is none.
std::optional<std::string> withLoneSurrogatesReplaced(std::string_view text) {
  std::optional<std::string> replaced;
  std::size_t at = 0;
  while ((at = text.find('\\', at)) != std::string_view::npos) {
    const auto unit = escapedUnit(text.substr(at));
    const auto next = unit ? escapedUnit(text.substr(at + 6)) : std::nullopt;
    if (unit && isHighSurrogate(*unit) && next && isLowSurrogate(*next)) {
      at += 12;
    } else if (unit && (isHighSurrogate(*unit) || isLowSurrogate(*unit))) {
      if (!replaced) replaced.emplace(text);
      replaced->replace(at, 6, "\\ufffd");
      at += 6;
    } else {
      at += 2;
    }
  }
  return replaced;
}

class TextWriter {
 public:
  bool write(const JsonValue& value, std::size_t depth = 0) {
    switch (value.type()) {
      case JsonValue::Type::Null:
        return writer_.Null();
      case JsonValue::Type::Boolean:
        return writer_.Bool(value.boolValue());
      case JsonValue::Type::Integer:
        return writer_.Int64(value.integerValue());
      case JsonValue::Type::Unsigned:
        return writer_.Uint64(value.unsignedValue());
      case JsonValue::Type::Double:
        return writer_.Double(value.doubleValue());
      case JsonValue::Type::String:
        return writeText(*value.asString());
      case JsonValue::Type::Array:
        return depth < JsonValue::kMaximumDepth && writeArray(value, depth + 1);
      case JsonValue::Type::Object:
        return depth < JsonValue::kMaximumDepth && writeObject(value, depth + 1);
    }
    return false;
  }

  std::string text() const { return {buffer_.GetString(), buffer_.GetSize()}; }

 private:
  /// RapidJSON's own check reads past the end of a text that ends within a character.
  bool writeText(std::string_view text) {
    return isUtf8(text) && writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
  }

  bool writeArray(const JsonValue& value, std::size_t depth) {
    bool good = writer_.StartArray();
    for (const JsonValue& element : value.elements()) good = good && write(element, depth);
    return good && writer_.EndArray();
  }

  bool writeObject(const JsonValue& value, std::size_t depth) {
    bool good = writer_.StartObject();
    for (const JsonValue::Entry& entry : value.entries()) {
      good = good && writeText(*entry.key.asString()) && write(entry.value, depth);
    }
    return good && writer_.EndObject();
  }

  rapidjson::StringBuffer buffer_;
  rapidjson::Writer<rapidjson::StringBuffer> writer_{buffer_};
};

}  // namespace

std::optional<JsonValue> JsonValue::parse(std::string_view text) {
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const std::optional<std::string> replaced = withLoneSurrogatesReplaced(text);
  if (replaced) text = *replaced;
  rapidjson::MemoryStream stream(text.data() ? text.data() : "", text.size());
  rapidjson::Reader reader;
  ValueBuilder builder;
  if (!reader.Parse<kReadFlags>(stream, builder)) return std::nullopt;
  if (stream.Tell() != text.size()) return std::nullopt;  // The reader takes a NUL byte for the end.
  return builder.take();
}

std::optional<std::string> JsonValue::serialized() const {
  TextWriter writer;
  if (!writer.write(*this)) return std::nullopt;
  return writer.text();
}

}  // namespace vemora
