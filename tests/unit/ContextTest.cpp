#include "CoreTest.h"
#include "core/context/VMRAppInfo.h"
#include "core/context/VMRContext.h"
#include "core/context/VMRDeviceManager.h"
#include "core/context/VMRLocationDumper.h"

#include <Vemora/InternalInconsistencyException.h>

#include <cctype>
#include <optional>

namespace vemora {
namespace {

class ContextTest : public CoreTest {
 protected:
  using Text = std::optional<std::string>;

  static testing::FakeDevice& device() { return platform().fakeDevice(); }
  static testing::FakeLocationServices& location() { return platform().fakeLocation(); }
};

TEST_F(ContextTest, OwnsItsProvidersWithoutACycle) {
  auto first = VMRContext::init();
  const auto second = VMRContext::init();
  EXPECT_EQ(first->supportedVPIs(), (std::vector<std::string>{"mp4", "tvjs", "vpaid_js"}));
  EXPECT_EQ(first->userAgent(), "FakeWebKit/1.0");
  EXPECT_EQ(application().userAgentQueries(), 2u) << "queried once for each context";
  EXPECT_NE(first->deviceManager(), second->deviceManager());
  EXPECT_NE(first->appInfo(), second->appInfo());
  EXPECT_EQ(first->deviceManager()->context(), first);
  const auto manager = first->deviceManager();
  const std::weak_ptr<VMRContext> weak = first;
  first = nullptr;
  EXPECT_TRUE(weak.expired());
  manager->updateInfo();
  EXPECT_EQ(manager->useragent(), std::nullopt);
  EXPECT_EQ(manager->geo_country(), std::nullopt);
}

TEST_F(ContextTest, WaitsForALateUserAgentOffTheMainThreadOnly) {
  application().holdUserAgent();
  const auto context = VMRContext::init();
  EXPECT_EQ(context->userAgent(), std::nullopt) << "the main thread does not wait";
  std::optional<std::string> early = "unset";
  std::optional<std::string> late;
  dispatch().detachNewThread([&] {
    early = context->userAgent();
    late = context->userAgent();
  });
  advance(1.9);
  EXPECT_EQ(early, "unset") << "it waits";
  advance(0.2);
  EXPECT_EQ(early, std::nullopt) << "but not for long";
  application().answerUserAgents();
  settle();
  EXPECT_EQ(late, "FakeWebKit/1.0");
  application().setUserAgent("Other/2.0");
  EXPECT_EQ(context->userAgent(), "FakeWebKit/1.0") << "it never changes once it is known";
}

TEST_F(ContextTest, FillsTheDeviceFields) {
  const auto context = VMRContext::init();
  const auto manager = context->deviceManager();
  EXPECT_EQ(manager->ad_id(), std::nullopt) << "absent before the first update";
  manager->updateInfo();
  EXPECT_EQ(manager->ad_id(), "AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE");
  EXPECT_EQ(manager->lang(), "pt_PT");
  EXPECT_EQ(manager->make(), "Apple");
  EXPECT_EQ(manager->model(), "FakePhone");
  EXPECT_EQ(manager->os(), "FakeOS");
  EXPECT_EQ(manager->os_version(), "9.1");
  EXPECT_EQ(manager->udid(), "11111111-2222-3333-4444-555555555555");
  EXPECT_EQ(manager->prefetch(), "0");
  EXPECT_EQ(manager->autoinit(), "1");
  EXPECT_EQ(manager->connection_type(), "0");
  EXPECT_EQ(manager->geo_country(), "PT");
  EXPECT_EQ(manager->type(), std::nullopt);
  EXPECT_EQ(manager->debug(), std::nullopt);
  EXPECT_FALSE(manager->tracking());
  // 2020 to 2100 in seconds since 2001, with a fraction of a second.
  EXPECT_GT(std::stod(*manager->time()), 599529600);
  EXPECT_LT(std::stod(*manager->time()), 3124224000);

  device().trackingEnabled = false;
  device().vendorIdentifier = std::nullopt;
  platform().fakeBundle().localizations = {"fr"};
  manager->updateInfo();
  EXPECT_TRUE(manager->tracking());
  EXPECT_EQ(manager->udid(), std::nullopt);
  EXPECT_EQ(manager->lang(), "fr");
  EXPECT_THROW(VMRDeviceManager::init(), InternalInconsistencyException);
}

TEST_F(ContextTest, MapsConnectionTypeAndDeviceTypeToCodes) {
  const auto manager = VMRContext::init()->deviceManager();
  device().networkType = 5;
  EXPECT_EQ(manager->deviceConnectionType(), "0") << "always, on devices with telephony";
  device().telephony = false;
  const std::vector<std::tuple<std::optional<int>, std::string, std::string>> shown = {
      {std::nullopt, "No wifi or cellular", "0"},
      {0, "No wifi or cellular", "0"},
      {1, "2G", "4"},
      {2, "3G", "5"},
      {3, "4G", "6"},
      {4, "LTE", "6"},
      {5, "Wifi", "2"},
      {6, "Unknown connection type", "0"},
      {-1, "Unknown connection type", "0"}};
  for (const auto& [type, word, code] : shown) {
    system().clearLog();
    device().networkType = type;
    EXPECT_EQ(manager->deviceConnectionType(), code);
    EXPECT_TRUE(logged(word)) << word;
  }
  for (const auto& [idiom, code] :
       {std::pair(UserInterfaceIdiom::Phone, "1"), std::pair(UserInterfaceIdiom::Pad, "1"),
        std::pair(UserInterfaceIdiom::TV, "3"), std::pair(UserInterfaceIdiom::Unspecified, "0")}) {
    device().idiom = idiom;
    EXPECT_EQ(manager->deviceType(), code);
  }
}

// Application.

TEST_F(ContextTest, FillsTheApplicationFields) {
  const auto info = VMRAppInfo::init();
  EXPECT_FALSE(info->context());
  EXPECT_EQ(info->sdk_bundle_id(), "com.example.host");
  EXPECT_EQ(info->sdk_name(), "Host");
  EXPECT_EQ(info->sdk_version(), "1.2.3");
  ASSERT_EQ(info->app_uid()->size(), 40u);
  platform().fakeBundle().main.clear();
  info->updateInfo();
  EXPECT_EQ(info->sdk_bundle_id(), "com.unknown.unknown");
  EXPECT_EQ(info->sdk_name(), "Unknown");
}

TEST_F(ContextTest, HashesAdvertisingAndInstallationIdentifiers) {
  platform().fakeUserDefaults().setObject("GUID", "vemora.app.guid");
  device().advertisingId = "IFA";
  // sha1("IFAGUID")
  EXPECT_EQ(VMRAppInfo::init()->app_uid(), "b03bdd524a664bd46ab53a7ee870c72e52194b30");
  device().advertisingId = "";
  EXPECT_NE(VMRAppInfo::init()->app_uid(), "b03bdd524a664bd46ab53a7ee870c72e52194b30");
}

TEST_F(ContextTest, CreatesTheInstallationIdentifierOnce) {
  const auto info = VMRAppInfo::init();
  const std::string made = info->appGUID();
  EXPECT_EQ(platform().fakeUserDefaults().synchronizations(), 1u);
  EXPECT_EQ(platform().fakeUserDefaults().stringForKey("vemora.app.guid"), made);
  EXPECT_EQ(VMRAppInfo::init()->appGUID(), made);
  EXPECT_EQ(platform().fakeUserDefaults().synchronizations(), 1u);
  ASSERT_EQ(made.size(), 36u);
  for (std::size_t i = 0; i < made.size(); ++i) {
    const bool isHyphen = i == 8 || i == 13 || i == 18 || i == 23;
    EXPECT_TRUE(isHyphen ? made[i] == '-' : (std::isdigit(made[i]) || std::isupper(made[i]))) << made;
  }
}

// Location.

TEST_F(ContextTest, ReadsTheCountryOnce) {
  const auto dumper = VMRLocationDumper::init();
  EXPECT_EQ(dumper->countryCode(), "PT");
  EXPECT_EQ(dumper->countryName(), "Portugal");
  platform().fakeBundle().country = std::nullopt;
  EXPECT_EQ(dumper->countryCode(), "PT");
  EXPECT_EQ(VMRLocationDumper::init()->countryName(), std::nullopt);
}

TEST_F(ContextTest, DoesNotWaitForALocationWithoutAuthorisation) {
  for (const auto status : {LocationAuthorizationStatus::NotDetermined,
                            LocationAuthorizationStatus::Restricted, LocationAuthorizationStatus::Denied}) {
    location().allow(status);
    const auto dumper = VMRLocationDumper::init();
    EXPECT_FALSE(dumper->canMonitorLocation());
    EXPECT_FALSE(dumper->currentLocation());
  }
  location().allow(LocationAuthorizationStatus::AuthorizedAlways);
  location().setEnabled(false);
  EXPECT_FALSE(VMRLocationDumper::init()->currentLocation());
  EXPECT_EQ(location().managerCount(), 0u);
}

TEST_F(ContextTest, WaitsFiveSecondsForTheFirstFix) {
  location().allow(LocationAuthorizationStatus::AuthorizedWhenInUse);
  auto dumper = VMRLocationDumper::init();
  ASSERT_EQ(location().managerCount(), 1u);
  std::optional<std::optional<Location>> found;
  const auto ask = [&] {
    found.reset();
    dispatch().detachNewThread([&] { found = dumper->currentLocation(); });
    settle();
  };
  ask();
  advance(4.9);
  EXPECT_FALSE(found);
  advance(0.2);
  ASSERT_TRUE(found);
  EXPECT_FALSE(*found) << "no fix in time";

  ask();
  advance(1);
  location().report({{1, 1}, {38.7, -9.1}});
  settle();
  ASSERT_TRUE(found);
  EXPECT_EQ((*found)->latitude, 38.7) << "the last of a list is the newest";
  location().report({{40, -8}});
  ask();
  EXPECT_EQ((*found)->latitude, 40) << "without waiting, once there is a fix";
  location().allow(LocationAuthorizationStatus::Denied);
  ask();
  EXPECT_EQ((*found)->latitude, 40);
  dumper = nullptr;
  EXPECT_EQ(location().managerCount(), 0u);
}

TEST_F(ContextTest, GetsNoFixWhenAuthorisedAfterCreation) {
  const auto dumper = VMRLocationDumper::init();
  location().allow(LocationAuthorizationStatus::AuthorizedAlways);
  bool answered = false;
  dispatch().detachNewThread([&] {
    EXPECT_FALSE(dumper->currentLocation());
    answered = true;
  });
  advance(4.9);
  EXPECT_FALSE(answered);
  advance(0.2);
  EXPECT_TRUE(answered);
  EXPECT_EQ(location().managerCount(), 0u);
}

TEST_F(ContextTest, KeepsTheLastUsableFix) {
  location().allow(LocationAuthorizationStatus::AuthorizedAlways);
  const auto context = VMRContext::init();
  const auto manager = context->deviceManager();
  const auto refreshed = [&](const Location& fix) {
    location().report({fix});
    manager->updateInfo();
    return manager->geo_lat().value_or("-") + " " + manager->geo_long().value_or("-") + " " +
           manager->geo_type().value_or("-");
  };
  EXPECT_EQ(refreshed({0.0, 12.5}), "- - -");
  EXPECT_EQ(refreshed({38.7223, -9.1393}), "38.7223 -9.1393 1");
  EXPECT_EQ(refreshed({12.5, 0.0}), "38.7223 -9.1393 1");
  EXPECT_EQ(refreshed({-33, 151.25}), "-33 151.25 1");
}

}  // namespace
}  // namespace vemora
