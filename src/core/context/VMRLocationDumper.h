#pragma once

#include "base/Mutex.h"
#include "core/bridge/VMRFuture.h"
#include "ports/LocationServices.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

/// The device's country and, where the application may already know it, its location. Never asks the user.
/// Any thread.
class VMRLocationDumper final : public LocationManagerDelegate,
                                public std::enable_shared_from_this<VMRLocationDumper> {
 public:
  static std::shared_ptr<VMRLocationDumper> init();

  bool canMonitorLocation();
  void startMonitoring();
  /// The latest fix. Without one yet it waits for the first, up to five seconds, if the application may know
  /// it.
  std::optional<Location> currentLocation();
  void locationManagerDidUpdateLocations(const std::vector<Location>& locations) override;

  /// ISO 3166-1 alpha-2 code of the locale, and its name in the locale's language; read once.
  const std::optional<std::string>& countryCode() const { return countryCode_; }
  const std::optional<std::string>& countryName() const { return countryName_; }

 private:
  VMRLocationDumper();

  Mutex mutex_;  ///< Guards the three fields below; not held while waiting or calling out.
  std::unique_ptr<LocationManager> locManager_ VMR_GUARDED_BY(mutex_);
  std::optional<Location> currentLocation_ VMR_GUARDED_BY(mutex_);
  /// Settled and dropped with the first fix.
  std::shared_ptr<VMRFuture> initialLocation_ VMR_GUARDED_BY(mutex_);
  std::optional<std::string> countryCode_;
  std::optional<std::string> countryName_;
};

}  // namespace vemora
