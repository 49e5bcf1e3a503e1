#include "backends/gtk/network/NetworkFacts.h"

#include "backends/gtk/base/GObjectPtr.h"
#include "ports/NetworkReachability.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace vemora::gtk {

namespace {

constexpr in_port_t kDiscardPort = 9;

/// An IPv4 or IPv6 socket address.
class SocketAddress {
 public:
  /// Absent for other families.
  static std::optional<SocketAddress> from(const sockaddr* address) {
    if (!address || (address->sa_family != AF_INET && address->sa_family != AF_INET6)) return std::nullopt;
    SocketAddress copy;
    std::memcpy(&copy.storage_, address, copy.sizeOf(address->sa_family));
    return copy;
  }
  static SocketAddress fromText(int family, const char* text) {
    SocketAddress address;
    address.storage_.ss_family = static_cast<sa_family_t>(family);
    inet_pton(family, text, address.bytes());
    return address;
  }

  int family() const { return storage_.ss_family; }
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&storage_); }
  sockaddr* get() { return reinterpret_cast<sockaddr*>(&storage_); }
  socklen_t size() const { return sizeOf(storage_.ss_family); }

  std::size_t byteCount() const { return family() == AF_INET ? sizeof(in_addr) : sizeof(in6_addr); }
  const unsigned char* bytes() const {
    return family() == AF_INET ? reinterpret_cast<const unsigned char*>(
                                     &reinterpret_cast<const sockaddr_in&>(storage_).sin_addr)
                               : reinterpret_cast<const unsigned char*>(
                                     &reinterpret_cast<const sockaddr_in6&>(storage_).sin6_addr);
  }
  unsigned char* bytes() { return const_cast<unsigned char*>(std::as_const(*this).bytes()); }

  void setPort(in_port_t port) {
    auto& field = family() == AF_INET ? reinterpret_cast<sockaddr_in&>(storage_).sin_port
                                      : reinterpret_cast<sockaddr_in6&>(storage_).sin6_port;
    field = htons(port);
  }

  bool isZero() const { return isSameAs(fromText(family(), family() == AF_INET ? "0.0.0.0" : "::")); }
  bool isSameAs(const SocketAddress& other) const { return isWithin(other, nullptr); }
  /// Compares the bits that are set in `mask`, all of them without one.
  bool isWithin(const SocketAddress& network, const SocketAddress* mask) const {
    if (family() != network.family() || (mask && mask->family() != family())) return false;
    for (std::size_t i = 0; i < byteCount(); ++i) {
      if ((bytes()[i] ^ network.bytes()[i]) & (mask ? mask->bytes()[i] : 0xff)) return false;
    }
    return true;
  }

 private:
  SocketAddress() = default;
  static socklen_t sizeOf(sa_family_t family) {
    return family == AF_INET ? sizeof(sockaddr_in) : sizeof(sockaddr_in6);
  }

  sockaddr_storage storage_{};
};

std::string firstLine(const std::string& path) {
  std::string line;
  std::ifstream file(path);
  std::getline(file, line);
  return line;
}

/// DEVTYPE from the device's uevent: "wlan", "wwan", "wireguard" and so on.
std::string deviceType(const std::string& device) {
  constexpr std::string_view key = "DEVTYPE=";
  std::ifstream file(device + "/uevent");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(key)) return line.substr(key.size());
  }
  return {};
}

bool hasModemDriver(const std::string& device) {
  static constexpr std::string_view drivers[] = {"cdc_mbim", "qmi_wwan", "huawei_cdc_ncm", "sierra_net",
                                                 "hso",      "mhi_net",  "iosm",           "mtk_t7xx",
                                                 "rmnet",    "bam-dmux", "qcom-bam-dmux"};
  std::error_code error;
  const std::string driver =
      std::filesystem::read_symlink(device + "/device/driver", error).filename().string();
  return std::find(std::begin(drivers), std::end(drivers), driver) != std::end(drivers);
}

bool exists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

/// The local end that the kernel would use towards the target; absent when there is no way. A datagram socket
/// can be connected without anything being sent.
std::optional<SocketAddress> localEndTowards(SocketAddress target) {
  const int socket = ::socket(target.family(), SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socket < 0) return std::nullopt;
  target.setPort(kDiscardPort);
  SocketAddress local = target;
  socklen_t size = target.size();
  const bool connected =
      connect(socket, target.get(), target.size()) == 0 && getsockname(socket, local.get(), &size) == 0;
  close(socket);
  return connected ? std::optional(local) : std::nullopt;
}

