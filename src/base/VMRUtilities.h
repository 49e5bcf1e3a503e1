#pragma once

#include <Vemora/JsonValue.h>

#include <string_view>

namespace vemora {

class VMRUtilities {
 public:
  /// The value at a path of keys parted by "/"; null as soon as a step meets no object. Every path has at
  /// least one component, which may be empty; arrays are not indexed.
  static JsonValue jsonValueFrom(const JsonValue& root, std::string_view path);
};

}  // namespace vemora
