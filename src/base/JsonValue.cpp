#include "base/DecimalNumbers.h"
#include "base/JsonObjects.h"
#include "base/Mutex.h"

#include <Vemora/JsonValue.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <locale>
#include <memory>
#include <new>
#include <sstream>

namespace vemora {

namespace {

/// Objects up to this size are searched entry by entry.
constexpr std::size_t kWalkedObjectSize = 12;

std::string_view keyText(const JsonValue::Entry& entry) {
  return *entry.key.asString();
}

template <typename Integer>
Integer clamped(double number) {
  if (std::isnan(number)) return 0;
  if (number >= static_cast<double>(std::numeric_limits<Integer>::max()))
    return std::numeric_limits<Integer>::max();
  if (number <= static_cast<double>(std::numeric_limits<Integer>::min()))
    return std::numeric_limits<Integer>::min();
  return static_cast<Integer>(number);
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view withoutLeadingSpace(std::string_view text) {
  const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
  return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

/// The longest prefix of the text that is a decimal number.
std::string_view leadingNumber(std::string_view text) {
  std::size_t end = 0;
  const auto skipDigits = [&] {
    const std::size_t from = end;
    while (end < text.size() && isDigit(text[end])) ++end;
    return end > from;
  };
  if (end < text.size() && (text[end] == '-' || text[end] == '+')) ++end;
  bool hasDigits = skipDigits();
  if (end < text.size() && text[end] == '.') {
    ++end;
    hasDigits = skipDigits() || hasDigits;
  }
  if (!hasDigits) return {};
  if (end < text.size() && (text[end] == 'e' || text[end] == 'E')) {
    const std::size_t beforeExponent = end++;
    if (end < text.size() && (text[end] == '-' || text[end] == '+')) ++end;
    if (!skipDigits()) end = beforeExponent;
  }
  return text.substr(0, end);
}

double leadingDouble(std::string_view text) {
  return doubleFromDecimal(std::string(leadingNumber(withoutLeadingSpace(text))));
}

std::int64_t leadingInteger(std::string_view text) {
  text = withoutLeadingSpace(text);
  const bool negative = !text.empty() && text.front() == '-';
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
  std::int64_t value = 0;  // Accumulated as a negative number: that range is the larger one.
  for (; !text.empty() && isDigit(text.front()); text.remove_prefix(1)) {
    const int digit = text.front() - '0';
    if (value < (kLowest + digit) / 10) return negative ? kLowest : std::numeric_limits<std::int64_t>::max();
    value = value * 10 - digit;
  }
  if (negative) return value;
  return value == kLowest ? std::numeric_limits<std::int64_t>::max() : -value;
}

bool leadingBool(std::string_view text) {
  text = withoutLeadingSpace(text);
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  const std::size_t start = text.find_first_not_of('0');
  return start != std::string_view::npos &&
         std::string_view("YyTt123456789").find(text[start]) != std::string_view::npos;
}

std::string decimalText(double number) {
  std::ostringstream stream;
  stream.imbue(std::locale::classic());
  stream.precision(16);
  stream << number;
  return stream.str();
}

}  // namespace

/// The interned strings of the process, held weakly: a string is in the table while it is referenced. Divided
/// by hash, so that threads that read messages at the same time seldom contend for a lock.
struct JsonValue::StringObject::Interned {
  static constexpr std::size_t kShards = 32;

  struct Shard {
    Mutex mutex;  ///< Guards the buckets and their chains. Nothing is locked under it.
    std::vector<StringObject*> buckets VMR_GUARDED_BY(mutex) = std::vector<StringObject*>(16);
    std::size_t size VMR_GUARDED_BY(mutex) = 0;

    StringObject* intern(std::string_view text, std::size_t hash) VMR_EXCLUDES(mutex) {
      MutexLock lock(mutex);
      for (StringObject* entry = bucket(hash); entry; entry = entry->nextInBucket) {
        if (entry->hash == hash && entry->text() == text && retainUnlessDying(entry)) return entry;
      }
      StringObject* made = StringObject::make(text);
      made->hash = hash;
      made->isInterned = true;
      if (size >= buckets.size()) grow();
      made->nextInBucket = std::exchange(bucket(hash), made);
      ++size;
      return made;
    }

    void remove(StringObject* dying) VMR_EXCLUDES(mutex) {
      MutexLock lock(mutex);
      StringObject** link = &bucket(dying->hash);
      while (*link != dying) link = &(*link)->nextInBucket;
      *link = dying->nextInBucket;
      --size;
    }

   private:
    StringObject*& bucket(std::size_t hash) VMR_REQUIRES(mutex) {
      return buckets[(hash / kShards) & (buckets.size() - 1)];
    }

    void grow() VMR_REQUIRES(mutex) {
      std::vector<StringObject*> old(buckets.size() * 2);
      old.swap(buckets);
      for (StringObject* entry : old) {
        while (entry) {
          StringObject* next = std::exchange(entry->nextInBucket, bucket(entry->hash));
          bucket(entry->hash) = entry;
          entry = next;
        }
      }
    }

    /// A string without references stays in the table until its last owner takes the lock.
    static bool retainUnlessDying(StringObject* entry) {
      std::uint32_t references = entry->references.load(std::memory_order_relaxed);
      while (references != 0) {
        if (entry->references.compare_exchange_weak(references, references + 1, std::memory_order_relaxed))
          return true;
      }
      return false;
    }
  };

  static Shard& shardOf(std::size_t hash) {
    static auto& shards = *new std::array<Shard, kShards>;
    return shards[hash % kShards];
  }
};

/// The short strings that a thread has read last, held by it. The names in every message are then neither
/// looked up under a lock nor allocated again each time.
class JsonValue::StringObject::Recent {
 public:
  static constexpr std::size_t kLongest = 32;

  /// Null while the thread ends.
  static Recent* ofThread() {
    static thread_local bool ended = false;
    struct Owner {
      Recent strings;
      ~Owner() { ended = true; }
    };
    static thread_local Owner owner;
    return ended ? nullptr : &owner.strings;
  }

  ~Recent() {
    for (StringObject* held : slots_) release(held);
  }

  /// With a reference for the caller.
  StringObject* intern(std::string_view text, std::size_t hash) {
    StringObject*& slot = slots_[hash % slots_.size()];
    if (!slot || slot->hash != hash || slot->text() != text) {
      release(std::exchange(slot, Interned::shardOf(hash).intern(text, hash)));
    }
    slot->references.fetch_add(1, std::memory_order_relaxed);
    return slot;
  }

 private:
  static void release(StringObject* held) {
    if (held) JsonValue(Type::String, held);
  }

  std::array<StringObject*, 256> slots_{};
};

JsonValue::StringObject* JsonValue::StringObject::make(std::string_view text) {
  auto* object = new (::operator new(sizeof(StringObject) + text.size())) StringObject;
  object->length = text.size();
  auto* bytes = reinterpret_cast<char*>(object + 1);
  if (!text.empty()) std::memcpy(bytes, text.data(), text.size());
  return object;
}

JsonValue::StringObject* JsonValue::StringObject::intern(std::string_view text) {
  const std::size_t hash = std::hash<std::string_view>()(text);
  if (text.size() <= Recent::kLongest) {
    if (Recent* recent = Recent::ofThread()) return recent->intern(text, hash);
  }
  return Interned::shardOf(hash).intern(text, hash);
}

void JsonValue::StringObject::destroy() {
  if (isInterned) Interned::shardOf(hash).remove(this);
  this->~StringObject();
  ::operator delete(this);
}

JsonValue::ArrayObject* JsonValue::ArrayObject::make(std::span<JsonValue> elements) {
  auto* object = new (::operator new(sizeof(ArrayObject) + elements.size_bytes())) ArrayObject;
  std::uninitialized_move(elements.begin(), elements.end(), reinterpret_cast<JsonValue*>(object + 1));
  object->count = elements.size();
  return object;
}

void JsonValue::ArrayObject::destroy() {
  std::destroy_n(reinterpret_cast<JsonValue*>(this + 1), count);
  this->~ArrayObject();
  ::operator delete(this);
}

template <typename EntryAt>
JsonValue::ObjectObject* JsonValue::ObjectObject::make(std::size_t count, EntryAt entryAt) {
  auto* object = new (::operator new(sizeof(ObjectObject) + count * sizeof(Entry))) ObjectObject;
  auto* entries = reinterpret_cast<Entry*>(object + 1);
  for (std::size_t i = 0; i < count; ++i) new (entries + i) Entry(entryAt(i));
  object->count = count;
  object->dropRepeatedKeys();
  return object;
}

JsonValue::ObjectObject* JsonValue::ObjectObject::make(std::span<Entry> entries) {
  return make(entries.size(), [&](std::size_t i) { return std::move(entries[i]); });
}

JsonValue::ObjectObject* JsonValue::ObjectObject::make(std::span<JsonValue> parts) {
  return make(parts.size() / 2, [&](std::size_t i) {
    return Entry{std::move(parts[2 * i]), std::move(parts[2 * i + 1])};
  });
}

void JsonValue::ObjectObject::destroy() {
  std::destroy_n(reinterpret_cast<Entry*>(this + 1), count);
  this->~ObjectObject();
  ::operator delete(this);
}

void JsonValue::ObjectObject::dropRepeatedKeys() {
  const std::span<Entry> own = ownEntries();
  if (count > kWalkedObjectSize) {
    sortByKey();
    std::vector<bool> isRepeated(count);
    bool anyRepeated = false;
    for (std::size_t i = 0; i + 1 < count; ++i) {
      if (keyText(own[byKey[i]]) != keyText(own[byKey[i + 1]])) continue;
      isRepeated[byKey[i]] = true;
      anyRepeated = true;
    }
    if (!anyRepeated) return;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (!isRepeated[i]) own[kept++] = std::move(own[i]);
    }
    keepOnly(kept);
    sortByKey();
    return;
  }
  const auto keyObject = [](const Entry& entry) -> const StringObject& {
    return *static_cast<const StringObject*>(entry.key.payload_.shared);
  };
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto isSameKey = [&](const Entry& other) { return keyObject(other).isSameText(keyObject(own[i])); };
    const bool isRepeated =
        std::any_of(own.begin() + static_cast<std::ptrdiff_t>(i) + 1, own.end(), isSameKey);
    if (isRepeated) continue;
    if (kept != i) own[kept] = std::move(own[i]);
    ++kept;
  }
  keepOnly(kept);
}

void JsonValue::ObjectObject::keepOnly(std::size_t kept) {
  std::destroy(ownEntries().begin() + static_cast<std::ptrdiff_t>(kept), ownEntries().end());
  count = kept;
}

void JsonValue::ObjectObject::sortByKey() {
  byKey.resize(count);
  for (std::uint32_t i = 0; i < byKey.size(); ++i) byKey[i] = i;
  std::stable_sort(byKey.begin(), byKey.end(),
                   [own = entries()](auto a, auto b) { return keyText(own[a]) < keyText(own[b]); });
}

const JsonValue* JsonValue::ObjectObject::find(std::string_view key) const {
  const std::span<const Entry> own = entries();
  if (byKey.empty()) {
    for (const Entry& entry : own) {
      if (keyText(entry) == key) return &entry.value;
    }
    return nullptr;
  }
  const auto found =
      std::lower_bound(byKey.begin(), byKey.end(), key,
                       [own](auto position, std::string_view k) { return keyText(own[position]) < k; });
  return found != byKey.end() && keyText(own[*found]) == key ? &own[*found].value : nullptr;
}

JsonValue JsonValueAccess::arrayOf(std::span<JsonValue> elements) {
  return JsonValue(JsonValue::Type::Array, JsonValue::ArrayObject::make(elements));
}

JsonValue JsonValueAccess::objectOf(std::span<JsonValue> keysAndValues) {
  return JsonValue(JsonValue::Type::Object, JsonValue::ObjectObject::make(keysAndValues));
}

void JsonValueAccess::destroy(JsonValue::Type type, JsonValue::Shared* shared) {
  switch (type) {
    case JsonValue::Type::String:
      return static_cast<JsonValue::StringObject*>(shared)->destroy();
    case JsonValue::Type::Array:
      return static_cast<JsonValue::ArrayObject*>(shared)->destroy();
    case JsonValue::Type::Object:
      return static_cast<JsonValue::ObjectObject*>(shared)->destroy();
    default:
      return;
  }
}

JsonValue::JsonValue(Type type, Shared* owned) noexcept : type_(type), payload_{} {
  payload_.shared = owned;
}

JsonValue::JsonValue(std::string_view text) : JsonValue(Type::String, StringObject::make(text)) {}

JsonValue::JsonValue(const JsonDictionary& dictionary) : JsonValue() {
  std::vector<Entry> entries;
  entries.reserve(dictionary.size());
  for (const auto& [key, value] : dictionary) entries.push_back({key, value});
  *this = object(std::move(entries));
}

JsonValue::JsonValue(const std::vector<JsonValue>& elements) : JsonValue(array(elements)) {}

JsonValue::JsonValue(const JsonValue& other) noexcept : type_(other.type_), payload_(other.payload_) {
  if (isShared()) payload_.shared->references.fetch_add(1, std::memory_order_relaxed);
}

JsonValue& JsonValue::operator=(JsonValue other) noexcept {
  std::swap(type_, other.type_);
  std::swap(payload_, other.payload_);
  return *this;
}

void JsonValue::release() noexcept {
  if (payload_.shared->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    JsonValueAccess::destroy(type_, payload_.shared);
  }
}

JsonValue JsonValue::object(std::vector<Entry> entries) {
  return JsonValue(Type::Object, ObjectObject::make(std::span(entries)));
}

JsonValue JsonValue::array(std::vector<JsonValue> elements) {
  return JsonValue(Type::Array, ArrayObject::make(elements));
}

JsonValue JsonValue::internedString(std::string_view text) {
  return JsonValue(Type::String, StringObject::intern(text));
}

std::optional<std::string_view> JsonValue::asString() const noexcept {
  if (!isString()) return std::nullopt;
  return static_cast<const StringObject*>(payload_.shared)->text();
}

std::optional<std::string> JsonValue::stringValue() const {
  switch (type_) {
    case Type::String:
      return std::string(*asString());
    case Type::Boolean:
      return payload_.boolean ? "1" : "0";
    case Type::Integer:
      return std::to_string(payload_.integer);
    case Type::Unsigned:
      return std::to_string(payload_.natural);
    case Type::Double:
      return decimalText(payload_.real);
    default:
      return std::nullopt;
  }
}

std::int64_t JsonValue::integerValue() const noexcept {
  switch (type_) {
    case Type::Boolean:
      return payload_.boolean;
    case Type::Integer:
      return payload_.integer;
    case Type::Unsigned:
      return static_cast<std::int64_t>(
          std::min<std::uint64_t>(payload_.natural, std::numeric_limits<std::int64_t>::max()));
    case Type::Double:
      return clamped<std::int64_t>(payload_.real);
    case Type::String:
      return leadingInteger(*asString());
    default:
      return 0;
  }
}

std::uint64_t JsonValue::unsignedValue() const noexcept {
  if (type_ == Type::Unsigned) return payload_.natural;
  if (type_ == Type::Double) return clamped<std::uint64_t>(payload_.real);
  return static_cast<std::uint64_t>(std::max<std::int64_t>(integerValue(), 0));
}

double JsonValue::doubleValue() const {
  switch (type_) {
    case Type::Boolean:
      return payload_.boolean;
    case Type::Integer:
      return static_cast<double>(payload_.integer);
    case Type::Unsigned:
      return static_cast<double>(payload_.natural);
    case Type::Double:
      return payload_.real;
    case Type::String:
      return leadingDouble(*asString());
    default:
      return 0;
  }
}

bool JsonValue::boolValue() const noexcept {
  switch (type_) {
    case Type::Boolean:
      return payload_.boolean;
    case Type::Integer:
      return payload_.integer != 0;
    case Type::Unsigned:
      return payload_.natural != 0;
    case Type::Double:
      return payload_.real != 0;
    case Type::String:
      return leadingBool(*asString());
    default:
      return false;
  }
}

std::optional<std::size_t> JsonValue::count() const noexcept {
  if (isArray()) return elements().size();
  if (isObject()) return entries().size();
  return std::nullopt;
}

JsonValue JsonValue::operator[](std::string_view key) const {
  if (!isObject()) return nullptr;
  const JsonValue* found = static_cast<const ObjectObject*>(payload_.shared)->find(key);
  return found ? *found : nullptr;
}

JsonValue JsonValue::elementAt(std::size_t index) const {
  const std::span<const JsonValue> own = elements();
  return index < own.size() ? own[index] : nullptr;
}

std::span<const JsonValue> JsonValue::elements() const noexcept {
  if (!isArray()) return {};
  return static_cast<const ArrayObject*>(payload_.shared)->elements();
}

std::span<const JsonValue::Entry> JsonValue::entries() const noexcept {
  if (!isObject()) return {};
  return static_cast<const ObjectObject*>(payload_.shared)->entries();
}

bool JsonValue::isIdenticalTo(const JsonValue& other) const noexcept {
  if (type_ != other.type_) return false;
  if (isShared()) return payload_.shared == other.payload_.shared;
  return type_ != Type::Null && *this == other;
}

bool JsonValue::operator==(const JsonValue& other) const {
  if (isNumber() && other.isNumber()) {
    if (type_ == Type::Boolean || other.type_ == Type::Boolean)
      return type_ == other.type_ && payload_.boolean == other.payload_.boolean;
    if (type_ == Type::Double || other.type_ == Type::Double) return doubleValue() == other.doubleValue();
    const bool bothNegative = integerValue() < 0 && other.integerValue() < 0;
    const bool bothNatural = integerValue() >= 0 && other.integerValue() >= 0;
    return (bothNegative || bothNatural) && payload_.natural == other.payload_.natural;
  }
  if (type_ != other.type_) return false;
  switch (type_) {
    case Type::String:
      return *asString() == *other.asString();
    case Type::Array:
      return std::ranges::equal(elements(), other.elements());
    case Type::Object:
      return entries().size() == other.entries().size() &&
             std::ranges::all_of(entries(), [&](const Entry& entry) {
               const JsonValue* found =
                   static_cast<const ObjectObject*>(other.payload_.shared)->find(keyText(entry));
               return found && *found == entry.value;
             });
    default:
      return true;
  }
}

}  // namespace vemora
