#include "../../common/ChildProcess.h"
#include "../../common/MainLoop.h"
#include "../../common/ProcessResources.h"
#include "../../common/TestFolder.h"
#include "backends/gtk/services/PulseAudioSession.h"
#include "base/Mutex.h"
#include "ports/Platform.h"

#include <Vemora/NotificationCenter.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <thread>

namespace vemora::gtk {

namespace {

using vemora::test::ChildProcess;

/// The reasons of all route changes that were posted.
class RouteChanges {
 public:
  std::vector<int> reasons() {
    MutexLock lock(mutex_);
    return reasons_;
  }
  std::vector<int> takeReasons() {
    MutexLock lock(mutex_);
    return std::exchange(reasons_, {});
  }
  bool onMainThread() {
    MutexLock lock(mutex_);
    return onMainThread_;
  }

 private:
  void note(const Notification& notification) {
    MutexLock lock(mutex_);
    onMainThread_ = onMainThread_ || dispatch().isMainThread();
    reasons_.push_back(
        static_cast<int>(notification.userInfo[AVAudioSessionRouteChangeReasonKey].integerValue()));
  }

  Mutex mutex_;
  std::vector<int> reasons_ VMR_GUARDED_BY(mutex_);
  bool onMainThread_ VMR_GUARDED_BY(mutex_) = false;
  NotificationCenter::Token token_ = NotificationCenter::defaultCenter().addObserver(
      AVAudioSessionRouteChangeNotification,
      [this](const Notification& notification) { note(notification); });
};

/// A real server with null sinks, in a separate folder.
class PulseAudioSessionTest : public testing::Test {
 protected:
  void startServer() {
    server_.emplace(
        std::vector<std::string>{"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                                 "--use-pid-file=no", "--realtime=no", "--high-priority=no",
                                 "--load=module-native-protocol-unix auth-anonymous=1 socket=" + socket()},
        environment(), ChildProcess::Errors::Dropped);
    ASSERT_TRUE(vemora::test::waitUntil([this] { return tell({"info"}); }));
  }
  void stopServer() { server_.reset(); }

  bool tell(std::vector<std::string> words) {
    words.insert(words.begin(), {"pactl", "--server", address()});
    return ChildProcess(words, environment()).wait() == 0;
  }
  /// The first line of pactl's output.
  std::string answer(const std::string& question) {
    const std::string command = "pactl --server " + address() + " " + question;
    return ChildProcess({"sh", "-c", command}, environment()).line().value_or("");
  }
  void plug(const std::string& sink) {
    ASSERT_TRUE(tell({"load-module", "module-null-sink", "sink_name=" + sink}));
  }
  void pull(const std::string& sink) {
    // Modules are unloaded by number only.
    const std::string find =
        "pactl --server " + address() + " list short modules | grep -w sink_name=" + sink;
    const std::string found = ChildProcess({"sh", "-c", find}, environment()).line().value_or("");
    ASSERT_FALSE(found.empty());
    ASSERT_TRUE(tell({"unload-module", std::to_string(std::atoi(found.c_str()))}));
  }

  std::unique_ptr<AudioSession> connectedSession(PulseAudioOptions options = {}) {
    options.server = address();
    options.retrySeconds = 0.02;
    options.mostRetrySeconds = 0.05;
    auto session = makePulseAudioSession(options);
    EXPECT_EQ(session->category(), "AVAudioSessionCategorySoloAmbient");
    return session;
  }
  /// Adds outputs until one is reported: from then on the session has its baseline and misses no change.
  bool becomesAttentive() {
    vemora::test::waitUntil([this] { return !answer("list short clients | grep gtk-services").empty(); });
    for (int probe = 0; changes_.reasons().empty() && probe < 5; ++probe) {
      plug("probe" + std::to_string(probe));
      vemora::test::waitUntil([this] { return !changes_.reasons().empty(); }, 3);
    }
    return !changes_.takeReasons().empty();
  }
  bool tells(const std::vector<int>& expected) {
    return vemora::test::waitUntil([&] { return changes_.reasons() == expected; });
  }

  std::string socket() const { return folder_.path("native"); }
  std::string address() const { return "unix:" + socket(); }
  ChildProcess::Environment environment() const {
    return {{"HOME", folder_.path("")},
            {"XDG_RUNTIME_DIR", folder_.path("")},
            {"XDG_CONFIG_HOME", folder_.path("config")},
            {"PULSE_RUNTIME_PATH", folder_.path("")},
            {"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent"},
            {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"}};
  }

  vemora::test::TestFolder folder_;
  RouteChanges changes_;
  std::optional<ChildProcess> server_;
};

TEST_F(PulseAudioSessionTest, ReportsEachChangeOfTheRouteOnce) {
  startServer();
  plug("speakers");
  plug("headphones");
  ASSERT_TRUE(tell({"set-default-sink", "headphones"}));
  const auto session = connectedSession();
  ASSERT_TRUE(becomesAttentive());

  pull("headphones");
  EXPECT_TRUE(tells({2}));
  plug("headset");
  EXPECT_TRUE(tells({2, 1}));
  const bool onSpeakers = answer("get-default-sink") == "speakers";
  const std::string inUse = onSpeakers ? "speakers" : "probe0";
  const std::string another = onSpeakers ? "probe0" : "speakers";
  ASSERT_TRUE(tell({"set-default-sink", another}));
  EXPECT_TRUE(tells({2, 1, 8}));
  pull("headset");
  ASSERT_TRUE(tell({"set-default-sink", inUse}));
  EXPECT_TRUE(tells({2, 1, 8, 8})) << "an output that was not in use went unmentioned";
  EXPECT_FALSE(changes_.onMainThread());
}

TEST_F(PulseAudioSessionTest, WaitsQuietlyForAServer) {
  testing::internal::CaptureStderr();
  const auto session = connectedSession();
  startServer();
  EXPECT_TRUE(becomesAttentive());
  stopServer();
  startServer();
  EXPECT_TRUE(becomesAttentive()) << "after the server was gone for a while";
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(PulseAudioSessionTest, StartsOnFirstUseAndStopsWhenReleased) {
  startServer();
  plug("speakers");
  connectedSession();
  const std::size_t threads = vemora::test::threadCount();
  const std::size_t files = vemora::test::openFileCount();
  {
    const auto unasked = makePulseAudioSession({});
    EXPECT_EQ(vemora::test::threadCount(), threads);
  }
  for (int i = 0; i < 5; ++i) {
    const auto session = connectedSession();
    EXPECT_TRUE(i > 0 || becomesAttentive());
  }
  EXPECT_TRUE(vemora::test::waitUntil(
      [&] { return vemora::test::threadCount() <= threads + 1 && vemora::test::openFileCount() <= files; }));
}

TEST_F(PulseAudioSessionTest, LetsTheProcessEndWhileConnected) {
  // The process that ends runs this test from its beginning, with the environment of the one that waits for
  // it.
  constexpr char variable[] = "VEMORA_TEST_AUDIO_SERVER";
  if (!testing::internal::InDeathTestChild()) {
    startServer();
    setenv(variable, address().c_str(), 1);
  }
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        std::filesystem::remove_all(folder_.path(""));
        PulseAudioOptions options;
        options.server = std::getenv(variable);
        // As the platform keeps it.
        static const auto& kept = *new std::unique_ptr<AudioSession>(makePulseAudioSession(options));
        kept->category();
        std::exit(0);
      },
      testing::ExitedWithCode(0), "");
  unsetenv(variable);
}

}  // namespace

}  // namespace vemora::gtk
