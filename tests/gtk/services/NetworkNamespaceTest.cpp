#include "../../common/MainLoop.h"
#include "../../common/TestFolder.h"
#include "FakeNetworkMonitor.h"
#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/ContextThread.h"
#include "backends/gtk/network/GioNetworkReachability.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sched.h>

#include <atomic>
#include <cstdlib>
#include <thread>

// Reachability in a separate network namespace, whose interfaces and routes the test adds and removes. Needs
// the right to create one; the mapping from facts to flags is tested without it elsewhere.

namespace vemora::gtk {

namespace {

constexpr std::uint32_t R = NetworkReachabilityReachable;
constexpr std::uint32_t D = NetworkReachabilityIsDirect;

bool ownNetwork = false;

bool ip(const std::string& arguments) {
  return std::system(("ip " + arguments).c_str()) == 0;
}

sockaddr_storage addressOf(const std::string& text) {
  sockaddr_storage storage{};
  auto& v4 = reinterpret_cast<sockaddr_in&>(storage);
  auto& v6 = reinterpret_cast<sockaddr_in6&>(storage);
  if (inet_pton(AF_INET, text.c_str(), &v4.sin_addr) == 1) {
    storage.ss_family = AF_INET;
  } else {
    inet_pton(AF_INET6, text.c_str(), &v6.sin6_addr);
    storage.ss_family = AF_INET6;
  }
  return storage;
}

class NetworkNamespaceTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!ownNetwork) GTEST_SKIP() << "no right to make a network namespace";
    if (!ip("link add lan0 type veth peer name far0 2>/dev/null"))
      GTEST_SKIP() << "no virtual interfaces here";
    ASSERT_TRUE(ip("addr add 198.51.100.2/24 dev lan0 && ip link set far0 up && ip link set lan0 up"));
    // The kernel takes a moment to see the other end.
    ASSERT_TRUE(vemora::test::waitUntil([] { return ip("link show lan0 | grep -q 'state UP'"); }));
  }
  void TearDown() override {
    if (ownNetwork) static_cast<void>(ip("link del lan0 2>/dev/null"));
  }

  static std::unique_ptr<NetworkReachability> handleFor(NetworkReachabilityFactory& factory,
                                                        const std::string& text) {
    const sockaddr_storage address = addressOf(text);
    return factory.createWithAddress(reinterpret_cast<const sockaddr&>(address));
  }
  bool becomes(NetworkReachability& handle, std::uint32_t flags, int calls) {
    return vemora::test::waitUntil([&] { return handle.flags() == flags && calls_ == calls; });
  }

  std::atomic<int> calls_ = 0;
};

TEST_F(NetworkNamespaceTest, FollowsRoutesAndInterfaces) {
  const auto factory = makeNetworkReachability();
  const auto internet = handleFor(*factory, "0.0.0.0");
  internet->setCallback([this] { ++calls_; });
  internet->scheduleWithRunLoop();
  EXPECT_EQ(internet->flags(), 0u);
  EXPECT_EQ(handleFor(*factory, "198.51.100.7")->flags(), R | D);
  EXPECT_EQ(handleFor(*factory, "198.51.100.2")->flags(), R | D | NetworkReachabilityIsLocalAddress);
  EXPECT_EQ(handleFor(*factory, "203.0.113.9")->flags(), 0u);
  ASSERT_TRUE(ip("addr add 192.0.2.2/24 dev lan0"));
  EXPECT_EQ(internet->flags(), 0u) << "a documentation network on the link is not a route to the Internet";

  ASSERT_TRUE(ip("route add default via 198.51.100.1"));
  EXPECT_TRUE(becomes(*internet, R, 1));
  EXPECT_EQ(handleFor(*factory, "203.0.113.9")->flags(), R);

  ASSERT_TRUE(ip("link set lan0 down"));
  EXPECT_TRUE(becomes(*internet, 0, 2));
  ASSERT_TRUE(
      ip("link set lan0 up && ip -6 addr add 2001:db8:5::2/64 dev lan0 nodad && ip -6 route add default via "
         "2001:db8:5::1"));
  EXPECT_TRUE(becomes(*internet, R, 3)) << "a way by IPv6 alone";
  EXPECT_EQ(handleFor(*factory, "2001:db8:5::9")->flags(), R | D);

  internet->unscheduleFromRunLoop();
  ASSERT_TRUE(ip("link set lan0 down"));
  EXPECT_TRUE(vemora::test::waitUntil([&] { return internet->flags() == 0u; }));
  vemora::test::runPending();
  EXPECT_EQ(calls_, 3);
}

