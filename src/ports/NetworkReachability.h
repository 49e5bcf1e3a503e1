#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct sockaddr;

namespace vemora {

/// The state of a network target, with the bit values of the system-configuration reachability interface.
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

/// A handle for one network target.
///
/// Lifetime: Belongs to the caller. No callback runs after it has been unscheduled or destroyed.
///
/// Threads: `flags` is thread-safe. Scheduling applies to the run loop of the calling thread, and
/// unscheduling belongs to the same thread.
///
/// Completion: After each change of the flags the callback runs on the run loop that it is scheduled with.
///
/// Errors: `flags` is absent when the flags cannot be read. Scheduling returns false when it is not
/// possible.
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
  /// Null when the platform does not provide a handle.
  virtual std::unique_ptr<NetworkReachability> createWithName(std::string_view hostName) = 0;
  virtual std::unique_ptr<NetworkReachability> createWithAddress(const sockaddr& address) = 0;
};

}  // namespace vemora
