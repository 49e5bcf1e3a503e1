#include "PlayerTest.h"

#include <Vemora/VemoraAdBreak.h>

#include <atomic>
#include <thread>

namespace vemora {
namespace {

using testing::FakeView;

class VemoraAdBreakTest : public PlayerTest {
 protected:
  using Results = std::vector<std::string>;

  VemoraAdBreakTest() { application().window()->addSubview(host_); }

  /// The page of the break that was loaded last answers.
  void answerLoad() {
    openPage();
    page_->view()->finishNavigation();
    settle();
  }
  void preload() {
    break_->preload();
    answerLoad();
  }
  void run() { break_->run(recorder()); }
  /// Runs until the first ad shows.
  void play() {
    run();
    answerLoad();
    event("AdGroupStart");
    event("AdStarted");
  }
  void event(const char* name, const char* ad = "a") {
    page_->event(name, ad);
    settle();
  }
  /// The results so far, such as "Failed 5002".
  Results take() { return std::exchange(results_, {}); }
  bool isPageClosed() {
    const auto view = page_ ? page_->view() : nullptr;
    return !view || view->requests().back().url == "about:blank";
  }

  VemoraAdBreak::OnEnded recorder() {
    return [this](const VemoraAdBreak::Result& result) {
      EXPECT_TRUE(dispatch().isMainThread());
      EXPECT_TRUE(isPageClosed()) << "the ads have left before the content resumes";
      results_.push_back(toString(result.outcome) +
                         (result.error ? " " + std::to_string(result.error->code) : ""));
      if (onEnded_) onEnded_();
    };
  }

