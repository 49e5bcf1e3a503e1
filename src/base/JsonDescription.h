#pragma once

#include <Vemora/JsonValue.h>

#include <string>

namespace vemora {

/// A value as people read it in a log: texts and numbers as they are, "(null)", the rest as JSON.
inline std::string describe(const JsonValue& value) {
  if (value.isNull()) return "(null)";
  if (auto text = value.stringValue()) return *std::move(text);
  return value.serialized().value_or("(unprintable)");
}

}  // namespace vemora
