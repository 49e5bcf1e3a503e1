#include "backends/gtk/ui/ScriptValue.h"

#include "backends/gtk/base/GObjectPtr.h"

#include <cmath>
#include <memory>
#include <optional>
#include <string>

namespace vemora::gtk {

namespace {

using OwnedText = std::unique_ptr<char, GFree<g_free>>;
using OwnedBytes = std::unique_ptr<GBytes, GFree<g_bytes_unref>>;

/// Converting through JSON text is several times faster than reading each property. It also keeps NULs, and
/// lone surrogates arrive as escapes that the reader replaces.
std::optional<JsonValue> throughJson(JSCValue* value) {
  const OwnedText json(jsc_value_to_json(value, 0));
  // A value that JSON cannot represent throws in the page's context. Clear that exception.
  jsc_context_clear_exception(jsc_value_get_context(value));
  return json ? JsonValue::parse(json.get()) : std::nullopt;
}

std::string asText(JSCValue* value) {
  const OwnedBytes bytes(jsc_value_to_string_as_bytes(value));
  jsc_context_clear_exception(jsc_value_get_context(value));
  if (!bytes) return {};
  gsize size = 0;
  const auto* data = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
  if (!data) return {};
  const OwnedText valid(g_utf8_make_valid(data, static_cast<gssize>(size)));
  return valid.get();
}

}  // namespace

JsonValue jsonFromScriptValue(JSCValue* value) {
  if (jsc_value_is_null(value) || jsc_value_is_undefined(value)) return nullptr;
  if (jsc_value_is_boolean(value)) return static_cast<bool>(jsc_value_to_boolean(value));
  // JSON has no infinity.
  if (jsc_value_is_number(value) && !std::isfinite(jsc_value_to_double(value)))
    return jsc_value_to_double(value);
  if (auto json = throughJson(value)) return *json;
  return asText(value);
}

}  // namespace vemora::gtk
