#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sockaddr;

namespace vemora {

/// Flags of a network target, with the values of the platform facility that they come from.
enum NetworkReachabilityFlags : std::uint32_t {
  NetworkReachabilityTransientConnection = 1u << 0,
  NetworkReachabilityReachable = 1u << 1,
  NetworkReachabilityConnectionRequired = 1u << 2,
  NetworkReachabilityConnectionOnTraffic = 1u << 3,
  NetworkReachabilityInterventionRequired = 1u << 4,
  NetworkReachabilityConnectionOnDemand = 1u << 5,
  NetworkReachabilityIsLocalAddress = 1u << 16,
  NetworkReachabilityIsDirect = 1u << 17,
  NetworkReachabilityIsWWAN = 1u << 18,
};

/// A handle on one network target.
///
/// Lifetime: belongs to the caller; no callback runs after it was unscheduled or destroyed.
/// Threads: `flags` from any thread. Scheduling is for the calling thread's run loop, and is undone on the
/// same thread.
/// Completion: the callback runs on the run loop that it was scheduled with, after each change of the flags.
/// Errors: `flags` is absent when they cannot be read; scheduling returns false when it is not possible.
class NetworkReachability {
 public:
  virtual ~NetworkReachability() = default;
  virtual std::optional<std::uint32_t> flags() = 0;
  virtual bool setCallback(std::function<void()> callback) = 0;
  virtual bool scheduleWithRunLoop() = 0;
  virtual void unscheduleFromRunLoop() = 0;
};

class NetworkReachabilityFactory {
 public:
  virtual ~NetworkReachabilityFactory() = default;
  /// Null when the platform gives no handle.
  virtual std::unique_ptr<NetworkReachability> createWithName(std::string_view hostName) = 0;
  virtual std::unique_ptr<NetworkReachability> createWithAddress(const sockaddr& address) = 0;
};

}  // namespace vemora
