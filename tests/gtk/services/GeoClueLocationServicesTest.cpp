#include "../../common/MainLoop.h"
#include "../../common/ProcessResources.h"
#include "../../common/TestFolder.h"
#include "ScriptedBus.h"
#include "ScriptedGeoClue.h"
#include "backends/gtk/services/GeoClueLocationServices.h"
#include "backends/gtk/services/LocationPermission.h"
#include "ports/Platform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <thread>

namespace vemora::gtk {

namespace {

using Status = LocationAuthorizationStatus;

constexpr char kApp[] = "com.example.App";

/// Records each callback and its thread.
class Fixes final : public LocationManagerDelegate {
 public:
  void locationManagerDidUpdateLocations(const std::vector<Location>& locations) override {
    MutexLock lock(mutex_);
    onMainThread_ = dispatch().isMainThread();
    for (const Location& location : locations) latitudes_.push_back(location.latitude);
    longitude_ = locations.back().longitude;
  }

  std::vector<double> latitudes() {
    MutexLock lock(mutex_);
    return latitudes_;
  }
  double longitude() {
    MutexLock lock(mutex_);
    return longitude_;
  }
  bool onMainThread() {
    MutexLock lock(mutex_);
    return onMainThread_;
  }

 private:
  Mutex mutex_;
  std::vector<double> latitudes_ VMR_GUARDED_BY(mutex_);
  double longitude_ VMR_GUARDED_BY(mutex_) = 0;
  bool onMainThread_ VMR_GUARDED_BY(mutex_) = false;
};

class GeoClueLocationServicesTest : public testing::Test {
 protected:
  void startBus() {
    bus_.start();
    geoclue_.emplace(bus_.address());
  }
  /// The administrator's setting for the application.
  void configure(const std::string& entry) { folder_.write("geoclue.conf", "[com.example.App]\n" + entry); }

  std::unique_ptr<LocationServices> makeServices() {
    return makeGeoClueLocationServices({kApp, folder_.path("geoclue.conf"), folder_.path("conf.d")});
  }
  std::unique_ptr<LocationManager> startedManager(LocationServices& services) {
    auto manager = services.createLocationManager();
    manager->setDelegate(fixes_);
    manager->startUpdatingLocation();
    return manager;
  }
  bool becomes(LocationServices& services, Status status) {
    return vemora::test::waitUntil([&] { return services.authorizationStatus() == status; });
  }
  bool sees(const std::string& call, int times = 1) {
    return vemora::test::waitUntil([&] { return geoclue_->count(call) == times; });
  }
  bool has(const std::vector<double>& latitudes) {
    return vemora::test::waitUntil([&] { return fixes_->latitudes() == latitudes; });
  }

