#pragma once

#include "base/Mutex.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace vemora::gtk {

/// The application's information dictionary: what the host entered, and else what GLib knows of the
/// application. Any thread.
class InfoDictionary {
 public:
  static InfoDictionary& shared();

  void setEntry(std::string_view key, std::optional<std::string> value);
  std::optional<std::string> entry(std::string_view key) const;

 private:
  /// Guards the entries.
  mutable Mutex mutex_;
  std::map<std::string, std::string, std::less<>> entries_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora::gtk
