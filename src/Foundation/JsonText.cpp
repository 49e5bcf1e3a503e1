#include "Foundation/JsonObjects.h"

#include <Vemora/JsonValue.h>

#include <rapidjson/encodedstream.h>
#include <rapidjson/error/error.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace vemora {

namespace {

constexpr unsigned kReadFlags = rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag |
                                rapidjson::kParseIterativeFlag;

using Writer = rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>,
                                 rapidjson::CrtAllocator, rapidjson::kWriteValidateEncodingFlag>;

/// Builds values from the reader's events. Values wait on one stack until their array or object ends.
class ValueBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ValueBuilder> {
 public:
  bool Null() { return add(nullptr); }
  bool Bool(bool value) { return add(value); }
  bool Int(int value) { return add(value); }
  bool Uint(unsigned value) { return add(static_cast<std::int64_t>(value)); }
  bool Int64(std::int64_t value) { return add(value); }
  bool Uint64(std::uint64_t value) {
    if (value > static_cast<std::uint64_t>(INT64_MAX)) return add(value);
    return add(static_cast<std::int64_t>(value));
  }
  bool Double(double value) { return add(value); }
  bool String(const char* text, rapidjson::SizeType length, bool) {
    return add(JsonValue::internedString({text, length}));
  }
  bool Key(const char* text, rapidjson::SizeType length, bool copied) { return String(text, length, copied); }
  bool StartObject() { return ++depth_ <= JsonValue::kMaximumDepth; }
  bool StartArray() { return ++depth_ <= JsonValue::kMaximumDepth; }

  bool EndObject(rapidjson::SizeType count) {
    std::vector<JsonValue::Entry> entries;
    entries.reserve(count);
    const auto first = values_.end() - static_cast<std::ptrdiff_t>(count) * 2;
    for (auto next = first; next != values_.end(); next += 2) {
      entries.push_back({std::move(*next), std::move(*(next + 1))});
    }
    return end(first, JsonValue::object(std::move(entries)));
  }

  bool EndArray(rapidjson::SizeType count) {
    const auto first = values_.end() - static_cast<std::ptrdiff_t>(count);
    std::vector<JsonValue> elements(std::make_move_iterator(first), std::make_move_iterator(values_.end()));
    return end(first, JsonValue::array(std::move(elements)));
  }

  JsonValue take() { return std::move(values_.front()); }

 private:
  bool add(JsonValue value) {
    values_.push_back(std::move(value));
    return true;
  }

  bool end(std::vector<JsonValue>::iterator first, JsonValue value) {
    --depth_;
    values_.erase(first, values_.end());
    return add(std::move(value));
  }

  std::vector<JsonValue> values_;
  std::size_t depth_ = 0;
};

/// The code unit of an escape "\uXXXX" at this place; absent when there is none.
std::optional<unsigned> escapedUnit(std::string_view text, std::size_t at) {
  if (at + 6 > text.size() || text[at] != '\\' || text[at + 1] != 'u') return std::nullopt;
  unsigned unit = 0;
  for (const char c : text.substr(at + 2, 4)) {
    const char lower = static_cast<char>(c | 0x20);
    if (c >= '0' && c <= '9') {
      unit = unit * 16 + static_cast<unsigned>(c - '0');
    } else if (lower >= 'a' && lower <= 'f') {
      unit = unit * 16 + static_cast<unsigned>(lower - 'a' + 10);
    } else {
      return std::nullopt;
    }
  }
  return unit;
}

bool isHighSurrogate(unsigned unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool isLowSurrogate(unsigned unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// JavaScript's strings may hold half of a surrogate pair, and its JSON then carries it as an escape, which
/// is no Unicode text. Writes U+FFFD in place of each. Absent when there is none.
std::optional<std::string> withLoneSurrogatesReplaced(std::string_view text) {
  std::optional<std::string> replaced;
  for (std::size_t at = text.find('\\'); at != std::string_view::npos; at = text.find('\\', at)) {
    const auto unit = escapedUnit(text, at);
    if (!unit) {
      at += 2;
      continue;
    }
    const auto next = escapedUnit(text, at + 6);
    if (isHighSurrogate(*unit) && next && isLowSurrogate(*next)) {
      at += 12;
      continue;
    }
    if (isHighSurrogate(*unit) || isLowSurrogate(*unit)) {
      if (!replaced) replaced.emplace(text);
      replaced->replace(at, 6, "\\ufffd");
    }
    at += 6;
  }
  return replaced;
}

bool write(const JsonValue& value, Writer& writer, std::size_t depth);

bool writeText(std::string_view text, Writer& writer) {
  return writer.String(text.data() ? text.data() : "", static_cast<rapidjson::SizeType>(text.size()));
}

bool writeArray(const JsonValue& value, Writer& writer, std::size_t depth) {
  bool good = writer.StartArray();
  for (const JsonValue& element : value.elements()) good = good && write(element, writer, depth);
  return good && writer.EndArray();
}

bool writeObject(const JsonValue& value, Writer& writer, std::size_t depth) {
  bool good = writer.StartObject();
  for (const JsonValue::Entry& entry : value.entries()) {
    good = good && writeText(*entry.key.asString(), writer) && write(entry.value, writer, depth);
  }
  return good && writer.EndObject();
}

bool write(const JsonValue& value, Writer& writer, std::size_t depth) {
  switch (value.type()) {
    case JsonValue::Type::Null:
      return writer.Null();
    case JsonValue::Type::Boolean:
      return writer.Bool(value.boolValue());
    case JsonValue::Type::Integer:
      return writer.Int64(value.integerValue());
    case JsonValue::Type::Unsigned:
      return writer.Uint64(value.unsignedValue());
    case JsonValue::Type::Double:
      return writer.Double(value.doubleValue());
    case JsonValue::Type::String:
      return writeText(*value.asString(), writer);
    case JsonValue::Type::Array:
      return depth < JsonValue::kMaximumDepth && writeArray(value, writer, depth + 1);
    case JsonValue::Type::Object:
      return depth < JsonValue::kMaximumDepth && writeObject(value, writer, depth + 1);
  }
  return false;
}

}  // namespace

std::optional<JsonValue> JsonValue::parse(std::string_view text) {
  const std::optional<std::string> replaced = withLoneSurrogatesReplaced(text);
  if (replaced) text = *replaced;
  rapidjson::MemoryStream bytes(text.data() ? text.data() : "", text.size());
  rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(bytes);
  rapidjson::Reader reader;
  ValueBuilder builder;
  if (!reader.Parse<kReadFlags>(stream, builder)) return std::nullopt;
  if (bytes.Tell() != text.size()) return std::nullopt;  // The reader takes a NUL byte for the end.
  return builder.take();
}

std::optional<std::string> JsonValue::serialized() const {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  if (!write(*this, writer, 0)) return std::nullopt;
  return std::string(buffer.GetString(), buffer.GetSize());
}

}  // namespace vemora
