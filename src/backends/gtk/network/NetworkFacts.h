#pragma once

#include <gio/gio.h>
#include <sys/socket.h>

#include <cstdint>
#include <string>

namespace vemora::gtk {

enum class InterfaceKind {
  Wired,  ///< Also the default for unknown kinds.
  WiFi,
  WWAN,  ///< A modem's.
  Loopback,
  PointToPoint,  ///< Dialled or tunnelled: PPP and VPNs.
};

/// What is known about the route to a network target.
struct NetworkFacts {
  bool routed = false;  ///< The kernel has a route to it, over an interface that is up.
  InterfaceKind kind = InterfaceKind::Wired;
  bool ownAddress = false;     ///< The target is this machine.
  bool onLink = false;         ///< Reached without a router.
  bool captivePortal = false;  ///< The network requires a sign-in first.
};

/// Converts the facts to NetworkReachabilityFlags.
std::uint32_t flagsForFacts(const NetworkFacts& facts);

/// The kind of an interface by what the kernel says of it under `sysfs` ("/sys").
InterfaceKind interfaceKind(const std::string& sysfs, const std::string& name);

/// The route to one address. The zero address of either family means the Internet as a whole. Sends nothing
/// and does not block. `connectivity` is what the network monitor knows; it counts for targets beyond the
/// own link.
NetworkFacts factsForAddress(const sockaddr& address, GNetworkConnectivity connectivity,
                             const std::string& sysfs = "/sys");

}  // namespace vemora::gtk
