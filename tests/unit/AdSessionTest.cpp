#include "PlayerTest.h"

#include <atomic>
#include <thread>

namespace vemora {
namespace {

/// How sessions end, and what belongs to which.
class AdSessionTest : public PlayerTest {
 protected:
  void load() { PlayerTest::load(player_); }
  void loadQuietly() {
    load();
    delegate_->take();
  }
  void post(const std::string& text) {
    page_->post(text);
    settle();
  }
  void event(const std::string& name, const std::string& data = "null") {
    page_->event(name, "a", data);
    settle();
  }
  /// Waits in real time, without running the main queue.
  template <typename Condition>
  static void awaitBackground(Condition condition) {
    while (!condition()) std::this_thread::yield();
  }
  void postTimeChanges(std::size_t count) {
    const std::string line = "AdPlayer Event: AdTimeChange";
    const std::size_t before = countLogged(line);
    for (std::size_t i = 0; i < count; ++i) page_->event("AdTimeChange", "a", "1");
    awaitBackground([&] { return countLogged(line) == before + count; });
  }
  std::int64_t depth() { return inner(*player_).suspendHeartbeats(); }

  std::shared_ptr<VemoraInlineAdPlayer> player_ = VemoraInlineAdPlayer::initWithAdPlayerDelegate(delegate_);
};

// Abandoned loads.

TEST_F(AdSessionTest, ALoadThatWasShutDownLeavesTheNextSessionAlone) {
  player_->load();
  settle();
  player_->shutdown();
  load();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds 2"});
  pingFor(10);
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds - 5003"}) << "the first load's own report";
  ASSERT_TRUE(player_->adGroup());
  event("AdStarted");
  EXPECT_EQ(delegate_->take(), Callbacks{"adStart a"});
  EXPECT_TRUE(logged("This player has loaded before: after a shutdown its heartbeat is not watched again"));
}

TEST_F(AdSessionTest, ALoadThatWasReplacedLeavesTheNextSessionAlone) {
  config_ = R"("result":{"data":{"features":{"moat":1},"moat_partner_code":"code"}})";
  delegate_->request->setChannel("1");
  player_->load();
  load();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds 2"});
  const auto config = inner(*player_).config();
  pingFor(10);
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds - 5002"});
  EXPECT_TRUE(player_->adGroup());
  EXPECT_EQ(inner(*player_).config(), config);
  EXPECT_TRUE(inner(*player_).moatTracker());
}

TEST_F(AdSessionTest, ASecondLoadShowsTheFirstOnesResultsUntilItHasItsOwn) {
  loadQuietly();
  const auto group = player_->adGroup();
  const auto request = std::exchange(delegate_->request, nullptr);
  std::atomic<bool> mayAnswer{false};
  delegate_->onCallback = [&](const std::string& callback) {
    if (callback == "requestForPlayer") awaitBackground([&] { return mayAnswer.load(); });
  };
  player_->load();
  EXPECT_EQ(player_->adGroup(), group);
  EXPECT_EQ(player_->request(), request);
  EXPECT_TRUE(inner(*player_).config());
  mayAnswer = true;
  settle();
  EXPECT_FALSE(player_->adGroup());
  EXPECT_FALSE(player_->request());
}

TEST_F(AdSessionTest, AShutdownBetweenTheTwoCallsEndsTheLoadAtOnce) {
  player_->load();
  openPage();
  page_->answer("get.config", "");
  page_->view()->finishNavigation();
  settle();
  player_->shutdown();
  settle();
  EXPECT_EQ(delegate_->take(), Callbacks{});
  advance(5);
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds - 5003"}) << "without a second time-out";
  EXPECT_EQ(page_->methods(), Callbacks{"get.config"});
}

TEST_F(AdSessionTest, AnEndingDuringTheLoadFollowsItsReport) {
  player_->load();
  openPage();
  page_->answer("get.ads", "");
  page_->view()->finishNavigation();
  settle();
  event("AdError", R"("No media")");
  EXPECT_FALSE(inner(*player_).runtime());
  advance(5);
  EXPECT_EQ(delegate_->take(), (Callbacks{"didLoadAds - 5003", "adError - 5004"}));
  EXPECT_EQ(delegate_->lastError()->failureReason, "No media");
}

// Callbacks after the end.

TEST_F(AdSessionTest, ASessionEndsOnceAndNothingFollows) {
  for (const char* first : {R"({"method":"event","params":{"event":"AdGroupEnd"}})",
                            R"({"method":"event","params":{"event":"AdError"}})",
                            R"({"method":"ping","params":{"shutdown":true}})"}) {
    player_ = VemoraInlineAdPlayer::initWithAdPlayerDelegate(delegate_);
    loadQuietly();
    page_->post(first);
    for (int i = 0; i < 20; ++i) {
      page_->event("AdTimeChange", "a", "1");
      page_->event("AdGroupEnd", "a");
      page_->event("AdError", "a");
      page_->post(R"({"method":"ping","params":{"shutdown":true}})");
    }
    settle();
    advance(6);
    const Callbacks callbacks = delegate_->take();
    const auto isEnding = [](const std::string& callback) {
      return callback.starts_with("adGroupComplete") || callback.starts_with("adError");
    };
    ASSERT_FALSE(callbacks.empty()) << first;
    EXPECT_EQ(std::count_if(callbacks.begin(), callbacks.end(), isEnding), 1) << first;
    EXPECT_TRUE(isEnding(callbacks.back())) << first;
  }
}

TEST_F(AdSessionTest, ShutdownDropsQueuedCallbacksAndKeepsBeacons) {
  loadQuietly();
  for (int i = 0; i < 3; ++i)
    page_->post(R"({"method":"window","params":{"event":"beacon","url":"https://example.com/b"}})");
  page_->post(R"({"method":"window","params":{"event":"open","url":"https://example.com/"}})");
  postTimeChanges(350);
  player_->shutdown();
  settle();
  EXPECT_EQ(delegate_->take(), Callbacks{});
  EXPECT_EQ(system().downloads().size(), 3u);
  EXPECT_TRUE(application().browsers().empty());
}

TEST_F(AdSessionTest, ReleaseDropsQueuedCallbacksAndKeepsBeacons) {
  loadQuietly();
  page_->answer("control.pause", "");
  player_->pause();
  settle();
  page_->post(R"({"method":"window","params":{"event":"beacon","url":"https://example.com/b"}})");
  postTimeChanges(350);
  const std::weak_ptr<VemoraInlineAdPlayer> weak = player_;
  player_ = nullptr;
  EXPECT_TRUE(weak.expired()) << "a command that runs does not keep the player";
  page_->event("AdGroupEnd", "a");
  settle();
  EXPECT_EQ(delegate_->take(), Callbacks{});
  EXPECT_EQ(system().downloads().size(), 1u);
  advance(5);
  EXPECT_FALSE(page_->view());
}

TEST_F(AdSessionTest, ReleaseWhileTheRequestIsAskedForIsSilent) {
  std::atomic<bool> isAsked{false}, mayAnswer{false};
  const std::weak_ptr<VemoraInlineAdPlayer> weak = player_;
  delegate_->onCallback = [&](const std::string& callback) {
    if (callback != "requestForPlayer") return;
    isAsked = true;
    awaitBackground([&] { return mayAnswer.load(); });
  };
  player_->load();
  openPage();
  page_->view()->finishNavigation();
  awaitBackground([&] { return isAsked.load(); });
  postTimeChanges(5);
  player_ = nullptr;
  platform().fakeDispatch().runMain();
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "the load holds the player, its host does not";
  mayAnswer = true;
  advance(20);
  EXPECT_EQ(delegate_->take(), Callbacks{});
  EXPECT_TRUE(weak.expired());
  EXPECT_FALSE(page_->view());
}

TEST_F(AdSessionTest, AQueuedEndingIsDroppedByAShutdown) {
  loadQuietly();
  page_->post(R"({"method":"ping","params":{"shutdown":true}})");
  awaitBackground([&] { return !inner(*player_).dumper(); });
  player_->shutdown();
  settle();
  EXPECT_EQ(delegate_->take(), Callbacks{});
}

/// Notes on which thread it is destroyed.
struct MortalDelegate final : RecordingDelegate {
  explicit MortalDelegate(std::optional<bool>& died) : diedOnMainThread(died) {}
  ~MortalDelegate() override { diedOnMainThread = dispatch().isMainThread(); }
  std::optional<bool>& diedOnMainThread;
};

TEST_F(AdSessionTest, TheLoadReleasesTheDelegateAtOnceAndOnTheMainThread) {
  std::optional<bool> diedOnMainThread;
  auto delegate = std::make_shared<MortalDelegate>(diedOnMainThread);
  player_->setDelegate(delegate);
  delegate->onCallback = [&](const std::string&) { delegate = nullptr; };
  player_->load();  // Its page stays silent.
  settle();
  ASSERT_TRUE(diedOnMainThread.has_value()) << "held during the load";
  EXPECT_TRUE(*diedOnMainThread);
  advance(10);
}

// Heartbeat.

TEST_F(AdSessionTest, APingThatCrossesASuspensionLeavesNoCheck) {
  loadQuietly();
  std::atomic<bool> crossed{false};
  system().setOnLog([&](std::string_view line) {
    if (line == "VEMORA LOG: Monitor Heartbeat" && !crossed.exchange(true))
      inner(*player_)._heartbeatSuspend();
  });
  page_->ping();
  advance(6);
  EXPECT_TRUE(crossed);
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "the session was suspended";
}

TEST_F(AdSessionTest, TwoPingsAtOnceLeaveOneCheck) {
  loadQuietly();
  std::atomic<bool> crossed{false};
  system().setOnLog([&](std::string_view line) {
    if (line == "VEMORA LOG: Monitor Heartbeat" && !crossed.exchange(true))
      inner(*player_)._heartbeatCheck(nullptr);
  });
  page_->ping();
  pingFor(12);
  EXPECT_TRUE(crossed);
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "every check could be cancelled";
}

TEST_F(AdSessionTest, ACheckOfAnEarlierSessionDoesNotEndTheNext) {
  loadQuietly();
  advance(1);
  application().becomeActive();  // Arms a second check: the first is forgotten.
  settle();
  player_->shutdown();
  load();
  delegate_->take();
  pingFor(8);
  EXPECT_EQ(delegate_->take(), Callbacks{});
}

// Starts.

TEST_F(AdSessionTest, ReportsAStartWithoutEffect) {
  loadQuietly();
  page_->answer("control.start", R"("error":{"code":9,"message":"no player"})");
  page_->view()->setFrame({0, 0, 100, 100});
  settle();
  player_->start();
  settle();
  EXPECT_EQ(delegate_->take(), Callbacks{"didFailToStart 5002"});
  EXPECT_EQ(delegate_->lastError()->failureReason, "Failed to send control.start");
  EXPECT_EQ(delegate_->lastError()->underlyingError->description, "no player");
  EXPECT_TRUE(loggedError("The ads were not started: " + toString(*delegate_->lastError())));
  page_->answer("control.start", R"("result":{"ok":1})");
  player_->start();
  settle();
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "the session continues and may be started again";
}

TEST_F(AdSessionTest, ReportsADeferredStartWithoutEffectUnlessTheSessionHasEnded) {
  loadQuietly();
  page_->answer("control.start", "");
  player_->start();
  settle();
  page_->view()->setFrame({0, 0, 100, 100});
  pingFor(6);
  EXPECT_EQ(delegate_->take(), Callbacks{"didFailToStart 5002"});
  player_->start();
  settle();
  player_->shutdown();
  advance(6);
  EXPECT_EQ(delegate_->take(), Callbacks{});
}

TEST_F(AdSessionTest, AStartTimeoutEndsASessionThatOnlyPings) {
  player_->setStartTimeout(3);
  EXPECT_EQ(player_->startTimeout(), 3);
  loadQuietly();
  player_->start();
  pingFor(2);
  EXPECT_EQ(delegate_->take(), Callbacks{});
  player_->start();  // The time runs from the first start on.
  pingFor(1);
  EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5004"});
  EXPECT_EQ(delegate_->lastError()->failureReason, "No ad started within 3 seconds");
}

TEST_F(AdSessionTest, AnAdThatStartedStopsTheStartTimeout) {
  player_->setStartTimeout(3);
  loadQuietly();
  player_->start();
  settle();
  event("AdStarted");
  pingFor(5);
  EXPECT_EQ(delegate_->take(), Callbacks{"adStart a"});
}

TEST_F(AdSessionTest, WithoutAStartTimeoutTheHostDecides) {
  loadQuietly();
  player_->start();
  pingFor(60);
  EXPECT_EQ(delegate_->take(), Callbacks{});
}

// Click-through pages.

TEST_F(AdSessionTest, AnOpenWithoutAWindowKeepsTheWatch) {
  const std::string open = R"({"method":"window","params":{"event":"open","url":"https://example.com/"}})";
  loadQuietly();
  const auto window = application().window();
  application().setKeyWindow(nullptr);
  post(open);
  EXPECT_EQ(depth(), 0);
  application().setKeyWindow(window);
  const auto content = application().rootViewController()->fakeView();
  content->removeFromSuperview();  // Now nothing can be presented from it.
  post(open);
  EXPECT_EQ(depth(), 0);
  advance(5.1);
  EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5005"});
}

TEST_F(AdSessionTest, OpensAtMostTwoPagesAtATimeAndFiveInTenSeconds) {
  loadQuietly();
  const auto open = [&] {
    post(R"({"method":"window","params":{"event":"open","url":"https://example.com/"}})");
  };
  for (int i = 0; i < 60; ++i) open();
  ASSERT_EQ(application().browsers().size(), 2u);
  EXPECT_EQ(depth(), 2);
  EXPECT_EQ(countLogged("In-app browser not opened, since two are on the screen: https://example.com/"), 58u);
  for (int i = 0; i < 10; ++i) {
    application().browsers().back()->userCloses();
    settle();
    open();
  }
  EXPECT_EQ(application().browsers().size(), 5u);
  EXPECT_TRUE(
      logged("In-app browser not opened, since five were opened within ten seconds: https://example.com/"));
  application().browsers().front()->userCloses();
  pingFor(10);
  open();
  EXPECT_EQ(application().browsers().size(), 6u);
}

// Pages and configurations that must not end the host.

TEST_F(AdSessionTest, AConfigurationCannotAskForATrackerWithoutAChannel) {
  config_ = R"("result":{"data":{"features":{"moat":1},"moat_partner_code":"code"}})";
  loadQuietly();
  EXPECT_FALSE(inner(*player_).moatTracker());
  EXPECT_TRUE(loggedError(
      "The configuration asks for viewability measurement, which needs a request with a channel"));
  event("AdStarted");
  EXPECT_EQ(delegate_->take(), Callbacks{"adStart a"});
}

TEST_F(AdSessionTest, ATrackerThatFailsIsDropped) {
  config_ = R"("result":{"data":{"features":{"moat":1},"moat_partner_code":"code"}})";
  delegate_->request->setChannel("1");
  loadQuietly();
  delegate_->request->setChannel(std::nullopt);
  event("AdStarted");
  EXPECT_EQ(delegate_->take(), Callbacks{"adStart a"});
  EXPECT_FALSE(inner(*player_).moatTracker());
}

// Commands.

TEST_F(AdSessionTest, AtMostSixteenCommandsWaitForAPageAtATime) {
  loadQuietly();
  page_->answer("control.pause", "");
  const std::size_t before = page_->calls().size();
  for (int i = 0; i < 40; ++i) player_->pause();
  settle();
  EXPECT_EQ(page_->calls().size(), before + 16);
  inner(*player_)._heartbeatSuspend();
  advance(5);
  EXPECT_EQ(page_->calls().size(), before + 32);
  player_ = nullptr;
  advance(20);
  EXPECT_EQ(page_->calls().size(), before + 32) << "commands that had not begun are dropped with the player";
  EXPECT_FALSE(page_->view());
}

TEST_F(AdSessionTest, HundredsOfCommandsReachAPageThatAnswers) {
  loadQuietly();
  const std::size_t before = page_->calls().size();
  for (int i = 0; i < 300; ++i) player_->pause();
  settle();
  EXPECT_EQ(page_->calls().size(), before + 300);
}

using AdSessionDeathTest = AdSessionTest;

TEST_F(AdSessionDeathTest, LoadNamesItselfOffTheMainThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::thread([&] { player_->load(); }).join(),
               "VemoraAdPlayerBase::load must be called on the main thread");
}

}  // namespace
}  // namespace vemora
