#include "base/DecimalNumbers.h"
#include "base/JsonObjects.h"
#include "base/TextWords.h"

#include <Vemora/JsonValue.h>

#include <rapidjson/allocators.h>
#include <rapidjson/error/error.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <memory_resource>

namespace vemora {

namespace {

/// Numbers come as texts: the reader's own exact conversion gets zeros with exponents and some long integers
/// wrong. The encoding has been checked beforehand, by `isUtf8`, in words of eight bytes.
constexpr unsigned kReadFlags =
    rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseInsituFlag | rapidjson::kParseIterativeFlag;

template <typename Integer>
std::optional<JsonValue> integerFrom(std::string_view text) {
  Integer value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// From a text that the reader found to be a number; absent when it is beyond the largest double.
std::optional<JsonValue> numberFrom(std::string_view text) {
  if (auto value = integerFrom<std::int64_t>(text)) return value;
  if (auto value = integerFrom<std::uint64_t>(text)) return value;
  const double value = doubleFromDecimal(text);
  return std::isfinite(value) ? std::optional<JsonValue>(value) : std::nullopt;
}

constexpr std::uint64_t kOnes = 0x0101010101010101;
constexpr std::uint64_t kHighBits = kOnes * 0x80;

/// The high bits of bytes below the limit, which is at most 0x80. Bytes behind the first such one may be
/// marked without being below.
constexpr std::uint64_t bytesBelow(std::uint64_t word, std::uint64_t limit) {
  return (word - kOnes * limit) & ~word & kHighBits;
}

/// The high bits of bytes that end a string or begin an escape, or that no string may hold; the first is
/// right, as above.
constexpr std::uint64_t specialBytes(std::uint64_t word) {
  return bytesBelow(word, 0x20) | bytesBelow(word ^ kOnes * '"', 1) | bytesBelow(word ^ kOnes * '\\', 1);
}

/// The reader works in a copy of the text, since it unescapes in place. Most messages are short. Behind the
/// text there is room for words that begin in it.
class TextCopy {
 public:
  explicit TextCopy(std::string_view text) {
    if (text.size() + kWord > sizeof inside_) outside_ = std::make_unique<char[]>(text.size() + kWord);
    if (!text.empty()) std::memcpy(bytes(), text.data(), text.size());
    std::memset(bytes() + text.size(), 0, kWord);
  }
  char* bytes() { return outside_ ? outside_.get() : inside_; }

 private:
  char inside_[4096];
  std::unique_ptr<char[]> outside_;
};

/// Unescapes in place, and passes in words over what stands before the first escape of a string: it is where
/// it belongs already.
struct TextStream : rapidjson::InsituStringStream {
  using rapidjson::InsituStringStream::InsituStringStream;
  char* PutBegin() {
    char* const begin = src_;
    if constexpr (std::endian::native == std::endian::little) {
      std::uint64_t special = 0;
      while ((special = specialBytes(wordAt(src_))) == 0) src_ += kWord;
      src_ += std::countr_zero(special) / 8;
    }
    dst_ = src_;
    return begin;
  }
};

}  // namespace
}  // namespace vemora

/// Small enough for the reader to keep in registers.
template <>
struct rapidjson::StreamTraits<vemora::TextStream> {
  enum { copyOptimization = 1 };
};

namespace vemora {
namespace {

/// Builds values from the reader's events. Values wait on one stack until their array or object ends.
class ValueBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, ValueBuilder> {
 public:
  ValueBuilder() { values_.reserve(kUsualValues); }
  ValueBuilder(const ValueBuilder&) = delete;
  ValueBuilder& operator=(const ValueBuilder&) = delete;
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
    return end(JsonValueAccess::objectOf(last(std::size_t{count} * 2)), std::size_t{count} * 2);
  }
  bool EndArray(rapidjson::SizeType count) { return end(JsonValueAccess::arrayOf(last(count)), count); }

  JsonValue take() { return std::move(values_.front()); }

 private:
  static constexpr std::size_t kUsualValues = 64;

  std::span<JsonValue> last(std::size_t count) { return std::span(values_).last(count); }

