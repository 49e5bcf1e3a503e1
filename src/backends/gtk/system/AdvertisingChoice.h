#pragma once

#include "base/Mutex.h"

#include <optional>
#include <string>

namespace vemora::gtk {

/// The user's choice about ad tracking and the identifier that goes with it, in a file that all applications
/// of the user share and nobody else can read. Tracking is limited until somebody opts in; each opting in
/// makes a new identifier, and limiting forgets it. Any thread.
class AdvertisingChoice {
 public:
  static AdvertisingChoice& shared();

  explicit AdvertisingChoice(std::string path) : path_(std::move(path)) {}

  /// Upper-case UUID text; all zeros while tracking is limited.
  std::string identifier() const;
  bool isTrackingEnabled() const;
  /// A choice that cannot be written holds for this process, and is logged.
  void setTrackingEnabled(bool enabled);

 private:
  std::optional<std::string> currentIdentifier() const;

  const std::string path_;

  /// Guards the choice that could not be written; held while the file is written.
  mutable Mutex mutex_;
  bool hasUnwrittenChoice_ VMR_GUARDED_BY(mutex_) = false;
  std::optional<std::string> unwrittenIdentifier_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora::gtk
