#include "backends/gtk/base/InfoDictionary.h"

#include <gio/gio.h>

#include <utility>

namespace vemora::gtk {

namespace {

std::optional<std::string> optionalText(const char* text) {
  return text && *text ? std::optional<std::string>(text) : std::nullopt;
}

std::optional<std::string> applicationIdentifier() {
  GApplication* application = g_application_get_default();
  return application ? optionalText(g_application_get_application_id(application)) : std::nullopt;
}

/// GLib returns the program's name when the application has set none.
std::optional<std::string> applicationName() {
  const char* name = g_get_application_name();
  return name == g_get_prgname() ? std::nullopt : optionalText(name);
}

}  // namespace

InfoDictionary& InfoDictionary::shared() {
  static InfoDictionary& dictionary = *new InfoDictionary;
  return dictionary;
}

void InfoDictionary::setEntry(std::string_view key, std::optional<std::string> value) {
  MutexLock lock(mutex_);
  if (value) {
    entries_.insert_or_assign(std::string(key), std::move(*value));
  } else if (const auto found = entries_.find(key); found != entries_.end()) {
    entries_.erase(found);
  }
}

std::optional<std::string> InfoDictionary::entry(std::string_view key) const {
  {
    MutexLock lock(mutex_);
    if (const auto found = entries_.find(key); found != entries_.end()) return found->second;
  }
  if (key == "CFBundleIdentifier") return applicationIdentifier();
  if (key == "CFBundleName") return applicationName();
  return std::nullopt;
}

}  // namespace vemora::gtk
