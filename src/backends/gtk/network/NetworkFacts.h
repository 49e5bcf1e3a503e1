#pragma once

#include <gio/gio.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

namespace vemora::gtk {

enum class InterfaceKind {
  Wired,  ///< Also whatever is not known to be something else.
  WiFi,
  WWAN,  ///< A modem's.
  Loopback,
  PointToPoint,  ///< Dialled or tunnelled: PPP and VPNs.
};

/// What is known of the way to a network target.
struct NetworkFacts {
  bool routed = false;  ///< The kernel has a way to it, over an interface that is up.
  InterfaceKind kind = InterfaceKind::Wired;
  bool ownAddress = false;     ///< The target is this machine.
  bool onLink = false;         ///< No router stands between.
  bool captivePortal = false;  ///< The network wants somebody to sign in first.
};

/// The NetworkReachabilityFlags that say the same.
std::uint32_t flagsForFacts(const NetworkFacts& facts);

/// The kind of an interface by what the kernel says of it under `sysfs` ("/sys").
InterfaceKind interfaceKind(const std::string& sysfs, const std::string& name);

/// The way to one address. The zero address of either family stands for the Internet at large. Sends nothing,
/// and returns at once. `connectivity` is what the network monitor knows; it counts for targets beyond the
/// own link.
NetworkFacts factsForAddress(const sockaddr& address, GNetworkConnectivity connectivity,
                             const std::string& sysfs = "/sys");

}  // namespace vemora::gtk