  bool add(JsonValue value) {
    values_.push_back(std::move(value));
    return true;
  }

  bool end(JsonValue value, std::size_t parts) {
    --depth_;
    values_.resize(values_.size() - parts);
    return add(std::move(value));
  }

  alignas(JsonValue) std::byte usual_[kUsualValues * sizeof(JsonValue)];
  std::pmr::monotonic_buffer_resource memory_{usual_, sizeof usual_};
  std::pmr::vector<JsonValue> values_{&memory_};
  std::size_t depth_ = 0;
};

/// What the reader needs beside the text, for messages of the usual depth without an allocation.
class ReaderMemory {
 public:
  using Pool = rapidjson::MemoryPoolAllocator<>;
  using Reader = rapidjson::GenericReader<rapidjson::UTF8<>, rapidjson::UTF8<>, Pool>;

  Reader& reader() { return reader_; }

 private:
  static constexpr std::size_t kUsualStack = 256;

  alignas(std::max_align_t) char usual_[1024];
  Pool pool_{usual_, sizeof usual_};
  Reader reader_{&pool_, kUsualStack};
};

constexpr std::string_view kByteOrderMark = "\xef\xbb\xbf";

/// Whether all text up to here is ASCII, eight bytes at a time.
std::size_t asciiPrefix(std::string_view text) {
  std::size_t at = 0;
  for (; at + kWord <= text.size(); at += kWord) {
    if (wordAt(text.data() + at) & kHighBits) return at;
  }
  return at;
}

struct Nowhere {
  using Ch = char;
  void Put(Ch) {}
};

bool isUtf8(std::string_view text) {
  text.remove_prefix(asciiPrefix(text));
  rapidjson::MemoryStream bytes(text.data() ? text.data() : "", text.size());
  Nowhere nowhere;
  while (bytes.Tell() < text.size()) {
    if (!rapidjson::UTF8<>::Validate(bytes, nowhere)) return false;
  }
  return bytes.Tell() == text.size();
}

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

/// Whether the text can stand between quotes as it is: ASCII without quotes, backslashes and control
/// characters.
bool isPlain(std::string_view text) {
  const auto oddBytes = [](const char* place) {
    const std::uint64_t word = wordAt(place);
    return specialBytes(word) | (word & kHighBits);
  };
  const auto isOdd = [](char c) { return c < 0x20 || c > 0x7E || c == '"' || c == '\\'; };
  if (text.size() < kWord) return std::none_of(text.begin(), text.end(), isOdd);
  for (std::size_t at = 0; at + kWord < text.size(); at += kWord) {
    if (oddBytes(text.data() + at)) return false;
  }
  return !oddBytes(text.data() + text.size() - kWord);
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
  bool writeText(std::string_view text) {
    if (!isPlain(text)) {
      return isUtf8(text) && writer_.String(text.data(), static_cast<rapidjson::SizeType>(text.size()));
    }
    writer_.RawValue("", 0, rapidjson::kStringType);  // Whatever has to stand before the text.
    char* const place = buffer_.Push(text.size() + 2);
    place[0] = '"';
    std::copy(text.begin(), text.end(), place + 1);
    place[text.size() + 1] = '"';
    return true;
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
  if (!isUtf8(text)) return std::nullopt;
  if (text.starts_with(kByteOrderMark)) text.remove_prefix(kByteOrderMark.size());
  const std::optional<std::string> replaced = withLoneSurrogatesReplaced(text);
  if (replaced) text = *replaced;
  TextCopy copy(text);
  TextStream stream(copy.bytes());
  ReaderMemory memory;
  ValueBuilder builder;
  if (!memory.reader().Parse<kReadFlags>(stream, builder)) return std::nullopt;
  if (stream.Tell() != text.size()) return std::nullopt;  // The reader takes a NUL byte for the end.
  return builder.take();
}

std::optional<std::string> JsonValue::serialized() const {
  TextWriter writer;
  if (!writer.write(*this)) return std::nullopt;
  return writer.text();
}

}  // namespace vemora
