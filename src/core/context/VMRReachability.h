#pragma once

#include "ports/NetworkReachability.h"

#include <cstdint>
#include <memory>
#include <string_view>

namespace vemora {

/// Posted on the default notification centre when the network changed; the object is the `VMRReachability`.
inline constexpr char kReachabilityChangedNotification[] = "kNetworkReachabilityChangedNotification";

enum VMRNetworkStatus : int { VMRNotReachable = 0, VMRReachableViaWiFi = 1, VMRReachableViaWWAN = 2 };

/// Whether a network target can be reached, and over what kind of network. Status operations may be called
/// from any thread. The notifier belongs to the run loop of the thread that starts it; the same thread must
/// stop it and release the object.
class VMRReachability : public std::enable_shared_from_this<VMRReachability> {
 public:
  /// Reachability of a host. Null when the platform gives no handle.
  static std::shared_ptr<VMRReachability> reachabilityWithHostName(std::string_view hostName);
  /// Reachability of an address, in the same way.
  static std::shared_ptr<VMRReachability> reachabilityWithAddress(const sockaddr& address);
  /// Reachability of the address 0.0.0.0, that is of a default route.
  static std::shared_ptr<VMRReachability> reachabilityForInternetConnection();
  ~VMRReachability();

  /// Starts posting `kReachabilityChangedNotification` on the calling thread's run loop. False when the
  /// platform refuses.
  bool startNotifier();
  /// Stops posting; a no-op when it was not started. The destructor does it too.
  void stopNotifier();

  /// True when a connection must be established first.
  bool connectionRequired();
  /// The current status; `VMRNotReachable` when the platform does not know.
  VMRNetworkStatus currentReachabilityStatus();
  /// Whether a peer on the local Wi-Fi can be reached, in the same way.
  VMRNetworkStatus wifiReachabilityStatus();
  /// The status that a set of `NetworkReachabilityFlags` means.
  VMRNetworkStatus networkStatusForFlags(std::uint32_t flags);
  /// The local Wi-Fi status that a set of flags means.
  VMRNetworkStatus localWiFiStatusForFlags(std::uint32_t flags);

 private:
  explicit VMRReachability(std::unique_ptr<NetworkReachability> reference)
      : reachabilityRef_(std::move(reference)) {}
  static std::shared_ptr<VMRReachability> with(std::unique_ptr<NetworkReachability> reference);

  const std::unique_ptr<NetworkReachability> reachabilityRef_;
};

}  // namespace vemora
