#include "backends/gtk/system/AdvertisingChoice.h"

#include "backends/glib/GLibSystem.h"
#include "backends/gtk/base/PrivateFile.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <glib.h>

#include <algorithm>

namespace vemora::gtk {

namespace {

constexpr char kLimited[] = "00000000-0000-0000-0000-000000000000";

/// The file holds one line: the identifier of a user who opted in, or nothing.
std::optional<std::string> identifierIn(std::string text) {
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (text == kLimited || !g_uuid_string_is_valid(text.c_str())) return std::nullopt;
  std::transform(text.begin(), text.end(), text.begin(), g_ascii_toupper);
  return text;
}

}  // namespace

AdvertisingChoice& AdvertisingChoice::shared() {
  static AdvertisingChoice& choice = *new AdvertisingChoice(privateFilePath("advertising-identifier"));
  return choice;
}

std::string AdvertisingChoice::identifier() const {
  return currentIdentifier().value_or(kLimited);
}

bool AdvertisingChoice::isTrackingEnabled() const {
  return currentIdentifier().has_value();
}

std::optional<std::string> AdvertisingChoice::currentIdentifier() const {
  {
    MutexLock lock(mutex_);
    if (hasUnwrittenChoice_) return unwrittenIdentifier_;
  }
  return identifierIn(readFile(path_).value_or(""));
}

void AdvertisingChoice::setTrackingEnabled(bool enabled) {
  if (enabled == isTrackingEnabled()) return;
  const std::optional<std::string> identifier = enabled ? std::optional(glib::newUUIDString()) : std::nullopt;
  MutexLock lock(mutex_);
  hasUnwrittenChoice_ = !replacePrivateFile(path_, identifier ? *identifier + "\n" : "");
  unwrittenIdentifier_ = hasUnwrittenChoice_ ? identifier : std::nullopt;
  if (hasUnwrittenChoice_) {
    g_log_structured("Vemora", G_LOG_LEVEL_WARNING, "MESSAGE",
                     "The choice about ad tracking could not be written to %s", path_.c_str());
  }
}

bool isAdvertisingTrackingEnabled() {
  return AdvertisingChoice::shared().isTrackingEnabled();
}

void setAdvertisingTrackingEnabled(bool enabled) {
  AdvertisingChoice::shared().setTrackingEnabled(enabled);
}

}  // namespace vemora::gtk
