#include "Scenario.h"

namespace vemora::scenarios {

namespace {

const std::vector<Placement> kInterstitial = {Placement::Interstitial};
const std::vector<Placement> kInView = {Placement::Inline, Placement::Resizable};

void require(Session& s, bool condition, const char* promise) {
  if (!condition) s.breakPromise(promise);
}

std::shared_ptr<testing::FakeViewController> stageOf(Session& s) {
  return std::dynamic_pointer_cast<testing::FakeViewController>(
      s.application().rootViewController()->presentedViewController());
}

bool hasStage(Session& s) {
  return s.application().rootViewController()->presentedViewController() != nullptr;
}

}  // namespace

std::vector<Scenario> placementScenarios() {
  const char* group = "Placements";
  return {
      {group,
       "stage-goes-at-the-end",
       "An interstitial ends.",
       [](Session& s) {
         s.play();
         require(s, hasStage(s), "the stage is up");
         s.page().event("AdGroupEnd");
         s.run();
         require(s, !hasStage(s), "the stage has gone");
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adGroupComplete 2"}},
       kInterstitial},
      {group,
       "stage-goes-with-the-player",
       "The player of an interstitial is released.",
       [](Session& s) {
         s.play();
         s.releasePlayer();
         s.run();
         require(s, !hasStage(s), "the stage has gone");
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a"}},
       kInterstitial},
      {group,
       "stage-never-comes-up",
       "The system never finishes presenting the stage.",
       [](Session& s) {
         s.application().setHoldsPresentations(true);
         s.loadAds();
         s.start();
         s.advance(30);
         s.shutdown();
         s.run();
         require(s, !hasStage(s), "the stage has gone");
       },
       {{"didLoadAds 2"}, {}, {}, "Silence: the ad does not start, and the page pings."},
       kInterstitial},
      {group,
       "release-during-presentation",
       "The player is released while the stage comes up.",
       [](Session& s) {
         s.application().setHoldsPresentations(true);
         s.loadAds();
         s.start();
         s.releasePlayer();
         s.advance(30);
         require(s, !hasStage(s), "the stage has gone");
       },
       {{"didLoadAds 2"}},
       kInterstitial},
      {group,
       "two-interstitials",
       "A second interstitial is on top of the first when the first one ends.",
       [](Session& s) {
         s.play();
         const auto other = s.addPlayer(Placement::Interstitial);
         other->load();
         const auto page = Page::behind(s.application().lastWebView());
         page->finish();
         s.run();
         other->start();
         s.advance(2);
         s.page().event("AdGroupEnd");
         s.advance(1);
         page->event("AdStarted");
         s.run();
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "2: didLoadAds 2", "adGroupComplete 2",
         "2: adStart a"}},
       kInterstitial},
      {group,
       "viewer-closes-interstitial",
       "The viewer closes the window of an interstitial; the page ends the group.",
       [](Session& s) {
         s.play();
         s.page().onCall("control.close", [&s] {
           s.page().event("AdUserClose");
           s.page().event("AdGroupEnd");
         });
         stageOf(s)->userCloses();
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adUserClose a", "adGroupComplete 2"}},
       kInterstitial},
      {group,
       "viewer-closes-and-page-ignores-it",
       "The viewer closes the window of an interstitial; the page plays on.",
       [](Session& s) {
         s.play();
         stageOf(s)->userCloses();
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adError - 5004"}},
       kInterstitial},
      {group,
       "no-window",
       "The application has no window when the interstitial starts.",
       [](Session& s) {
         s.loadAds();
         const auto window = s.application().window();
         s.application().setKeyWindow(nullptr);
         s.player()->start();
         s.advance(12);
         s.application().setKeyWindow(window);
       },
       {{"didLoadAds 2"}, {"The interstitial cannot be presented: there is no window to present it over"}},
       kInterstitial},
      {group,
       "start-timeout",
       "The host has set a start time-out, and no ad starts.",
       [](Session& s) {
         s.player()->setStartTimeout(8);
         s.loadAds();
         s.start();
         s.advance(12);
       },
       {{"didLoadAds 2", "adError - 5004"}}},
      {group,
       "view-never-shows",
       "The view of the host is in no window.",
       [](Session& s) {
         s.dropContainer();
         s.loadAds();
         s.start();
         s.advance(60);
         for (const auto& call : s.page().calls())
           require(s, call != "control.start", "the ad does not start");
       },
       {{"didLoadAds 2"}, {}, {}, "Silence: the ad starts when the view shows."},
       {Placement::Inline}},
      {group,
       "size-storm",
       "`setSize` is called 1 000 times.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 1000; ++i) s.player()->setSize(0.2F + 0.8F * static_cast<float>(i % 100) / 100);
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a"}},
       {Placement::Resizable}},
      {group,
       "view-goes-before-the-end",
       "The host removes its view while the ad plays.",
       [](Session& s) {
         s.play();
         s.dropContainer();
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a"}, {}, {}, "The page is paused and pings on."},
       kInView},
  };
}

}  // namespace vemora::scenarios
