#include "backends/gtk/system/AdvertisingChoice.h"

#include "backends/glib/GLibSystem.h"
#include "backends/gtk/base/PrivateFile.h"

#include <Vemora/Vemora.h>

#include <glib.h>

#include <algorithm>
#include <map>

namespace vemora::gtk {

namespace {

constexpr char kLimited[] = "00000000-0000-0000-0000-000000000000";

/// The file holds one line with the identifier of a user who opted in, or nothing.
std::optional<std::string> identifierIn(std::string text) {
  if (!text.empty() && text.back() == '\n') text.pop_back();
  if (text == kLimited || !g_uuid_string_is_valid(text.c_str())) return std::nullopt;
  std::transform(text.begin(), text.end(), text.begin(), g_ascii_toupper);
  return text;
}

}  // namespace

AdvertisingChoice& AdvertisingChoice::ofApplication() {
  struct Choices {
    Mutex mutex;  ///< Guards `byPath`.
    std::map<std::string, AdvertisingChoice> byPath VMR_GUARDED_BY(mutex);
  };
  static Choices& choices = *new Choices;
  // A host may set its identifier late, so each call looks at it.
  const std::string path = applicationFilePath(".advertising-identifier");
  MutexLock lock(choices.mutex);
  return choices.byPath.try_emplace(path, path).first->second;
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
  const bool isWritten = replacePrivateFile(path_, identifier ? *identifier + "\n" : "");
  if (!isWritten) Vemora::logError("The choice about ad tracking cannot be written to " + path_);
  MutexLock lock(mutex_);
  hasUnwrittenChoice_ = !isWritten;
  unwrittenIdentifier_ = isWritten ? std::nullopt : identifier;
}

}  // namespace vemora::gtk
