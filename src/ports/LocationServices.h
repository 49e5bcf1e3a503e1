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

/// Updates run from `startUpdatingLocation` until it is destroyed. The delegate is held weakly.
class LocationManager {
 public:
  virtual ~LocationManager() = default;
  virtual void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) = 0;
  virtual void startUpdatingLocation() = 0;
};

/// Where the device is, for applications that may already know. Nothing here ever asks the user.
///
/// Lifetime: as long as the platform; managers belong to the caller.
/// Threads: the questions from any thread; managers are made and destroyed anywhere, and their delegate is
/// called on the thread that made them if that is the main thread, else on one of the platform's.
/// Completion: answers are immediate and from what is known; the first one may lag behind a change.
/// Errors: without a location service `locationServicesEnabled` is false.
class LocationServices {
 public:
  virtual ~LocationServices() = default;
  virtual bool locationServicesEnabled() = 0;
  virtual LocationAuthorizationStatus authorizationStatus() = 0;
  virtual std::unique_ptr<LocationManager> createLocationManager() = 0;
};

}  // namespace vemora
