#pragma once

#include "base/Mutex.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vemora::gtk {

/// The application's information dictionary: the entries of the host and, where it has set none, what GLib
/// knows about the application. Thread-safe.
class InfoDictionary {
 public:
  static InfoDictionary& shared();

  void setEntry(std::string_view key, std::optional<std::string> value);
  std::optional<std::string> entry(std::string_view key) const;

 private:
  mutable Mutex mutex_;  ///< Guards the entries.
  std::map<std::string, std::string, std::less<>> entries_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora::gtk
