#pragma once

#include "base/Mutex.h"

#include <optional>
#include <string>

namespace vemora::gtk {

/// The user's choice about ad tracking in one application, and the identifier that goes with it, in a file
/// that only the user can read. Tracking is limited until the user opts in. Each opt-in makes a new
/// identifier, and limiting deletes it. Thread-safe.
class AdvertisingChoice {
 public:
  /// The choice for this application.
  static AdvertisingChoice& ofApplication();

  explicit AdvertisingChoice(std::string path) : path_(std::move(path)) {}

  /// Upper-case UUID text; all zeros while tracking is limited.
  std::string identifier() const;
  bool isTrackingEnabled() const;
  /// A choice that cannot be written holds for this process, and is logged. When two threads choose at the
  /// same time, the last one to write decides.
  void setTrackingEnabled(bool enabled);

 private:
  std::optional<std::string> currentIdentifier() const;

  const std::string path_;

  mutable Mutex mutex_;  ///< Guards the choice that could not be written.
  bool hasUnwrittenChoice_ VMR_GUARDED_BY(mutex_) = false;
  std::optional<std::string> unwrittenIdentifier_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora::gtk
