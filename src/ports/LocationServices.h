#pragma once

#include <memory>
#include <vector>

namespace vemora {

struct Location {
  double latitude = 0;   ///< Degrees, WGS 84.
  double longitude = 0;  ///< Degrees, WGS 84.
};

enum class LocationAuthorizationStatus {
  NotDetermined = 0,
  Restricted = 1,
  Denied = 2,
  AuthorizedAlways = 3,
  AuthorizedWhenInUse = 4,
};

class LocationManagerDelegate {
 public:
  virtual ~LocationManagerDelegate() = default;
  /// Never empty; the latest last.
  virtual void locationManagerDidUpdateLocations(const std::vector<Location>& locations) = 0;
};

/// Delivers updates from `startUpdatingLocation` until it is destroyed. Holds its delegate weakly.
class LocationManager {
 public:
  virtual ~LocationManager() = default;
  virtual void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) = 0;
  virtual void startUpdatingLocation() = 0;
};

/// The location of the device, for applications that already have permission. Never asks the user.
///
/// Lifetime: As long as the platform. Managers belong to the caller.
///
/// Threads: Thread-safe. A manager may be made and destroyed on any thread. Its delegate is called on the
/// main thread if the manager was made there, otherwise on the main thread or a background thread.
///
/// Completion: Results are what the platform said last; no call asks it anew. The first call may wait up to a
/// quarter of a second for the first answer, and later ones may be out of date for a moment after a change.
///
/// Errors: Without a location service `locationServicesEnabled` is false.
class LocationServices {
 public:
  virtual ~LocationServices() = default;
  virtual bool locationServicesEnabled() = 0;
  virtual LocationAuthorizationStatus authorizationStatus() = 0;
  virtual std::unique_ptr<LocationManager> createLocationManager() = 0;
};

}  // namespace vemora