TEST_F(NetworkNamespaceTest, KnowsModemsAndTheirPortals) {
  ASSERT_TRUE(ip("route add default via 198.51.100.1"));
  const vemora::test::TestFolder sysfs;
  sysfs.write("class/net/lan0/uevent", "DEVTYPE=wwan\n");
  const GObjectPtr<GNetworkMonitor> monitor = test::makeFakeNetworkMonitor();
  const auto factory = makeGioNetworkReachability(monitor, sysfs.path(""));
  const auto internet = handleFor(*factory, "0.0.0.0");
  internet->setCallback([this] { ++calls_; });
  internet->scheduleWithRunLoop();
  EXPECT_EQ(internet->flags(), R | NetworkReachabilityIsWWAN);
  test::changeNetwork(monitor.get(), G_NETWORK_CONNECTIVITY_PORTAL);
  EXPECT_TRUE(becomes(*internet,
                      R | NetworkReachabilityIsWWAN | NetworkReachabilityConnectionRequired |
                          NetworkReachabilityInterventionRequired,
                      1));
  test::changeNetwork(monitor.get(), G_NETWORK_CONNECTIVITY_PORTAL);
  vemora::test::runPending();
  EXPECT_EQ(calls_, 1);

  test::changeNetwork(monitor.get(), G_NETWORK_CONNECTIVITY_FULL);
  internet->unscheduleFromRunLoop();
  vemora::test::runPending();
  EXPECT_EQ(calls_, 1) << "a report that was in flight when the handle was unscheduled";
}

TEST_F(NetworkNamespaceTest, CallsBackOnTheRunLoopThatItWasScheduledWith) {
  const GObjectPtr<GNetworkMonitor> monitor = test::makeFakeNetworkMonitor();
  const auto factory = makeGioNetworkReachability(monitor, "/sys");
  std::unique_ptr<NetworkReachability> internet = handleFor(*factory, "0.0.0.0");
  std::atomic<std::thread::id> caller;
  std::thread::id loop;
  internet->setCallback([&] {
    caller = std::this_thread::get_id();
    ++calls_;
  });
  std::atomic<bool> scheduled = false;
  ContextThread thread("run loop");
  thread.post([&] {
    loop = std::this_thread::get_id();
    scheduled = internet->scheduleWithRunLoop();
  });
  ASSERT_TRUE(vemora::test::waitUntil([&] { return scheduled.load(); }));

  internet->unscheduleFromRunLoop();  // A handle of another run loop: no-op.
  ASSERT_TRUE(ip("route add default via 198.51.100.1"));
  test::changeNetwork(monitor.get(), G_NETWORK_CONNECTIVITY_FULL);
  EXPECT_TRUE(vemora::test::waitUntil([this] { return calls_ == 1; }));
  EXPECT_EQ(caller.load(), loop);

  ASSERT_TRUE(ip("link set lan0 down"));
  internet->setCallback([&] {
    thread.post([] {});
    internet.reset();
    ++calls_;
  });
  test::changeNetwork(monitor.get(), G_NETWORK_CONNECTIVITY_FULL);
  EXPECT_TRUE(vemora::test::waitUntil([this] { return calls_ == 2; }))
      << "a handle may go in its own callback";
  test::changeNetwork(monitor.get(), G_NETWORK_CONNECTIVITY_FULL);
}

}  // namespace

}  // namespace vemora::gtk

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  // Before any thread and before GLib's monitor is made.
  vemora::gtk::ownNetwork = !testing::GTEST_FLAG(list_tests) && unshare(CLONE_NEWNET) == 0 &&
                            std::system("ip link set lo up 2>/dev/null") == 0;
  return RUN_ALL_TESTS();
}
