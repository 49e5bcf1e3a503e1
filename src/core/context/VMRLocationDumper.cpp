#include "core/context/VMRLocationDumper.h"

#include "ports/Platform.h"

namespace vemora {

namespace {

constexpr double kFirstFixTimeout = 5.0;

}  // namespace

VMRLocationDumper::VMRLocationDumper() {
  Bundle& bundle = Platform::shared().bundle();
  countryCode_ = bundle.countryCode();
  if (countryCode_) countryName_ = bundle.displayNameForCountryCode(*countryCode_);
}

std::shared_ptr<VMRLocationDumper> VMRLocationDumper::init() {
  std::shared_ptr<VMRLocationDumper> dumper(new VMRLocationDumper);
  dumper->startMonitoring();
  return dumper;
}

bool VMRLocationDumper::canMonitorLocation() {
  LocationServices& services = Platform::shared().locationServices();
  if (!services.locationServicesEnabled()) return false;
  const LocationAuthorizationStatus status = services.authorizationStatus();
  return status == LocationAuthorizationStatus::AuthorizedAlways ||
         status == LocationAuthorizationStatus::AuthorizedWhenInUse;
}

void VMRLocationDumper::startMonitoring() {
  // Checked only here: an application that is authorised later never gets a fix. Kept on purpose.
  std::unique_ptr<LocationManager> made;
  if (canMonitorLocation()) made = Platform::shared().locationServices().createLocationManager();
  LocationManager* started = nullptr;
  {
    MutexLock lock(mutex_);
    if (!initialLocation_) initialLocation_ = VMRFuture::init();
    if (!locManager_ && made) {
      locManager_ = std::move(made);
      started = locManager_.get();
    }
  }
  if (!started) return;
  started->setDelegate(weak_from_this());
  started->startUpdatingLocation();
}

std::optional<Location> VMRLocationDumper::currentLocation() {
  std::shared_ptr<VMRFuture> firstFix;
  {
    MutexLock lock(mutex_);
    if (currentLocation_) return currentLocation_;
    firstFix = initialLocation_;
  }
  if (firstFix && canMonitorLocation()) firstFix->wait(kFirstFixTimeout);
  MutexLock lock(mutex_);
  return currentLocation_;
}

void VMRLocationDumper::locationManagerDidUpdateLocations(const std::vector<Location>& locations) {
  if (locations.empty()) return;
  std::shared_ptr<VMRFuture> firstFix;
  {
    MutexLock lock(mutex_);
    currentLocation_ = locations.back();
    firstFix.swap(initialLocation_);
  }
  if (firstFix) firstFix->resolve(locations.back());
}

}  // namespace vemora
