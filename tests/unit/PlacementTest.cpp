#include "PlayerTest.h"

#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>

#include <cmath>
#include <limits>

namespace vemora {
namespace {

using testing::FakeView;
using testing::FakeViewController;

/// Players that are started on a page that has loaded two ads, in a host view of 320 by 180 points.
class PlacementTest : public PlayerTest {
 protected:
  PlacementTest() { application().rootViewController()->fakeView()->addSubview(host_); }

  template <typename Player>
  std::shared_ptr<Player> loaded(std::shared_ptr<Player> player) {
    player->setDelegate(delegate_);
    load(player);
    view_ = page_->view();
    delegate_->take();
    return player;
  }
  /// Runs the next frame and the second after it.
  void frame() {
    settle();
    application().window()->layoutIfNeeded();
    advance(1);
  }
  std::size_t starts() const {
    const auto methods = page_->methods();
    return static_cast<std::size_t>(std::count(methods.begin(), methods.end(), "control.start"));
  }

  std::shared_ptr<FakeView> host_ = std::make_shared<FakeView>(Rect{40, 20, 320, 180});
  std::shared_ptr<testing::FakeWebView> view_;
};

TEST_F(PlacementTest, InlineFillsItsHostAndStartsOnceVisible) {
  const auto player = loaded(VemoraInlineAdPlayer::initInView(host_));
  EXPECT_EQ(player->placementType(), "inline");
  player->start();
  settle();
  EXPECT_EQ(view_->superview(), host_);
  EXPECT_TRUE(view_->isUserInteractionEnabled());
  ASSERT_EQ(host_->constraints().size(), 4u);
  for (const auto& constraint : host_->constraints()) {
    EXPECT_EQ(constraint->firstItem.lock(), view_);
    EXPECT_EQ(constraint->secondItem.lock(), host_);
    EXPECT_EQ(constraint->firstAttribute, constraint->secondAttribute);
    EXPECT_FALSE(constraint->toSafeArea);
  }
  EXPECT_EQ(starts(), 0u) << "held back while there is nothing to see";
  frame();
  EXPECT_EQ(view_->frame(), (Rect{0, 0, 320, 180}));
  EXPECT_EQ(starts(), 1u);
  page_->event("AdGroupEnd");
  settle();
  EXPECT_FALSE(view_->superview());
  EXPECT_TRUE(host_->superview());
  EXPECT_TRUE(host_->constraints().empty());
}

TEST_F(PlacementTest, StartsOnceLaidOutWithoutWaitingForThePoll) {
  const auto player = loaded(VemoraInlineAdPlayer::initInView(host_));
  player->start();
  settle();
  ASSERT_EQ(starts(), 0u);
  application().window()->layoutIfNeeded();
  settle();
  EXPECT_EQ(starts(), 1u) << "the clock has not moved";
}

TEST_F(PlacementTest, TheStartIsSentEvenWithoutAHost) {
  const auto player = loaded(VemoraResizableAdPlayer::initWithAdPlayerDelegate(delegate_));
  player->setSize(0.5F);
  player->start();
  settle();
  EXPECT_EQ(view_->superview(), application().window());
  view_->setFrame({0, 0, 100, 100});
  advance(1);
  EXPECT_EQ(starts(), 1u);
}

TEST_F(PlacementTest, ResizableStaysCentredAtItsFraction) {
  const auto player = loaded(VemoraResizableAdPlayer::initInView(host_));
  EXPECT_EQ(player->placementType(), "resizeable");
  EXPECT_EQ(page_->calls()[0].params["params"]["placement_type"], JsonValue("resizeable"));
  player->start();
  frame();
  EXPECT_EQ(view_->frame(), (Rect{0, 0, 320, 180})) << "fills its host at first";
  const std::size_t constraints = host_->constraints().size();
  for (const float size : {0.25F, 2.0F, 0.5F}) player->setSize(size);
  EXPECT_EQ(host_->constraints().size(), constraints) << "replaced, not accumulated";
  EXPECT_EQ(host_->layoutRequests(), 4u);
  frame();
  EXPECT_EQ(view_->frame(), (Rect{80, 45, 160, 90}));
  host_->setFrame({0, 0, 160, 90});
  frame();
  EXPECT_EQ(view_->frame(), (Rect{40, 22.5, 80, 45})) << "scales with its host";
  player->shutdown();
  settle();
  EXPECT_TRUE(host_->constraints().empty());
  player->setSize(1);
}

TEST_F(PlacementTest, ResizableKeepsASizeThatCameBeforeTheStart) {
  const auto player = loaded(VemoraResizableAdPlayer::init());
  player->setSize(0.5F);
  const auto inView = loaded(VemoraResizableAdPlayer::initInView(host_));
  inView->setSize(0.5F);
  EXPECT_TRUE(host_->constraints().empty());
  inView->start();
  frame();
  EXPECT_EQ(view_->frame(), (Rect{80, 45, 160, 90}));
}

TEST_F(PlacementTest, ResizableSurvivesEverySize) {
  const auto player = loaded(VemoraResizableAdPlayer::initInView(host_));
  player->start();
  frame();
  for (const float size : {std::nanf(""), -1.0F, std::numeric_limits<float>::infinity(), 1e30F, 0.0F}) {
    player->setSize(size);
    host_->layoutIfNeeded();
  }
  player->setSize(1);
  host_->layoutIfNeeded();
  EXPECT_EQ(host_->constraints().size(), 4u);
  EXPECT_EQ(view_->frame(), (Rect{0, 0, 320, 180}));
}

TEST_F(PlacementTest, AStartThatShutdownOvertakesPlacesNothing) {
  const auto player = loaded(VemoraInlineAdPlayer::initInView(host_));
  player->start();
  std::thread([&] { player->shutdown(); }).join();
  settle();
  EXPECT_FALSE(view_->superview());
  EXPECT_TRUE(host_->subviews().empty());
}

TEST_F(PlacementTest, InterstitialStartsOncePresentedOverEverything) {
  const auto modal = std::make_shared<FakeViewController>(ViewControllerTraits{});
  application().rootViewController()->presentViewController(modal, false, nullptr);
  application().setHoldsPresentations(true);
  const auto player = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  EXPECT_EQ(player->placementType(), "interstitial");
  player->start();
  settle();
  const auto stage = std::dynamic_pointer_cast<FakeViewController>(modal->presentedViewController());
  ASSERT_TRUE(stage);
  EXPECT_TRUE(stage->traits().prefersStatusBarHidden);
  EXPECT_TRUE(stage->fakeView()->isBlack());
  EXPECT_EQ(view_->superview(), stage->view());
  EXPECT_TRUE(view_->isUserInteractionEnabled());
  ASSERT_EQ(stage->fakeView()->constraints().size(), 4u);
  for (const auto& constraint : stage->fakeView()->constraints()) EXPECT_TRUE(constraint->toSafeArea);
  frame();
  EXPECT_EQ(view_->frame(), (Rect{0, 0, 400, 300}));
  EXPECT_EQ(starts(), 0u) << "visible, but not yet presented";
  stage->finishPresentation();
  settle();
  EXPECT_EQ(starts(), 1u);

  page_->event("AdGroupEnd");
  settle();
  EXPECT_FALSE(modal->presentedViewController());
  EXPECT_EQ(application().rootViewController()->presentedViewController(), modal) << "dismisses only itself";
  EXPECT_EQ(delegate_->take(), Callbacks{"adGroupComplete 2"});
  application().rootViewController()->dismissViewController(false);
}

TEST_F(PlacementTest, AStartAgainDoesNotStackStages) {
  const auto player = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  player->start();
  frame();
  player->start();
  frame();
  EXPECT_EQ(starts(), 2u);
  player->shutdown();
  settle();
  EXPECT_FALSE(application().rootViewController()->presentedViewController())
      << "no black screen stays behind";
}

TEST_F(PlacementTest, AStartDuringThePresentationWaitsForIt) {
  application().setHoldsPresentations(true);
  const auto player = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  player->start();
  settle();
  player->start();
  settle();
  EXPECT_EQ(starts(), 0u) << "not on the screen yet";
  application().window()->layoutIfNeeded();
  std::dynamic_pointer_cast<FakeViewController>(application().rootViewController()->presentedViewController())
      ->finishPresentation();
  settle();
  EXPECT_EQ(starts(), 1u);
  player->shutdown();
  settle();
}

TEST_F(PlacementTest, ASecondLoadTakesDownTheStageOfTheFirst) {
  const auto player = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  player->start();
  frame();
  ASSERT_TRUE(application().rootViewController()->presentedViewController());
  load(player);
  EXPECT_FALSE(application().rootViewController()->presentedViewController());
}

TEST_F(PlacementTest, InterstitialsTakeDownOnlyTheirOwnStages) {
  const auto root = application().rootViewController();
  std::vector<std::shared_ptr<VemoraInterstitialAdPlayer>> players;
  for (int i = 0; i < 4; ++i) {
    players.push_back(loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_)));
    players.back()->start();
    frame();
  }
  const auto top = VemoraAdPlayerBase_p::topMostController();
  players[0]->shutdown();
  players[2]->shutdown();
  settle();
  EXPECT_EQ(VemoraAdPlayerBase_p::topMostController(), top) << "the last one's stage is still up";
  EXPECT_EQ(view_->superview(), top->view());
  players[3]->shutdown();
  settle();
  ASSERT_TRUE(root->presentedViewController());
  EXPECT_TRUE(inner(*players[1])
                  ._getPlayerView()
                  ->isDescendantOfView(*VemoraAdPlayerBase_p::topMostController()->view()))
      << "the second one's is the topmost now";
  players[1]->shutdown();
  settle();
  EXPECT_FALSE(root->presentedViewController()) << "and no covered stage is left";
}