struct FreeAddresses {
  void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

/// The facts about a target that the interfaces with `local` know.
NetworkFacts factsAlongInterfaces(const SocketAddress& target, const SocketAddress& local,
                                  const std::string& sysfs) {
  NetworkFacts facts;
  ifaddrs* list = nullptr;
  if (getifaddrs(&list) != 0) return facts;
  const std::unique_ptr<ifaddrs, FreeAddresses> owned(list);
  std::string name;
  for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
    const auto address = SocketAddress::from(entry->ifa_addr);
    if (!address || !address->isSameAs(local)) continue;
    const unsigned needed = IFF_UP | IFF_RUNNING;
    if ((entry->ifa_flags & needed) != needed) continue;
    name = entry->ifa_name;
    facts.routed = true;
  }
  if (!facts.routed) return facts;
  facts.kind = interfaceKind(sysfs, name);
  for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
    if (name != entry->ifa_name) continue;
    const auto address = SocketAddress::from(entry->ifa_addr);
    const auto mask = SocketAddress::from(entry->ifa_netmask);
    if (address && mask && target.isWithin(*address, &*mask)) facts.onLink = true;
    const auto peer = SocketAddress::from(entry->ifa_flags & IFF_POINTOPOINT ? entry->ifa_dstaddr : nullptr);
    if (peer && target.isSameAs(*peer)) facts.onLink = true;
  }
  facts.ownAddress = facts.kind == InterfaceKind::Loopback || target.isSameAs(local);
  return facts;
}

NetworkFacts factsForTarget(const SocketAddress& target, const std::string& sysfs) {
  const auto local = localEndTowards(target);
  return local ? factsAlongInterfaces(target, *local, sysfs) : NetworkFacts();
}

/// Looks up addresses that are reserved for documentation. No host has them, so the route to them is the
/// default route. Several are tried, in case a local network uses one of them anyway.
NetworkFacts factsForInternet(const std::string& sysfs) {
  for (const SocketAddress& outside :
       {SocketAddress::fromText(AF_INET, "192.0.2.1"), SocketAddress::fromText(AF_INET, "203.0.113.1"),
        SocketAddress::fromText(AF_INET6, "2001:db8::1")}) {
    const NetworkFacts facts = factsForTarget(outside, sysfs);
    if (facts.routed && !facts.onLink) return facts;
  }
  return {};
}

}  // namespace

std::uint32_t flagsForFacts(const NetworkFacts& facts) {
  if (!facts.routed) return 0;
  std::uint32_t flags = NetworkReachabilityReachable;
  if (facts.kind == InterfaceKind::Loopback || facts.ownAddress) {
    return flags | NetworkReachabilityIsLocalAddress | NetworkReachabilityIsDirect;
  }
  if (facts.kind == InterfaceKind::WWAN) flags |= NetworkReachabilityIsWWAN;
  if (facts.kind == InterfaceKind::PointToPoint) flags |= NetworkReachabilityTransientConnection;
  if (facts.onLink) return flags | NetworkReachabilityIsDirect;
  if (facts.captivePortal) {
    flags |= NetworkReachabilityConnectionRequired | NetworkReachabilityInterventionRequired;
  }
  return flags;
}

InterfaceKind interfaceKind(const std::string& sysfs, const std::string& name) {
  const std::string device = sysfs + "/class/net/" + name;
  const std::string devtype = deviceType(device);
  if (devtype == "wwan" || hasModemDriver(device)) return InterfaceKind::WWAN;
  if (devtype == "wlan" || exists(device + "/wireless") || exists(device + "/phy80211"))
    return InterfaceKind::WiFi;
  if (devtype == "wireguard") return InterfaceKind::PointToPoint;
  switch (std::atoi(firstLine(device + "/type").c_str())) {
    case ARPHRD_LOOPBACK:
      return InterfaceKind::Loopback;
    case ARPHRD_PPP:
    case ARPHRD_SLIP:
    case ARPHRD_TUNNEL:
    case ARPHRD_TUNNEL6:
    case ARPHRD_SIT:
    case ARPHRD_IPGRE:
    case ARPHRD_NONE:
      return InterfaceKind::PointToPoint;
    default:
      return InterfaceKind::Wired;
  }
}

NetworkFacts factsForAddress(const sockaddr& address, GNetworkConnectivity connectivity,
                             const std::string& sysfs) {
  const auto target = SocketAddress::from(&address);
  if (!target) return {};
  NetworkFacts facts = target->isZero() ? factsForInternet(sysfs) : factsForTarget(*target, sysfs);
  facts.captivePortal = connectivity == G_NETWORK_CONNECTIVITY_PORTAL;
  return facts;
}

}  // namespace vemora::gtk
