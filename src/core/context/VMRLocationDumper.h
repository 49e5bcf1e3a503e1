#pragma once

#include "base/Mutex.h"
#include "core/bridge/VMRFuture.h"
#include "ports/LocationServices.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

/// The device's country and, where the application is already authorised to know it, its location. Never
/// asks the user. Any thread.
class VMRLocationDumper final : public LocationManagerDelegate,
                                public std::enable_shared_from_this<VMRLocationDumper> {
 public:
  /// Reads the country and starts monitoring. Never null.
  static std::shared_ptr<VMRLocationDumper> init();

  /// True when location services are on and the application is authorised.
  bool canMonitorLocation();
  /// Starts location updates if `canMonitorLocation`; a no-op otherwise, and when already started.
  void startMonitoring();
  /// The latest fix. Before the first one it blocks for it, up to five seconds, if `canMonitorLocation`;
  /// absent when none arrived.
  std::optional<Location> currentLocation();
  /// Stores the last of the locations.
  void locationManagerDidUpdateLocations(const std::vector<Location>& locations) override;

  /// ISO 3166-1 alpha-2 code of the locale. Read once; absent when the locale has none.
  const std::optional<std::string>& countryCode() const { return countryCode_; }
  /// The country's name in the locale's language; absent with the code.
  const std::optional<std::string>& countryName() const { return countryName_; }

 private:
  VMRLocationDumper();

  Mutex mutex_;  ///< Guards the three fields below; not held while waiting or calling out.
  std::unique_ptr<LocationManager> locManager_ VMR_GUARDED_BY(mutex_);
  std::optional<Location> currentLocation_ VMR_GUARDED_BY(mutex_);
  /// Resolved and released with the first fix.
  std::shared_ptr<VMRFuture> initialLocation_ VMR_GUARDED_BY(mutex_);
  std::optional<std::string> countryCode_;
  std::optional<std::string> countryName_;
};

}  // namespace vemora