TEST_F(PlacementTest, AStageThatWasClosedDoesNotTakeDownItsSuccessor) {
  const auto root = application().rootViewController();
  const auto first = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  first->start();
  frame();
  std::dynamic_pointer_cast<FakeViewController>(root->presentedViewController())->userCloses();
  settle();
  const auto second = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  second->start();
  frame();
  first->shutdown();
  settle();
  EXPECT_TRUE(root->presentedViewController());
  second->shutdown();
  settle();
  EXPECT_FALSE(root->presentedViewController());
}

TEST_F(PlacementTest, AStageClosedDuringTheShutdownDoesNotTakeDownItsSuccessor) {
  const auto root = application().rootViewController();
  const auto player = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  player->start();
  frame();
  player->shutdown();
  std::dynamic_pointer_cast<FakeViewController>(root->presentedViewController())->userCloses();
  const auto ofTheHost = application().createViewController({});
  root->presentViewController(ofTheHost, false, nullptr);
  settle();
  EXPECT_EQ(root->presentedViewController(), ofTheHost);
}

TEST_F(PlacementTest, AViewerWhoClosesTheStageEndsTheSession) {
  for (const bool pageAnswers : {true, false}) {
    const auto player = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
    player->start();
    frame();
    page_->answer("control.close", pageAnswers ? R"("result":{"ok":1})" : "");
    std::dynamic_pointer_cast<FakeViewController>(
        application().rootViewController()->presentedViewController())
        ->userCloses();
    settle();
    const auto methods = page_->methods();
    EXPECT_EQ(std::count(methods.begin(), methods.end(), "control.close"), 1);
    if (pageAnswers) {
      page_->event("AdUserClose", "a");
      page_->event("AdGroupEnd", "a");
      advance(10);
      EXPECT_EQ(delegate_->take(), (Callbacks{"adUserClose a", "adGroupComplete 2"}));
    } else {
      pingFor(4);
      EXPECT_EQ(delegate_->take(), Callbacks{});
      pingFor(1);
      EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5004"});
      EXPECT_EQ(delegate_->lastError()->failureReason,
                "The viewer closed the ad and the page did not end it");
    }
  }
}

TEST_F(PlacementTest, NoStageStaysBehindWhenAStartCrossesTheShutdown) {
  const auto player = loaded(VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(delegate_));
  // The session ends on a background thread; when that has queued the dismissal and continues to end the
  // session, the main thread overtakes it with the presentation.
  std::atomic<bool> isShuttingDown{false}, mayGoOn{false};
  system().setOnLog([&](std::string_view line) {
    if (line != "VEMORA LOG: Monitor Heartbeat Suspend") return;
    isShuttingDown = true;
    while (!mayGoOn) std::this_thread::yield();
  });
  std::thread ending([&] { player->shutdown(); });
  while (!isShuttingDown) std::this_thread::yield();
  platform().fakeDispatch().runMain();
  player->start();
  while (!application().rootViewController()->presentedViewController()) platform().fakeDispatch().runMain();
  mayGoOn = true;
  ending.join();
  settle();
  EXPECT_FALSE(application().rootViewController()->presentedViewController());
}

}  // namespace
}  // namespace vemora