  std::shared_ptr<FakeView> host_ = std::make_shared<FakeView>(Rect{40, 20, 320, 180});
  std::shared_ptr<VemoraAdRequest> request_ = VemoraAdRequest::initWithApiKey("key");
  std::shared_ptr<VemoraAdBreak> break_ = VemoraAdBreak::initInline(request_, host_);
  std::function<void()> onEnded_;
  Results results_;
};

// How a break ends.

TEST_F(VemoraAdBreakTest, RunLoadsStartsAndReportsCompletion) {
  play();
  EXPECT_EQ(page_->calls()[0].params["apikey"], JsonValue("key"));
  EXPECT_EQ(page_->view()->superview(), host_);
  EXPECT_EQ(take(), Results{});
  event("AdVideoComplete");
  page_->event("AdGroupEnd", "a");
  page_->event("AdError", "a");
  settle();
  EXPECT_EQ(take(), Results{"Completed"});
  EXPECT_FALSE(page_->view()) << "nothing of the page is left";
}

TEST_F(VemoraAdBreakTest, TheLastAdDecidesBetweenCompletedSkippedAndClosed) {
  const std::vector<std::pair<std::vector<const char*>, std::string>> endings = {
      {{"AdSkipped", "AdStarted", "AdVideoComplete"}, "Completed"},
      {{"AdVideoComplete", "AdStarted", "AdSkipped"}, "Skipped"},
      {{"AdUserClose"}, "Closed"},
      {{}, "Completed"}};
  for (const auto& [events, outcome] : endings) {
    break_ = VemoraAdBreak::initInline(request_, host_);
    play();
    for (const char* name : events) event(name);
    event("AdGroupEnd");
    EXPECT_EQ(take(), Results{outcome});
  }
}

TEST_F(VemoraAdBreakTest, ALoadWithoutAdsIsTheEnd) {
  ads_ = R"("result":{"data":{"adgroup":{"ads":[]}}})";
  run();
  answerLoad();
  EXPECT_EQ(take(), Results{"NoAds 5003"});
}

TEST_F(VemoraAdBreakTest, FailuresAreReportedWithTheirErrors) {
  const VMRError refused = {"network", 61, "Connection refused", {}, {}, nullptr};
  run();
  openPage();
  page_->failScripts(refused);
  page_->view()->failProvisionalNavigation(refused);
  settle();
  EXPECT_EQ(take(), Results{"Failed 5002"}) << "an unreachable page";

  break_ = VemoraAdBreak::initInline(nullptr, host_);
  run();
  answerLoad();
  EXPECT_EQ(take(), Results{"Failed 5001"}) << "no request";

  break_ = VemoraAdBreak::initInline(request_, host_);
  play();
  event("AdError");
  EXPECT_EQ(take(), Results{"Failed 5004"}) << "an error of the page";

  break_ = VemoraAdBreak::initInline(request_, host_);
  play();
  page_->ping();
  advance(5);
  EXPECT_EQ(take(), Results{"Failed 5005"}) << "a page that hangs";
}

TEST_F(VemoraAdBreakTest, AStartThatThePageRefusesIsTheEnd) {
  run();
  openPage();
  page_->answer("control.start", R"("error":{"code":9,"message":"no player"})");
  page_->view()->finishNavigation();
  settle();
  page_->view()->setFrame({0, 0, 100, 100});
  settle();
  EXPECT_EQ(take(), Results{"Failed 5002"});
  EXPECT_TRUE(isPageClosed());
}

TEST_F(VemoraAdBreakTest, ASecondRunReportsToItsOwnCallback) {
  run();
  Results second;
  break_->run([&](const VemoraAdBreak::Result& result) { second.push_back(toString(result.outcome)); });
  EXPECT_EQ(second, Results{}) << "not inside the call";
  answerLoad();
  EXPECT_EQ(second, Results{"Failed"});
  event("AdGroupEnd");
  EXPECT_EQ(take(), Results{"Completed"});
}

// Limits.

TEST_F(VemoraAdBreakTest, AStartTimeoutCoversTheLoad) {
  break_->setStartTimeout(3);
  run();
  openPage();
  advance(2.9);
  EXPECT_EQ(take(), Results{});
  advance(0.1);
  EXPECT_EQ(take(), Results{"TimedOut"});
  advance(60);
  EXPECT_EQ(take(), Results{}) << "the report of the load is no second ending";
}

TEST_F(VemoraAdBreakTest, APageThatPlaysNothingIsGivenFifteenSecondsUnlessSet) {
  run();
  answerLoad();
  pingFor(14);
  EXPECT_EQ(take(), Results{});
  pingFor(1);
  EXPECT_EQ(take(), Results{"TimedOut"});
}

TEST_F(VemoraAdBreakTest, AStartedAdStopsTheStartTimeoutButNotTheTimeLimit) {
  break_->setStartTimeout(3);
  break_->setTimeLimit(20);
  play();
  pingFor(19);
  EXPECT_EQ(take(), Results{});
  pingFor(1);
  EXPECT_EQ(take(), Results{"TimedOut"});
}

TEST_F(VemoraAdBreakTest, WithoutLimitsTheBreakWaits) {
  break_->setStartTimeout(0);
  run();
  answerLoad();
  pingFor(100);
  EXPECT_EQ(take(), Results{});
}

TEST_F(VemoraAdBreakTest, LimitsBeginWithTheRun) {
  break_->setTimeLimit(4);
  preload();
  pingFor(60);
  run();
  pingFor(3);
  EXPECT_EQ(take(), Results{});
  pingFor(1);
  EXPECT_EQ(take(), Results{"TimedOut"});
}

// Preloading.

TEST_F(VemoraAdBreakTest, APreloadedBreakWaitsForItsRun) {
  EXPECT_FALSE(break_->isReady());
  break_->preload();
  break_->preload();
  answerLoad();
  EXPECT_TRUE(break_->isReady());
  EXPECT_EQ(application().webViewCount(), 1u);
  EXPECT_NE(page_->view()->superview(), host_) << "not shown yet";
  run();
  settle();
  EXPECT_EQ(page_->view()->superview(), host_);
  event("AdStarted");
  event("AdGroupEnd");
  EXPECT_FALSE(break_->isReady());
  EXPECT_EQ(take(), Results{"Completed"});
}

TEST_F(VemoraAdBreakTest, ARunDuringThePreloadStartsWhenItIsLoaded) {
  break_->preload();
  run();
  answerLoad();
  EXPECT_EQ(application().webViewCount(), 1u);
  EXPECT_EQ(page_->view()->superview(), host_);
}

TEST_F(VemoraAdBreakTest, APreloadThatFailedIsReportedByTheRun) {
  preload();
  page_->ping();
  advance(5);
  EXPECT_FALSE(break_->isReady());
  EXPECT_TRUE(isPageClosed());
  EXPECT_EQ(take(), Results{});
  break_->cancel();  // It has ended already.
  run();
  EXPECT_EQ(take(), Results{}) << "not inside the call";
  settle();
  EXPECT_EQ(take(), Results{"Failed 5005"});
}

TEST_F(VemoraAdBreakTest, AnInterstitialIsPresentedByItsRun) {
  break_ = VemoraAdBreak::initInterstitial(request_);
  preload();
  const auto root = application().rootViewController();
  EXPECT_FALSE(root->presentedViewController());
  run();
  settle();
  ASSERT_TRUE(root->presentedViewController());
  event("AdStarted");
  onEnded_ = [&] { EXPECT_FALSE(root->presentedViewController()) << "dismissed before the content resumes"; };
  event("AdGroupEnd");
  EXPECT_EQ(take(), Results{"Completed"});
}

TEST_F(VemoraAdBreakTest, AResizableBreakIsResizedByItsPlayer) {
  break_ = VemoraAdBreak::initResizable(request_, host_);
  EXPECT_EQ(break_->player()->placementType(), "resizeable");
  break_->player()->setSize(0.5);
  play();
  host_->layoutIfNeeded();
  EXPECT_EQ(page_->view()->frame().width, 160);
  break_->cancel();
  settle();
}

// Cancelling and releasing.

TEST_F(VemoraAdBreakTest, CancelReportsOnce) {
  play();
  break_->cancel();
  EXPECT_EQ(take(), Results{}) << "not inside the call";
  break_->cancel();
  page_->event("AdGroupEnd", "a");
  settle();
  EXPECT_EQ(take(), Results{"Cancelled"});
}

TEST_F(VemoraAdBreakTest, ACancelledBreakNeverLoads) {
  break_->cancel();
  break_->preload();
  run();
  settle();
  EXPECT_EQ(application().webViewCount(), 0u);
  EXPECT_EQ(take(), Results{"Cancelled"});
}

TEST_F(VemoraAdBreakTest, ReleasingIsSilentInEveryState) {
  const std::vector<std::function<void()>> states = {
      [] {},                                          // new
      [&] { break_->preload(); },                     // preloading
      [&] { preload(); },                             // ready
      [&] { run(); },                                 // loading
      [&] { play(); },                                // playing
      [&] { play(), page_->event("AdGroupEnd"); },    // ending: the event is on its way
      [&] { play(), break_->cancel(); },              // ended, the callback is queued
      [&] { play(), event("AdGroupEnd"), take(); }};  // over
  for (std::size_t i = 0; i < states.size(); ++i) {
    break_ = VemoraAdBreak::initInline(request_, host_);
    states[i]();
    break_ = nullptr;
    advance(100);
    EXPECT_EQ(take(), Results{}) << "state " << i;
    EXPECT_EQ(host_->subviews().size(), 0u) << "state " << i;
  }
}

TEST_F(VemoraAdBreakTest, TheCallbackMayReleaseTheBreakAndRunTheNext) {
  onEnded_ = [&] {
    onEnded_ = nullptr;
    break_ = VemoraAdBreak::initInline(request_, host_);
    run();
  };
  play();
  event("AdGroupEnd");
  EXPECT_EQ(take(), Results{"Completed"});
  answerLoad();
  event("AdStarted");
  event("AdGroupEnd");
  EXPECT_EQ(take(), Results{"Completed"});
}

TEST_F(VemoraAdBreakTest, ReleasedOnAnotherThreadItIsSilentAndEndsOnTheMainThread) {
  std::optional<bool> wasOnMainThread;
  const auto noteThread = [&wasOnMainThread](void*) { wasOnMainThread = dispatch().isMainThread(); };
  break_->run([this, captured = std::shared_ptr<void>(this, noteThread)](const auto& result) {
    results_.push_back(toString(result.outcome));
  });
  answerLoad();
  break_->cancel();  // The callback is queued.
  std::thread([this] { break_ = nullptr; }).join();
  settle();
  EXPECT_EQ(take(), Results{});
  EXPECT_EQ(wasOnMainThread, true);
}

using VemoraAdBreakDeathTest = VemoraAdBreakTest;

TEST_F(VemoraAdBreakDeathTest, RunNamesItselfOffTheMainThread) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(std::thread([&] { run(); }).join(), "VemoraAdBreak::run must be called on the main thread");
}

}  // namespace
}  // namespace vemora
