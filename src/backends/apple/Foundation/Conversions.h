#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VMRError.h>

#import <Foundation/Foundation.h>

#include <optional>
#include <string>
#include <string_view>

// Foundation's values as the core has them, and back. Any thread.

namespace vemora::apple {

/// nil for a text that is not UTF-8 or absent.
NSString* _Nullable toNSString(std::string_view text);
inline NSString* _Nullable toNSString(const std::string& text) {
  return toNSString(std::string_view(text));
}
NSString* _Nullable toNSString(const std::optional<std::string>& text);

/// Empty for nil. Texts may contain NUL.
std::string toString(NSString* _Nullable text);
std::optional<std::string> toOptionalString(NSString* _Nullable text);

/// Strings are interned, so that an event's ad id and the ad's own id are one object. A value that JSON
/// cannot carry becomes its description; what is nested deeper than `JsonValue::kMaximumDepth`, null.
JsonValue toJson(id _Nullable value);
/// The same, but absent when the value or a part of it is none that JSON can carry.
std::optional<JsonValue> toJsonStrictly(id _Nullable value);

/// nil for null. Inside arrays and dictionaries null is NSNull.
id _Nullable toObject(const JsonValue& value);

std::optional<VMRError> toError(NSError* _Nullable error);
NSError* _Nonnull toNSError(const VMRError& error);

}  // namespace vemora::apple
