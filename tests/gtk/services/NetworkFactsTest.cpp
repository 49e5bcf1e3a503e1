#include "../../common/TestFolder.h"
#include "backends/gtk/network/NetworkFacts.h"
#include "ports/NetworkReachability.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>

#include <filesystem>

namespace vemora::gtk {

namespace {

constexpr std::uint32_t R = NetworkReachabilityReachable;
constexpr std::uint32_t T = NetworkReachabilityTransientConnection;
constexpr std::uint32_t C = NetworkReachabilityConnectionRequired | NetworkReachabilityInterventionRequired;
constexpr std::uint32_t L = NetworkReachabilityIsLocalAddress;
constexpr std::uint32_t D = NetworkReachabilityIsDirect;
constexpr std::uint32_t W = NetworkReachabilityIsWWAN;

TEST(NetworkFactsTest, BecomeFlags) {
  using Kind = InterfaceKind;
  const struct {
    NetworkFacts facts;
    std::uint32_t flags;
  } cases[] = {
      {{false, Kind::Wired, false, false, false}, 0},
      {{false, Kind::WWAN, true, true, true}, 0},
      {{true, Kind::Wired, false, false, false}, R},
      {{true, Kind::Wired, false, true, false}, R | D},
      {{true, Kind::WiFi, false, false, false}, R},
      {{true, Kind::WiFi, false, false, true}, R | C},
      {{true, Kind::WiFi, false, true, true}, R | D},
      {{true, Kind::WWAN, false, false, false}, R | W},
      {{true, Kind::WWAN, false, false, true}, R | W | C},
      {{true, Kind::PointToPoint, false, false, false}, R | T},
      {{true, Kind::PointToPoint, false, true, false}, R | T | D},
      {{true, Kind::Loopback, true, true, false}, R | L | D},
      {{true, Kind::WWAN, true, true, true}, R | L | D},
  };
  for (const auto& [facts, flags] : cases) EXPECT_EQ(flagsForFacts(facts), flags);
}

TEST(NetworkFactsTest, KnowTheKindOfAnInterface) {
  const vemora::test::TestFolder sysfs;
  const auto kindOf = [&](const std::string& name) { return interfaceKind(sysfs.path(""), name); };
  const auto write = [&](const std::string& file, const std::string& text) {
    sysfs.write("class/net/" + file, text);
  };
  write("lo/type", "772\n");
  write("eth0/type", "1\n");
  write("eth0/uevent", "INTERFACE=eth0\nIFINDEX=2\n");
  write("wlan0/type", "1\n");
  write("wlan0/uevent", "DEVTYPE=wlan\nINTERFACE=wlan0\n");
  write("wlan1/type", "1\n");
  write("wlan1/phy80211/name", "phy0\n");
  write("wwan0/type", "1\n");
  write("wwan0/uevent", "INTERFACE=wwan0\nDEVTYPE=wwan\n");
  write("usb0/type", "1\n");
  std::filesystem::create_directories(sysfs.path("class/net/usb0/device"));
  std::filesystem::create_symlink("../../../../bus/usb/drivers/cdc_mbim",
                                  sysfs.path("class/net/usb0/device/driver"));
  write("ppp0/type", "512\n");
  write("tun0/type", "65534\n");
  write("wg0/type", "65534\n");
  write("wg0/uevent", "DEVTYPE=wireguard\n");
  write("br0/uevent", "DEVTYPE=bridge\n");

  EXPECT_EQ(kindOf("lo"), InterfaceKind::Loopback);
  EXPECT_EQ(kindOf("eth0"), InterfaceKind::Wired);
  EXPECT_EQ(kindOf("wlan0"), InterfaceKind::WiFi);
  EXPECT_EQ(kindOf("wlan1"), InterfaceKind::WiFi);
  EXPECT_EQ(kindOf("wwan0"), InterfaceKind::WWAN);
  EXPECT_EQ(kindOf("usb0"), InterfaceKind::WWAN);
  EXPECT_EQ(kindOf("ppp0"), InterfaceKind::PointToPoint);
  EXPECT_EQ(kindOf("tun0"), InterfaceKind::PointToPoint);
  EXPECT_EQ(kindOf("wg0"), InterfaceKind::PointToPoint);
  EXPECT_EQ(kindOf("br0"), InterfaceKind::Wired);
  EXPECT_EQ(kindOf("gone0"), InterfaceKind::Wired);
}

TEST(NetworkFactsTest, FindTheRouteToThisMachine) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const NetworkFacts facts =
      factsForAddress(reinterpret_cast<const sockaddr&>(address), G_NETWORK_CONNECTIVITY_FULL);
  EXPECT_TRUE(facts.routed && facts.ownAddress && facts.onLink);
  EXPECT_EQ(facts.kind, InterfaceKind::Loopback);

  sockaddr other{};
  other.sa_family = AF_UNIX;
  EXPECT_FALSE(factsForAddress(other, G_NETWORK_CONNECTIVITY_FULL).routed);
}

}  // namespace

}  // namespace vemora::gtk
