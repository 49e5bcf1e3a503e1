#include "backends/apple/Foundation/Conversions.h"

#include <cmath>
#include <vector>

namespace vemora::apple {

namespace {

JsonValue numberFrom(NSNumber* number) {
  // Booleans are two shared objects. Their type encoding says no more than "char".
  if (number == [NSNumber numberWithBool:YES] || number == [NSNumber numberWithBool:NO]) {
    return bool([number boolValue]);
  }
  switch ([number objCType][0]) {
    case 'f':
    case 'd':
      return [number doubleValue];
    case 'Q':
    case 'L':
      return static_cast<std::uint64_t>([number unsignedLongLongValue]);
    default:
      return static_cast<std::int64_t>([number longLongValue]);
  }
}

/// Converts a value, and notes whether JSON can carry all of it.
class Converter {
 public:
  JsonValue convert(id value, std::size_t depth = 0) {
    if (!value || value == [NSNull null]) return nullptr;
    if ([value isKindOfClass:[NSString class]]) return JsonValue::internedString(toString(value));
    if ([value isKindOfClass:[NSNumber class]]) {
      const JsonValue number = numberFrom(value);
      isExact_ = isExact_ && std::isfinite(number.doubleValue());
      return number;
    }
    if (depth < JsonValue::kMaximumDepth) {
      if ([value isKindOfClass:[NSArray class]]) return arrayFrom(value, depth + 1);
      if ([value isKindOfClass:[NSDictionary class]]) return objectFrom(value, depth + 1);
    }
    isExact_ = false;
    // The description of a nested collection would recurse in its turn.
    if (depth >= JsonValue::kMaximumDepth) return nullptr;
    return JsonValue::internedString(toString([value description]));
  }

  bool isExact() const { return isExact_; }

 private:
  JsonValue arrayFrom(NSArray* array, std::size_t depth) {
    std::vector<JsonValue> elements;
    elements.reserve([array count]);
    for (id element in array) elements.push_back(convert(element, depth));
    return JsonValue::array(std::move(elements));
  }

  JsonValue objectFrom(NSDictionary* dictionary, std::size_t depth) {
    std::vector<JsonValue::Entry> entries;
    entries.reserve([dictionary count]);
    for (id key in dictionary) {
      if (![key isKindOfClass:[NSString class]]) isExact_ = false;
      entries.push_back({JsonValue::internedString(toString([key description])),
                         convert([dictionary objectForKey:key], depth)});
    }
    return JsonValue::object(std::move(entries));
  }

  bool isExact_ = true;
};

NSMutableArray* arrayFrom(const JsonValue& value) {
  NSMutableArray* array = [NSMutableArray array];
  for (const JsonValue& element : value.elements()) [array addObject:toObject(element) ?: [NSNull null]];
  return array;
}

NSMutableDictionary* dictionaryFrom(const JsonValue& value) {
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
  for (const JsonValue::Entry& entry : value.entries()) {
    if (id key = toObject(entry.key)) {
      [dictionary setObject:toObject(entry.value) ?: [NSNull null] forKey:key];
    }
  }
  return dictionary;
}

}  // namespace

NSString* toNSString(std::string_view text) {
  return [[NSString alloc] initWithBytes:text.data() ?: "" length:text.size() encoding:NSUTF8StringEncoding];
}

NSString* toNSString(const std::optional<std::string>& text) {
  return text ? toNSString(*text) : nil;
}

std::string toString(NSString* text) {
  // A lone surrogate has no UTF-8 form and would lose the whole text.
  NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  return bytes ? std::string(static_cast<const char*>([bytes bytes]), [bytes length]) : std::string();
}

std::optional<std::string> toOptionalString(NSString* text) {
  return text ? std::optional(toString(text)) : std::nullopt;
}

JsonValue toJson(id value) {
  return Converter().convert(value);
}

std::optional<JsonValue> toJsonStrictly(id value) {
  Converter converter;
  JsonValue converted = converter.convert(value);
  return converter.isExact() ? std::optional(std::move(converted)) : std::nullopt;
}

id toObject(const JsonValue& value) {
  switch (value.type()) {
    case JsonValue::Type::Null:
      return nil;
    case JsonValue::Type::Boolean:
      return [NSNumber numberWithBool:value.boolValue()];
    case JsonValue::Type::Integer:
      return [NSNumber numberWithLongLong:value.integerValue()];
    case JsonValue::Type::Unsigned:
      return [NSNumber numberWithUnsignedLongLong:value.unsignedValue()];
    case JsonValue::Type::Double:
      return [NSNumber numberWithDouble:value.doubleValue()];
    case JsonValue::Type::String:
      return toNSString(*value.asString());
    case JsonValue::Type::Array:
      return arrayFrom(value);
    case JsonValue::Type::Object:
      return dictionaryFrom(value);
  }
}

std::optional<VMRError> toError(NSError* error) {
  if (!error) return std::nullopt;
  VMRError made;
  made.domain = toString([error domain]);
  made.code = [error code];
  made.description = toString([error localizedDescription]);
  made.failureReason = toOptionalString([error localizedFailureReason]);
  made.recoverySuggestion = toOptionalString([error localizedRecoverySuggestion]);
  if (NSError* underlying = [[error userInfo] objectForKey:NSUnderlyingErrorKey]) {
    made.underlyingError = std::make_shared<const VMRError>(*toError(underlying));
  }
  return made;
}

NSError* toNSError(const VMRError& error) {
  NSMutableDictionary* info = [NSMutableDictionary dictionary];
  const auto add = [info](NSString* key, id value) {
    if (value) [info setObject:value forKey:key];
  };
  add(NSLocalizedDescriptionKey, toNSString(error.description));
  add(NSLocalizedFailureReasonErrorKey, toNSString(error.failureReason));
  add(NSLocalizedRecoverySuggestionErrorKey, toNSString(error.recoverySuggestion));
  if (error.underlyingError) add(NSUnderlyingErrorKey, toNSError(*error.underlyingError));
  return [NSError errorWithDomain:toNSString(error.domain) ?: @""
                             code:static_cast<NSInteger>(error.code)
                         userInfo:info];
}

}  // namespace vemora::apple
