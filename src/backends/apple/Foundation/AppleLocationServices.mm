#include "backends/apple/ApplePorts.h"

#include <Vemora/Vemora.h>

#import <CoreLocation/CoreLocation.h>

#include <atomic>
#include <condition_variable>

namespace vemora::apple {

namespace {

/// What the platform last said about the permission to use the location.
class LocationAnswers {
 public:
  bool isEnabled() {
    const double deadline = dispatch().now() + kFirstAnswerTimeout;
    MutexLock lock(mutex_);
    while (!enabled_ && dispatch().waitUntil(mutex_, answered_, deadline)) {
    }
    return enabled_.value_or(false);
  }
  void setEnabled(bool enabled) {
    MutexLock lock(mutex_);
    enabled_ = enabled;
    answered_.notify_all();
  }

  LocationAuthorizationStatus status() const { return status_; }
  void setStatus(LocationAuthorizationStatus status) { status_ = status; }

 private:
  static constexpr double kFirstAnswerTimeout = 0.25;

  Mutex mutex_;  ///< Guards `enabled_`, absent until the first answer.
  std::condition_variable answered_;
  std::optional<bool> enabled_ VMR_GUARDED_BY(mutex_);
  std::atomic<LocationAuthorizationStatus> status_{LocationAuthorizationStatus::NotDetermined};
};

/// The question takes time and must not be asked on the main thread.
void askWhetherEnabled(const std::shared_ptr<LocationAnswers>& answers) {
  dispatch().globalAsync([answers] { answers->setEnabled([CLLocationManager locationServicesEnabled]); });
}

LocationAuthorizationStatus statusOf(CLLocationManager* manager) {
  if (@available(iOS 14.0, *)) return static_cast<LocationAuthorizationStatus>([manager authorizationStatus]);
  return static_cast<LocationAuthorizationStatus>([CLLocationManager authorizationStatus]);
}

void runOnMainThread(Dispatch::Work work) {
  if (dispatch().isMainThread()) return work();
  dispatch().mainAsync(std::move(work));
}

}  // namespace

}  // namespace vemora::apple

/// Follows the permission. Lives as long as the platform.
@interface VMRAuthorizationObserver : NSObject <CLLocationManagerDelegate>
@end
@implementation VMRAuthorizationObserver {
 @public
  std::shared_ptr<vemora::apple::LocationAnswers> _answers;
}
- (void)update:(CLLocationManager*)manager {
  _answers->setStatus(vemora::apple::statusOf(manager));
  vemora::apple::askWhetherEnabled(_answers);
}
- (void)locationManagerDidChangeAuthorization:(CLLocationManager*)manager {
  [self update:manager];
}
// Instead of the above on iOS 13.
- (void)locationManager:(CLLocationManager*)manager
    didChangeAuthorizationStatus:(CLAuthorizationStatus)status {
  [self update:manager];
}
@end

/// Passes the updates of one manager on.
@interface VMRLocationObserver : NSObject <CLLocationManagerDelegate>
@end
@implementation VMRLocationObserver {
 @public
  std::weak_ptr<vemora::LocationManagerDelegate> _delegate;
}
- (void)locationManager:(CLLocationManager*)manager didUpdateLocations:(NSArray*)locations {
  std::vector<vemora::Location> converted;
  for (CLLocation* location in locations) {
    const CLLocationCoordinate2D coordinate = [location coordinate];
    converted.push_back({coordinate.latitude, coordinate.longitude});
  }
  const auto delegate = _delegate.lock();
  if (delegate && !converted.empty()) delegate->locationManagerDidUpdateLocations(converted);
}
- (void)locationManager:(CLLocationManager*)manager didFailWithError:(NSError*)error {
  // Required by the platform. A manager that fails goes on trying.
  vemora::Vemora::log("No location yet");
}
@end

namespace vemora::apple {

namespace {

/// Its manager belongs to the main thread, whose run loop delivers the updates.
class AppleLocationManager final : public LocationManager {
 public:
  AppleLocationManager() {
    runOnMainThread([native = native_] {
      native->observer = [[VMRLocationObserver alloc] init];
      native->manager = [[CLLocationManager alloc] init];
      [native->manager setDelegate:native->observer];
    });
  }
  ~AppleLocationManager() override {
    runOnMainThread([native = native_] {
      [native->manager stopUpdatingLocation];
      [native->manager setDelegate:nil];
      native->manager = nil;
    });
  }

  void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override {
    runOnMainThread([native = native_, delegate] { native->observer->_delegate = delegate; });
  }
  void startUpdatingLocation() override {
    runOnMainThread([native = native_] { [native->manager startUpdatingLocation]; });
  }

 private:
  struct Native {
    CLLocationManager* manager = nil;
    VMRLocationObserver* observer = nil;
  };
  const std::shared_ptr<Native> native_ = std::make_shared<Native>();
};

class AppleLocationServices final : public LocationServices {
 public:
  /// The first use of the port may be on any thread.
  void watch() {
    if (started_.exchange(true)) return;
    askWhetherEnabled(answers_);
    runOnMainThread([this] {
      observer_ = [[VMRAuthorizationObserver alloc] init];
      observer_->_answers = answers_;
      manager_ = [[CLLocationManager alloc] init];
      [manager_ setDelegate:observer_];
      answers_->setStatus(statusOf(manager_));
    });
  }

  bool locationServicesEnabled() override {
    watch();
    return answers_->isEnabled();
  }
  LocationAuthorizationStatus authorizationStatus() override {
    watch();
    return answers_->status();
  }
  std::unique_ptr<LocationManager> createLocationManager() override {
    return std::make_unique<AppleLocationManager>();
  }

 private:
  const std::shared_ptr<LocationAnswers> answers_ = std::make_shared<LocationAnswers>();
  std::atomic<bool> started_{false};
  CLLocationManager* manager_ = nil;
  VMRAuthorizationObserver* observer_ = nil;
};

}  // namespace

std::unique_ptr<LocationServices> makeLocationServices() {
  return std::make_unique<AppleLocationServices>();
}

}  // namespace vemora::apple