  vemora::test::TestFolder folder_;
  test::ScriptedBus bus_;
  std::optional<test::ScriptedGeoClue> geoclue_;
  const std::shared_ptr<Fixes> fixes_ = std::make_shared<Fixes>();
};

TEST_F(GeoClueLocationServicesTest, IsAbsentWithoutABusOrAService) {
  configure("allowed=true\n");
  setenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent", 1);
  {
    const auto services = makeServices();
    const auto manager = startedManager(*services);
    EXPECT_FALSE(services->locationServicesEnabled());
  }
  startBus();
  const auto services = makeServices();
  const auto manager = startedManager(*services);
  EXPECT_TRUE(becomes(*services, Status::AuthorizedAlways));
  EXPECT_FALSE(services->locationServicesEnabled());
}

TEST_F(GeoClueLocationServicesTest, DetectsAnActivatableServiceWithoutStartingIt) {
  bus_.installService("org.freedesktop.GeoClue2", "/bin/sh -c 'touch " + bus_.path("started") + "; exit 1'");
  startBus();
  {
    const auto services = makeServices();
    EXPECT_TRUE(vemora::test::waitUntil([&] { return services->locationServicesEnabled(); }));
    EXPECT_EQ(services->authorizationStatus(), Status::NotDetermined);
    const auto manager = startedManager(*services);
  }
  EXPECT_FALSE(std::filesystem::exists(bus_.path("started")));

  configure("allowed=true\n");
  const auto services = makeServices();
  const auto manager = startedManager(*services);
  EXPECT_TRUE(vemora::test::waitUntil([&] { return std::filesystem::exists(bus_.path("started")); }));
}

TEST_F(GeoClueLocationServicesTest, StartsNoClientWithoutAnApprovalOnRecord) {
  startBus();
  geoclue_->appear();
  geoclue_->serveStore("com.example.Other", "EXACT");
  {
    const auto services = makeServices();
    EXPECT_TRUE(vemora::test::waitUntil([&] { return services->locationServicesEnabled(); }));
    EXPECT_EQ(services->authorizationStatus(), Status::NotDetermined);
    const auto manager = startedManager(*services);
  }
  configure("allowed=false\n");
  {
    const auto services = makeServices();
    const auto manager = startedManager(*services);
    EXPECT_TRUE(becomes(*services, Status::Denied));
  }
  // The services' thread has done all its work.
  EXPECT_EQ(geoclue_->count("GetClient"), 0);
  EXPECT_EQ(geoclue_->count("Start"), 0);
}

TEST_F(GeoClueLocationServicesTest, DeliversFixesOnTheMainThreadUntilTheManagerIsDestroyed) {
  configure("allowed=true\n");
  startBus();
  geoclue_->appear();
  const auto services = makeServices();
  auto manager = startedManager(*services);
  ASSERT_TRUE(sees("Start"));
  EXPECT_EQ(geoclue_->calls(), (std::vector<std::string>{"GetClient", "DesktopId='com.example.App'",
                                                         "RequestedAccuracyLevel=4", "Start"}));
  vemora::test::runPending();
  EXPECT_TRUE(fixes_->latitudes().empty());

  geoclue_->report(48.5, -2.25);
  ASSERT_TRUE(has({48.5}));
  EXPECT_EQ(fixes_->longitude(), -2.25);
  EXPECT_TRUE(fixes_->onMainThread());
  geoclue_->report(0, 7);
  EXPECT_TRUE(has({48.5, 0})) << "zero is a latitude like any other here";
  geoclue_->report(std::nan(""), 7);
  geoclue_->report(90.5, 7);
  geoclue_->report(INFINITY, 7);
  geoclue_->report(-33, 151);
  EXPECT_TRUE(has({48.5, 0, -33})) << "coordinates that are not on Earth are dropped";

  const auto second = startedManager(*services);
  EXPECT_TRUE(has({48.5, 0, -33, -33})) << "a later manager is notified of what is known";
  manager.reset();
  geoclue_->report(1, 1);
  EXPECT_TRUE(has({48.5, 0, -33, -33, 1}));
  EXPECT_EQ(geoclue_->count("GetClient"), 1);
  EXPECT_EQ(geoclue_->count("Stop"), 0);
}

TEST_F(GeoClueLocationServicesTest, StopsTheClientWithTheLastManager) {
  configure("allowed=true\n");
  startBus();
  geoclue_->appear();
  const auto services = makeServices();
  for (int round = 1; round <= 2; ++round) {
    const auto manager = startedManager(*services);
    ASSERT_TRUE(sees("Start", round));
    EXPECT_EQ(geoclue_->count("DeleteClient"), round - 1);
  }
  EXPECT_TRUE(sees("DeleteClient", 2));
  EXPECT_EQ(geoclue_->count("Stop"), 2);
  geoclue_->report(1, 1);
  vemora::test::runPending();
  EXPECT_TRUE(fixes_->latitudes().empty());
}

TEST_F(GeoClueLocationServicesTest, TreatsARefusalAsDenied) {
  configure("allowed=true\n");
  startBus();
  geoclue_->appear();
  geoclue_->refuseStart();
  const auto services = makeServices();
  const auto manager = startedManager(*services);
  EXPECT_TRUE(becomes(*services, Status::Denied));
  const auto second = startedManager(*services);
  EXPECT_TRUE(becomes(*services, Status::Denied));
  EXPECT_EQ(geoclue_->count("Start"), 1);
}

TEST_F(GeoClueLocationServicesTest, ReconnectsAfterTheServiceVanished) {
  configure("allowed=true\n");
  startBus();
  geoclue_->appear();
  const auto services = makeServices();
  const auto manager = startedManager(*services);
  ASSERT_TRUE(sees("Start"));
  geoclue_->report(1, 1);
  ASSERT_TRUE(has({1}));
  geoclue_->vanish();
  EXPECT_TRUE(vemora::test::waitUntil([&] { return !services->locationServicesEnabled(); }));
  geoclue_->appear();
  ASSERT_TRUE(sees("Start", 2));
  EXPECT_TRUE(services->locationServicesEnabled());
  geoclue_->report(2, 2);
  EXPECT_TRUE(has({1, 2}));
}

TEST_F(GeoClueLocationServicesTest, FollowsTheUsersDecision) {
  startBus();
  geoclue_->appear();
  geoclue_->serveStore(kApp, "STREET");
  const auto services = makeServices();
  ASSERT_TRUE(becomes(*services, Status::AuthorizedWhenInUse));
  const auto manager = startedManager(*services);
  ASSERT_TRUE(sees("Start"));
  geoclue_->changePermission(kApp, "NONE");
  EXPECT_TRUE(becomes(*services, Status::Denied));
  EXPECT_TRUE(sees("Stop"));
  geoclue_->changePermission(kApp, "CITY");
  EXPECT_TRUE(sees("Start", 2));
  geoclue_->changePermission(kApp, "");
  EXPECT_TRUE(becomes(*services, Status::NotDetermined));
  EXPECT_TRUE(sees("Stop", 2));
}

TEST_F(GeoClueLocationServicesTest, IsRestrictedWithoutALocationSource) {
  configure("allowed=true\n");
  startBus();
  geoclue_->setAvailableAccuracy(0);
  geoclue_->appear();
  const auto services = makeServices();
  EXPECT_TRUE(becomes(*services, Status::Restricted));
  geoclue_->setAvailableAccuracy(6);
  EXPECT_TRUE(becomes(*services, Status::AuthorizedAlways));
}

TEST_F(GeoClueLocationServicesTest, CallsTheDelegateOfABackgroundManagerOffTheMainThread) {
  configure("allowed=true\n");
  startBus();
  geoclue_->appear();
  const auto services = makeServices();
  std::unique_ptr<LocationManager> manager;
  std::thread([&] { manager = startedManager(*services); }).join();
  ASSERT_TRUE(sees("Start"));
  geoclue_->report(1, 1);
  ASSERT_TRUE(has({1}));
  EXPECT_FALSE(fixes_->onMainThread());
}

TEST_F(GeoClueLocationServicesTest, ReleasesItsConnectionsAndThreads) {
  configure("allowed=true\n");
  startBus();
  geoclue_->appear();
  geoclue_->serveStore(kApp, "EXACT");
  const auto round = [this] {
    const int started = geoclue_->count("Start");
    const auto services = makeServices();
    const auto manager = startedManager(*services);
    sees("Start", started + 1);
  };
  round();
  vemora::test::waitUntil([&] { return geoclue_->peers() == 4; });
  const std::size_t peers = geoclue_->peers();
  const std::size_t files = vemora::test::openFileCount();
  const std::size_t threads = vemora::test::threadCount();
  for (int i = 0; i < 10; ++i) round();
  EXPECT_TRUE(vemora::test::waitUntil([&] {
    return geoclue_->peers() == peers && vemora::test::openFileCount() <= files &&
           vemora::test::threadCount() <= threads;
  })) << geoclue_->peers()
      << " peers, " << vemora::test::openFileCount() << " files, " << vemora::test::threadCount()
      << " threads";
}

TEST_F(GeoClueLocationServicesTest, NeverBlocksTheMainThread) {
  configure("allowed=true\n");
  // A bus that accepts connections and never answers.
  const auto listener = GObjectPtr<GSocketListener>::adopt(g_socket_listener_new());
  const auto address =
      GObjectPtr<GSocketAddress>::adopt(g_unix_socket_address_new(folder_.path("mute").c_str()));
  ASSERT_TRUE(g_socket_listener_add_address(listener.get(), address.get(), G_SOCKET_TYPE_STREAM,
                                            G_SOCKET_PROTOCOL_DEFAULT, nullptr, nullptr, nullptr));
  setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + folder_.path("mute")).c_str(), 1);
  const auto begun = std::chrono::steady_clock::now();
  const auto services = makeServices();
  EXPECT_FALSE(services->locationServicesEnabled());
  EXPECT_EQ(services->authorizationStatus(), Status::NotDetermined);
  const auto manager = startedManager(*services);
  // Generous, for a busy machine; a wait for the bus would never end.
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(200));
}

