#pragma once

#include <Vemora/JsonValue.h>

#include <string_view>

namespace vemora {

class VMRUtilities {
 public:
  /// The value at a path of keys separated by "/"; null when a step does not reach an object. Every path has
  /// at least one component, which may be empty. Arrays are not indexed.
  static JsonValue jsonValueFrom(const JsonValue& root, std::string_view path);
};

}  // namespace vemora
