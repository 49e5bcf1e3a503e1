#pragma once

#include "ports/NetworkReachability.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace vemora {

/// Posted on the default notification centre, with the reachability object, when the network changed.
inline constexpr char kReachabilityChangedNotification[] = "kNetworkReachabilityChangedNotification";

enum VMRNetworkStatus : int { VMRNotReachable = 0, VMRReachableViaWiFi = 1, VMRReachableViaWWAN = 2 };

/// Whether, and over what, a network target can be reached. The answers come from any thread; the notifier
/// belongs to the run loop of the thread that starts it, which must be the one that stops it and lets go of
/// the object.
class VMRReachability : public std::enable_shared_from_this<VMRReachability> {
 public:
  /// Null when the platform gives no handle.
  static std::shared_ptr<VMRReachability> reachabilityWithHostName(std::string_view hostName);
  static std::shared_ptr<VMRReachability> reachabilityWithAddress(const sockaddr& address);
  static std::shared_ptr<VMRReachability> reachabilityForInternetConnection();
  ~VMRReachability();

  /// True when changes will be announced on the calling thread's run loop from now on.
  bool startNotifier();
  void stopNotifier();

  bool connectionRequired();
  VMRNetworkStatus currentReachabilityStatus();
  VMRNetworkStatus wifiReachabilityStatus();
  VMRNetworkStatus networkStatusForFlags(std::uint32_t flags);
  VMRNetworkStatus localWiFiStatusForFlags(std::uint32_t flags);

 private:
  explicit VMRReachability(std::unique_ptr<NetworkReachability> reference)
      : reachabilityRef(std::move(reference)) {}
  static std::shared_ptr<VMRReachability> with(std::unique_ptr<NetworkReachability> reference);

  const std::unique_ptr<NetworkReachability> reachabilityRef;
};

}  // namespace vemora
