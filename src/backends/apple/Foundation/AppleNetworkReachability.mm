#include "backends/apple/ApplePorts.h"

#import <SystemConfiguration/SystemConfiguration.h>

#include <string>

namespace vemora::apple {

namespace {

using Callback = std::function<void()>;

/// What the platform holds is a copy of its own, so that a callback that is under way outlives the handle.
const void* retainCallback(const void* callback) {
  return new std::shared_ptr<Callback>(*static_cast<const std::shared_ptr<Callback>*>(callback));
}
void releaseCallback(const void* callback) {
  delete static_cast<const std::shared_ptr<Callback>*>(callback);
}
void runCallback(SCNetworkReachabilityRef, SCNetworkReachabilityFlags, void* callback) {
  @autoreleasepool {
    const std::shared_ptr<Callback> held = *static_cast<std::shared_ptr<Callback>*>(callback);
    (*held)();
  }
}

class AppleNetworkReachability final : public NetworkReachability {
 public:
  explicit AppleNetworkReachability(SCNetworkReachabilityRef target) : target_(target) {}
  ~AppleNetworkReachability() override {
    unscheduleFromRunLoop();
    SCNetworkReachabilitySetCallback(target_, nullptr, nullptr);
    CFRelease(target_);
  }

  std::optional<std::uint32_t> flags() override {
    SCNetworkReachabilityFlags flags = 0;
    return SCNetworkReachabilityGetFlags(target_, &flags) ? std::optional<std::uint32_t>(flags)
                                                          : std::nullopt;
  }

  bool setCallback(Callback callback) override {
    auto held = std::make_shared<Callback>(std::move(callback));
    SCNetworkReachabilityContext context = {0, &held, retainCallback, releaseCallback, nullptr};
    return SCNetworkReachabilitySetCallback(target_, runCallback, &context);
  }

  bool scheduleWithRunLoop() override {
    unscheduleFromRunLoop();
    CFRunLoopRef current = CFRunLoopGetCurrent();
    if (!SCNetworkReachabilityScheduleWithRunLoop(target_, current, kCFRunLoopDefaultMode)) return false;
    CFRetain(current);
    runLoop_ = current;
    return true;
  }

  void unscheduleFromRunLoop() override {
    if (!runLoop_) return;
    SCNetworkReachabilityUnscheduleFromRunLoop(target_, runLoop_, kCFRunLoopDefaultMode);
    CFRelease(runLoop_);
    runLoop_ = nullptr;
  }

 private:
  const SCNetworkReachabilityRef target_;
  CFRunLoopRef runLoop_ = nullptr;  ///< Where it is scheduled; null when it is not.
};

std::unique_ptr<NetworkReachability> handleFor(SCNetworkReachabilityRef target) {
  return target ? std::make_unique<AppleNetworkReachability>(target) : nullptr;
}

class AppleNetworkReachabilityFactory final : public NetworkReachabilityFactory {
 public:
  std::unique_ptr<NetworkReachability> createWithName(std::string_view hostName) override {
    return handleFor(SCNetworkReachabilityCreateWithName(kCFAllocatorDefault, std::string(hostName).c_str()));
  }
  std::unique_ptr<NetworkReachability> createWithAddress(const sockaddr& address) override {
    return handleFor(SCNetworkReachabilityCreateWithAddress(kCFAllocatorDefault, &address));
  }
};

}  // namespace

std::unique_ptr<NetworkReachabilityFactory> makeNetworkReachability() {
  return std::make_unique<AppleNetworkReachabilityFactory>();
}

}  // namespace vemora::apple
