#include "backends/apple/ApplePorts.h"
#include "backends/apple/Foundation/Conversions.h"
#include "base/Mutex.h"

#import <AdSupport/AdSupport.h>
#import <AppTrackingTransparency/AppTrackingTransparency.h>
#import <UIKit/UIKit.h>

namespace vemora::apple {

namespace {

struct DeviceFacts {
  std::optional<std::string> model;
  std::optional<std::string> systemName;
  std::optional<std::string> systemVersion;
  std::optional<std::string> identifierForVendor;
  UserInterfaceIdiom idiom = UserInterfaceIdiom::Unspecified;
};

DeviceFacts gatheredFacts() {
  UIDevice* device = [UIDevice currentDevice];
  return {toOptionalString([device model]), toOptionalString([device systemName]),
          toOptionalString([device systemVersion]),
          toOptionalString([[device identifierForVendor] UUIDString]),
          static_cast<UserInterfaceIdiom>([device userInterfaceIdiom])};
}

class AppleDevice final : public Device {
 public:
  std::optional<std::string> model() override { return facts().model; }
  std::optional<std::string> systemName() override { return facts().systemName; }
  std::optional<std::string> systemVersion() override { return facts().systemVersion; }
  std::optional<std::string> identifierForVendor() override { return facts().identifierForVendor; }
  UserInterfaceIdiom userInterfaceIdiom() override { return facts().idiom; }

  std::optional<std::string> advertisingIdentifier() override {
    facts();
    @autoreleasepool {
      return toOptionalString([[[ASIdentifierManager sharedManager] advertisingIdentifier] UUIDString]);
    }
  }

  /// Asks for the status only. Asking the user is the application's decision.
  bool isAdvertisingTrackingEnabled() override {
    @autoreleasepool {
      if (@available(iOS 14.0, *)) {
        return
            [ATTrackingManager trackingAuthorizationStatus] == ATTrackingManagerAuthorizationStatusAuthorized;
      }
      return [[ASIdentifierManager sharedManager] isAdvertisingTrackingEnabled];
    }
  }

  bool hasTelephonyNetworkInfo() override { return NSClassFromString(@"CTTelephonyNetworkInfo") != Nil; }
  /// Looking at the status bar ends the process from iOS 13 on.
  std::optional<int> statusBarDataNetworkType() override { return std::nullopt; }

 private:
  /// Gathered by the first call on the main thread; unknown until then.
  DeviceFacts facts() {
    MutexLock lock(mutex_);
    if (!facts_ && [NSThread isMainThread]) {
      @autoreleasepool {
        facts_ = gatheredFacts();
      }
    }
    return facts_.value_or(DeviceFacts());
  }

  Mutex mutex_;  ///< Guards the facts.
  std::optional<DeviceFacts> facts_ VMR_GUARDED_BY(mutex_);
};

}  // namespace

std::unique_ptr<Device> makeDevice() {
  return std::make_unique<AppleDevice>();
}

}  // namespace vemora::apple
