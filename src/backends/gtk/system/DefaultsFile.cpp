#include "backends/gtk/system/DefaultsFile.h"

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/PrivateFile.h"
#include "base/Utf8.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <utility>

namespace vemora::gtk {

namespace {

constexpr char kValues[] = "Defaults";
constexpr char kTypes[] = "Types";
/// The type of a key whose value is to be removed, in files of changes.
constexpr char kRemoved[] = "removed";
constexpr char kHandedOver[] = ".unsaved-";

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

/// Null when the text is not a key file.
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

DefaultsFile::Changes changesOf(const std::string& path) {
  DefaultsFile::Changes changes;
  const GKeyFilePtr file = parseKeyFile(readFile(path).value_or(""));
  if (!file) return changes;
  for (auto& [key, value] : valuesOf(file.get())) {
    const GStringPtr type(g_key_file_get_string(file.get(), kTypes, escapedKey(key).c_str(), nullptr));
    const bool isRemoved = type && std::string_view(type.get()) == kRemoved;
    changes.emplace(key, DefaultsFile::Change{isRemoved ? JsonValue() : value});
  }
  return changes;
}

std::string textOf(GKeyFile* file) {
  gsize length = 0;
  const GStringPtr text(g_key_file_to_data(file, &length, nullptr));
  return {text.get(), length};
}

std::int64_t nanoseconds(const timespec& time) {
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

std::string folder(const std::string& path) {
  return std::filesystem::path(path).parent_path().string();
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
  return nanoseconds(now) - std::max(changed, folderModified) > kClockTick;
}

DefaultsFile::Version DefaultsFile::version() const {
  Version version;
  struct stat status {};
  if (stat(folder(path_).c_str(), &status) == 0) version.folderModified = nanoseconds(status.st_mtim);
  if (stat(path_.c_str(), &status) != 0) return version;
  version.device = status.st_dev;
  version.file = status.st_ino;
  version.size = status.st_size;
  version.modified = nanoseconds(status.st_mtim);
  version.changed = nanoseconds(status.st_ctim);
  return version;
}

DefaultsFile::Values DefaultsFile::read() const {
  const GKeyFilePtr file = parseKeyFile(readFile(path_).value_or(""));
  Values values = file ? valuesOf(file.get()) : Values{};
  for (const std::string& path : handedOver()) {
    for (const auto& [key, change] : changesOf(path)) {
      values.erase(key);
      if (!change.value.isNull()) values.emplace(key, change.value);
    }
  }
  return values;
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
  const std::vector<std::string> older = handedOver();
  for (const std::string& path : older) {
    for (const auto& [key, change] : changesOf(path)) apply(file.get(), key, change);
  }
  for (const auto& [key, change] : changes) apply(file.get(), key, change);
  if (!replacePrivateFile(path_, textOf(file.get()))) return std::nullopt;
  for (const std::string& path : older) unlink(path.c_str());
  return valuesOf(file.get());
}

bool DefaultsFile::handOver(const Changes& changes) const {
  const GKeyFilePtr file(g_key_file_new());
  for (const auto& [key, change] : changes) {
    apply(file.get(), key, change);
    if (!change.value.isNull()) continue;
    g_key_file_set_string(file.get(), kValues, escapedKey(key).c_str(), "");
    g_key_file_set_string(file.get(), kTypes, escapedKey(key).c_str(), kRemoved);
  }
  const GStringPtr unique(g_uuid_string_random());
  return replacePrivateFile(path_ + kHandedOver + unique.get(), textOf(file.get()));
}

std::vector<std::string> DefaultsFile::handedOver() const {
  std::vector<std::pair<std::int64_t, std::string>> found;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder(path_), error)) {
    const std::string name = entry.path().string();
    struct stat status {};
    // A temporary name has more after the unique part, and dots in it.
    const bool isOurs =
        name.starts_with(path_ + kHandedOver) && name.find('.', path_.size() + 1) == std::string::npos;
    if (isOurs && stat(name.c_str(), &status) == 0) found.emplace_back(nanoseconds(status.st_mtim), name);
  }
  std::sort(found.begin(), found.end());
  std::vector<std::string> paths;
  paths.reserve(found.size());
  for (auto& [time, path] : found) paths.push_back(std::move(path));
  return paths;
}

std::string DefaultsFile::claimPath(std::string_view key) const {
  return path_ + "." + escapedKey(key) + ".claim";
}

bool DefaultsFile::canHold(std::string_view key, const JsonValue& value) {
  return !key.empty() && (value.isNull() || typedTextOf(value));
}

}  // namespace vemora::gtk
