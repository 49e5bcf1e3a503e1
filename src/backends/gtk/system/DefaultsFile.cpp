#include "backends/gtk/system/DefaultsFile.h"

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/PrivateFile.h"
#include "base/Utf8.h"

#include <glib.h>
#include <sys/stat.h>

#include <cmath>
#include <memory>
#include <utility>

namespace vemora::gtk {

namespace {

constexpr char kValues[] = "Defaults";
constexpr char kTypes[] = "Types";

struct TypedText {
  const char* type;  ///< Null for strings.
  std::string text;
};

bool isPlainText(std::string_view text) {
  return isUtf8(text) && text.find('\0') == std::string_view::npos;
}

TypedText textOfReal(double value) {
  if (std::isfinite(value)) return {"real", JsonValue(value).serialized().value_or("0")};
  return {"real", std::isnan(value) ? "nan" : value > 0 ? "inf" : "-inf"};
}

std::optional<TypedText> typedTextOf(const JsonValue& value) {
  switch (value.type()) {
    case JsonValue::Type::Boolean:
      return TypedText{"boolean", value.boolValue() ? "true" : "false"};
    case JsonValue::Type::Integer:
    case JsonValue::Type::Unsigned:
      return TypedText{"integer", value.serialized().value_or("0")};
    case JsonValue::Type::Double:
      return textOfReal(value.doubleValue());
    case JsonValue::Type::String:
      if (const std::string_view text = *value.asString(); isPlainText(text)) {
        return TypedText{nullptr, std::string(text)};
      }
      [[fallthrough]];
    default:
      break;
  }
  const std::optional<std::string> json = value.serialized();
  return json ? std::optional(TypedText{"json", *json}) : std::nullopt;
}

/// Text that does not fit its type, for example after an edit by hand, is a string.
JsonValue valueOf(std::string_view type, const std::string& text) {
  if (type == "real") {
    char* end = nullptr;
    const double number = g_ascii_strtod(text.c_str(), &end);
    return end != text.c_str() && *end == '\0' ? JsonValue(number) : JsonValue(text);
  }
  if (type.empty()) return text;
  const std::optional<JsonValue> value = JsonValue::parse(text);
  if (!value) return text;
  const bool fits = type == "json" || (type == "boolean" && value->type() == JsonValue::Type::Boolean) ||
                    (type == "integer" && (value->type() == JsonValue::Type::Integer ||
                                           value->type() == JsonValue::Type::Unsigned));
  return fits ? *value : JsonValue(text);
}

/// Key files do not take every character in a key.
std::string escapedKey(std::string_view key) {
  const GStringPtr escaped(
      g_uri_escape_bytes(reinterpret_cast<const guint8*>(key.data() ? key.data() : ""), key.size(), ":"));
  return escaped.get();
}

std::string unescapedKey(const char* key) {
  const GBytesPtr bytes(g_uri_unescape_bytes(key, -1, nullptr, nullptr));
  if (!bytes) return key;
  gsize size = 0;
  const auto* data = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
  return std::string(data ? data : "", size);
}

/// Null when the text is no key file.
GKeyFilePtr parseKeyFile(const std::string& text) {
  GKeyFilePtr file(g_key_file_new());
  const bool isEmpty = text.empty();
  constexpr auto kFlags = static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  if (!isEmpty && !g_key_file_load_from_data(file.get(), text.data(), text.size(), kFlags, nullptr)) {
    return nullptr;
  }
  return file;
}

DefaultsFile::Values valuesOf(GKeyFile* file) {
  DefaultsFile::Values values;
  const GStringListPtr keys(g_key_file_get_keys(file, kValues, nullptr, nullptr));
  for (char** key = keys.get(); key && *key; ++key) {
    const GStringPtr text(g_key_file_get_string(file, kValues, *key, nullptr));
    if (!text) continue;
    const GStringPtr type(g_key_file_get_string(file, kTypes, *key, nullptr));
    values.insert_or_assign(unescapedKey(*key), valueOf(type ? type.get() : "", text.get()));
  }
  return values;
}

void apply(GKeyFile* file, std::string_view key, const DefaultsFile::Change& change) {
  const std::string name = escapedKey(key);
  if (change.onlyIfAbsent && g_key_file_has_key(file, kValues, name.c_str(), nullptr)) return;
  g_key_file_remove_key(file, kTypes, name.c_str(), nullptr);
  const std::optional<TypedText> typed = change.value.isNull() ? std::nullopt : typedTextOf(change.value);
  if (!typed) {
    g_key_file_remove_key(file, kValues, name.c_str(), nullptr);
    return;
  }
  g_key_file_set_string(file, kValues, name.c_str(), typed->text.c_str());
  if (typed->type) g_key_file_set_string(file, kTypes, name.c_str(), typed->type);
}

std::int64_t nanoseconds(const timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

bool exists(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

}  // namespace

bool DefaultsFile::Version::isSettled() const {
  constexpr std::int64_t kClockTick = 100'000'000;
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return nanoseconds(now) - changed > kClockTick;
}

DefaultsFile::Version DefaultsFile::version() const {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) return {};
  return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim),
          nanoseconds(status.st_ctim)};
}

DefaultsFile::Values DefaultsFile::read() const {
  const GKeyFilePtr file = parseKeyFile(readFile(path_).value_or(""));
  return file ? valuesOf(file.get()) : Values{};
}

std::optional<DefaultsFile::Values> DefaultsFile::merge(const Changes& changes) const {
  const std::optional<std::string> text = readFile(path_);
  // A file that exists but cannot be read is not replaced.
  if (!text && exists(path_)) return std::nullopt;
  GKeyFilePtr file = parseKeyFile(text.value_or(""));
  if (!file) {
    if (!replacePrivateFile(path_ + ".corrupt", *text)) return std::nullopt;
    file = parseKeyFile("");
  }
  for (const auto& [key, change] : changes) apply(file.get(), key, change);
  gsize length = 0;
  const GStringPtr merged(g_key_file_to_data(file.get(), &length, nullptr));
  if (!replacePrivateFile(path_, std::string_view(merged.get(), length))) return std::nullopt;
  return valuesOf(file.get());
}

std::string DefaultsFile::claimPath(std::string_view key) const {
  return path_ + "." + escapedKey(key) + ".claim";
}

bool DefaultsFile::canHold(std::string_view key, const JsonValue& value) {
  return !key.empty() && (value.isNull() || typedTextOf(value));
}

}  // namespace vemora::gtk
