#pragma once

#include <Vemora/JsonValue.h>

#include <string>

namespace vemora {

/// A value as text for a log: strings and numbers unchanged, "(null)" for null, everything else as JSON.
inline std::string describe(const JsonValue& value) {
  if (value.isNull()) return "(null)";
  if (auto text = value.stringValue()) return *std::move(text);
  return value.serialized().value_or("(unprintable)");
}

}  // namespace vemora
