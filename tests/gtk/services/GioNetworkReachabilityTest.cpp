#include "../../common/MainLoop.h"
#include "FakeNetworkMonitor.h"
#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/network/GioNetworkReachability.h"

#include <gtest/gtest.h>
#include <netinet/in.h>

#include <atomic>
#include <thread>

namespace vemora::gtk {

namespace {

constexpr std::uint32_t kOwnMachine =
    NetworkReachabilityReachable | NetworkReachabilityIsLocalAddress | NetworkReachabilityIsDirect;

sockaddr_in loopback() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

class GioNetworkReachabilityTest : public testing::Test {
 protected:
  const GObjectPtr<GNetworkMonitor> monitor_ = test::makeFakeNetworkMonitor();
  const std::unique_ptr<NetworkReachabilityFactory> factory_ = makeGioNetworkReachability(monitor_, "/sys");
  std::atomic<int> calls_ = 0;
};

TEST_F(GioNetworkReachabilityTest, ResolvesNamesAndNotifiesOnceResolved) {
  const auto handle = factory_->createWithName("localhost");
  ASSERT_TRUE(handle);
  ASSERT_TRUE(handle->setCallback([this] { ++calls_; }));
  const bool alreadyKnown = handle->flags().has_value();
  ASSERT_TRUE(handle->scheduleWithRunLoop());
  EXPECT_TRUE(vemora::test::waitUntil([&] { return handle->flags() == kOwnMachine; }));
  EXPECT_TRUE(vemora::test::waitUntil([&] { return alreadyKnown || calls_ == 1; }));

  const auto unknown = factory_->createWithName("no-such-host.invalid");
  EXPECT_TRUE(vemora::test::waitUntil([&] { return unknown->flags() == 0u; }));
}

TEST_F(GioNetworkReachabilityTest, TakesLiteralAddressesAtOnceAndRejectsInvalidOnes) {
  EXPECT_EQ(factory_->createWithName("127.0.0.1")->flags(), kOwnMachine);
  const sockaddr_in address = loopback();
  EXPECT_EQ(factory_->createWithAddress(reinterpret_cast<const sockaddr&>(address))->flags(), kOwnMachine);

  EXPECT_FALSE(factory_->createWithName(""));
  EXPECT_FALSE(factory_->createWithName(std::string_view("a\0b", 3)));
  EXPECT_FALSE(factory_->createWithName("\xff\xfe"));
  sockaddr local{};
  local.sa_family = AF_UNIX;
  EXPECT_FALSE(factory_->createWithAddress(local));
}

TEST_F(GioNetworkReachabilityTest, DoesNotNotifyWhenTheTargetIsUnaffected) {
  const auto handle = factory_->createWithName("127.0.0.1");
  handle->setCallback([this] { ++calls_; });
  handle->scheduleWithRunLoop();
  test::changeNetwork(monitor_.get(), G_NETWORK_CONNECTIVITY_PORTAL);
  vemora::test::runPending();
  EXPECT_EQ(calls_, 0);
}

TEST_F(GioNetworkReachabilityTest, CreatesTheRealMonitorOnAnyThread) {
  std::unique_ptr<NetworkReachabilityFactory> factory;
  std::thread([&factory] {
    GMainContext* own = g_main_context_new();
    g_main_context_push_thread_default(own);
    factory = makeNetworkReachability();
    g_main_context_pop_thread_default(own);
    g_main_context_unref(own);
  }).join();
  EXPECT_EQ(factory->createWithName("127.0.0.1")->flags(), kOwnMachine);
}

}  // namespace

}  // namespace vemora::gtk