TEST(LocationPermissionTest, ReadsTheAdministratorsDecisions) {
  const vemora::test::TestFolder folder;
  const auto permission = [&folder] {
    return configuredLocationPermission(folder.path("main"), folder.path("conf.d"), kApp);
  };
  const std::string me = std::to_string(getuid());
  EXPECT_EQ(permission(), Status::NotDetermined);
  folder.write("main", "not a key file");
  EXPECT_EQ(permission(), Status::NotDetermined);
  folder.write("main", "[com.example.App]\nallowed=true\nusers=\n");
  EXPECT_EQ(permission(), Status::AuthorizedAlways);
  folder.write("main", "[com.example.App]\nallowed=true\nusers=4000001;4000002;\n");
  EXPECT_EQ(permission(), Status::Denied);
  folder.write("main", "[com.example.App]\nallowed=true\nusers=4000001;" + me + "\n");
  EXPECT_EQ(permission(), Status::AuthorizedAlways);
  folder.write("conf.d/20-late.conf", "[com.example.App]\nallowed=false\n");
  folder.write("conf.d/10-early.conf", "[com.example.App]\nallowed=true\n");
  folder.write("conf.d/30-other.txt", "[com.example.App]\nallowed=true\n");
  EXPECT_EQ(permission(), Status::Denied);
  EXPECT_EQ(configuredLocationPermission(folder.path("main"), folder.path("conf.d"), ""),
            Status::NotDetermined);
}

}  // namespace

}  // namespace vemora::gtk
