#include "CoreTest.h"
#include "core/context/VMRGDPRCMP.h"
#include "core/context/VMRReachability.h"

#include <Vemora/NotificationCenter.h>

namespace vemora {
namespace {

constexpr std::uint32_t kReachable = NetworkReachabilityReachable;
constexpr std::uint32_t kRequired = NetworkReachabilityConnectionRequired;

class VMRReachabilityTest : public CoreTest {
 protected:
  static testing::FakeNetworkReachability& network() { return platform().fakeReachability(); }
};

TEST_F(VMRReachabilityTest, MapsFlagsToAStatus) {
  const auto reachability = VMRReachability::reachabilityForInternetConnection();
  struct Case {
    std::uint32_t flags;
    VMRNetworkStatus status;
  };
  const std::uint32_t onDemand = NetworkReachabilityConnectionOnDemand;
  const std::uint32_t onTraffic = NetworkReachabilityConnectionOnTraffic;
  const std::uint32_t intervention = NetworkReachabilityInterventionRequired;
  for (const auto& [flags, status] :
       {Case{0, VMRNotReachable}, Case{NetworkReachabilityIsWWAN, VMRNotReachable},
        Case{kReachable, VMRReachableViaWiFi},
        Case{kReachable | NetworkReachabilityIsWWAN, VMRReachableViaWWAN},
        Case{kReachable | NetworkReachabilityIsWWAN | kRequired, VMRReachableViaWWAN},
        Case{kReachable | kRequired, VMRNotReachable},
        Case{kReachable | kRequired | onDemand, VMRReachableViaWiFi},
        Case{kReachable | kRequired | onTraffic, VMRReachableViaWiFi},
        Case{kReachable | kRequired | onDemand | intervention, VMRNotReachable},
        Case{kReachable | intervention, VMRReachableViaWiFi}}) {
    EXPECT_EQ(reachability->networkStatusForFlags(flags), status) << flags;
  }
  EXPECT_EQ(reachability->localWiFiStatusForFlags(kReachable | NetworkReachabilityIsDirect),
            VMRReachableViaWiFi);
  EXPECT_EQ(reachability->localWiFiStatusForFlags(kReachable), VMRNotReachable);
  EXPECT_EQ(reachability->localWiFiStatusForFlags(NetworkReachabilityIsDirect), VMRNotReachable);

  EXPECT_EQ(reachability->currentReachabilityStatus(), VMRNotReachable) << "when the flags are unknown";
  EXPECT_FALSE(reachability->connectionRequired());
  network().flags = kReachable | kRequired | NetworkReachabilityIsDirect;
  EXPECT_TRUE(reachability->connectionRequired());
  EXPECT_EQ(reachability->currentReachabilityStatus(), VMRNotReachable);
  EXPECT_EQ(reachability->wifiReachabilityStatus(), VMRReachableViaWiFi);
}

TEST_F(VMRReachabilityTest, LogsTheFlagsAsLetters) {
  const auto reachability = VMRReachability::reachabilityWithHostName("example.com");
  reachability->networkStatusForFlags(0);
  EXPECT_TRUE(logged("Reachability Flag Status: -- ------- networkStatusForFlags\n"));
  reachability->localWiFiStatusForFlags(0x7003f);
  EXPECT_TRUE(logged("Reachability Flag Status: WR tcCiDld localWiFiStatusForFlags\n"));
  reachability->networkStatusForFlags(kReachable | NetworkReachabilityConnectionOnTraffic |
                                      NetworkReachabilityIsLocalAddress);
  EXPECT_TRUE(logged("Reachability Flag Status: -R --C--l- networkStatusForFlags\n"));
}

TEST_F(VMRReachabilityTest, PostsChangesBetweenStartAndStop) {
  auto reachability = VMRReachability::reachabilityForInternetConnection();
  EXPECT_EQ(network().targets, std::vector<std::string>{"family 2"});
  int notifications = 0;
  const auto token = NotificationCenter::defaultCenter().addObserver(
      "kNetworkReachabilityChangedNotification", [&](const Notification& notification) {
        ++notifications;
        EXPECT_EQ(notification.object, reachability);
      });
  network().change(kReachable);
  EXPECT_EQ(notifications, 0);
  EXPECT_TRUE(reachability->startNotifier());
  network().change(0);
  EXPECT_EQ(notifications, 1);
  reachability->stopNotifier();
  network().change(kReachable);
  EXPECT_EQ(notifications, 1);
  reachability->startNotifier();
  reachability = nullptr;
  network().change(0);
  EXPECT_EQ(notifications, 1);
}

TEST_F(VMRReachabilityTest, ReportsARefusedCallbackAndAMissingHandle) {
  network().acceptsCallbacks = false;
  EXPECT_FALSE(VMRReachability::reachabilityForInternetConnection()->startNotifier());
  network().givesHandles = false;
  EXPECT_FALSE(VMRReachability::reachabilityWithHostName("example.com"));
  EXPECT_FALSE(VMRReachability::reachabilityForInternetConnection());
}

TEST_F(VMRReachabilityTest, ReadsConsentAsStored) {
  EXPECT_EQ(VMRGDPRCMP::isSubjectToGDPR(), std::nullopt);
  EXPECT_EQ(VMRGDPRCMP::consentString(), std::nullopt);
  platform().fakeUserDefaults().setObject(1, "IABConsent_SubjectToGDPR");
  platform().fakeUserDefaults().setObject("", "IABConsent_ConsentString");
  EXPECT_EQ(VMRGDPRCMP::isSubjectToGDPR(), "1");
  EXPECT_EQ(VMRGDPRCMP::consentString(), "");
}

}  // namespace
}  // namespace vemora
