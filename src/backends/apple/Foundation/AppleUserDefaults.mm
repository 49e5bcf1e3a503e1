#include "backends/apple/ApplePorts.h"
#include "backends/apple/Foundation/Conversions.h"

#import <Foundation/Foundation.h>

namespace vemora::apple {

namespace {

/// A copy without null anywhere: property lists have none, and an attempt to store one ends the process.
JsonValue withoutNulls(const JsonValue& value) {
  if (value.isArray()) {
    std::vector<JsonValue> elements;
    for (const JsonValue& element : value.elements()) {
      if (!element.isNull()) elements.push_back(withoutNulls(element));
    }
    return JsonValue::array(std::move(elements));
  }
  if (value.isObject()) {
    std::vector<JsonValue::Entry> entries;
    for (const JsonValue::Entry& entry : value.entries()) {
      if (!entry.value.isNull()) entries.push_back({entry.key, withoutNulls(entry.value)});
    }
    return JsonValue::object(std::move(entries));
  }
  return value;
}

class AppleUserDefaults final : public UserDefaults {
 public:
  JsonValue objectForKey(std::string_view key) override {
    @autoreleasepool {
      NSString* name = toNSString(key);
      return name ? toJson([defaults() objectForKey:name]) : nullptr;
    }
  }

  std::optional<std::string> stringForKey(std::string_view key) override {
    @autoreleasepool {
      NSString* name = toNSString(key);
      return name ? toOptionalString([defaults() stringForKey:name]) : std::nullopt;
    }
  }

  void setObject(const JsonValue& value, std::string_view key) override {
    @autoreleasepool {
      NSString* name = toNSString(key);
      id object = toObject(withoutNulls(value));
      if (name && object) [defaults() setObject:object forKey:name];
    }
  }

  /// An application has one process that writes its defaults.
  JsonValue setObjectIfAbsent(const JsonValue& value, std::string_view key) override {
    MutexLock lock(mutex_);
    if (objectForKey(key).isNull()) setObject(value, key);
    return objectForKey(key);
  }

  void removeObjectForKey(std::string_view key) override {
    @autoreleasepool {
      if (NSString* name = toNSString(key)) [defaults() removeObjectForKey:name];
    }
  }

  bool synchronize() override {
    @autoreleasepool {
      return [defaults() synchronize];
    }
  }

 private:
  static NSUserDefaults* defaults() { return [NSUserDefaults standardUserDefaults]; }

  Mutex mutex_;  ///< Held from the look-up to the store of `setObjectIfAbsent`.
};

}  // namespace

std::unique_ptr<UserDefaults> makeUserDefaults() {
  return std::make_unique<AppleUserDefaults>();
}

}  // namespace vemora::apple
