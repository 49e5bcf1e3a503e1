#include <Vemora/Testing/VemoraScriptedController.h>
#include <Vemora/Testing/VemoraTesting.h>
#include <Vemora/VemoraAdBreak.h>
#include <Vemora/VemoraAdPlayerCallbacks.h>
#include <Vemora/VemoraInlineAdPlayer.h>

#include <gtest/gtest.h>

namespace vemora {
namespace {

/// The scripted controller as a host app's tests use it.
class TestingKitTest : public ::testing::Test {
 protected:
  using Lines = std::vector<std::string>;

  std::shared_ptr<VemoraInlineAdPlayer> newPlayer() {
    auto player = VemoraInlineAdPlayer::initInView(VemoraTesting::makeView(640, 360), callbacks_);
    const auto note = [this](const char* name) {
      return [this, name](const auto&, const auto& ad) {
        happened_.push_back(std::string(name) + (ad ? " " + ad->idText() : ""));
      };
    };
    callbacks_->onDidLoadAds = [this](const auto& player, const auto&, const auto& error) {
      error ? failed(*error) : player->start();
    };
    callbacks_->onAdAspectRatio = [this](const auto&, const auto&, double ratio) {
      happened_.push_back(ratio > 1.7 ? "wide" : "narrow");
    };
    callbacks_->onAdGroupStart = [this](const auto&, const auto&) { happened_.push_back("group"); };
    callbacks_->onAdStart = note("start");
    callbacks_->onAdPaused = note("paused");
    callbacks_->onAdPlaying = note("playing");
    callbacks_->onAdSkipped = note("skipped");
    callbacks_->onAdUserClose = note("closed");
    callbacks_->onAdClicked = note("clicked");
    callbacks_->onAdComplete = note("complete");
    callbacks_->onAdTimeUpdate = [this](const auto&, const auto&, double time) { position_ = time; };
    callbacks_->onAdGroupComplete = [this](const auto&, const auto&) { happened_.push_back("over"); };
    callbacks_->onAdError = [this](const auto&, const auto&, const auto& error) { failed(error); };
    return player;
  }
  void failed(const VMRError& error) { happened_.push_back("failed " + std::to_string(error.code)); }
  Lines take() { return std::exchange(happened_, {}); }
  Lines playFor(double seconds) {
    player_->load();
    VemoraTesting::advance(seconds);
    return take();
  }

  VemoraScriptedController controller_;
  std::shared_ptr<VemoraAdPlayerCallbacks> callbacks_ = std::make_shared<VemoraAdPlayerCallbacks>();
  Lines happened_;
  double position_ = 0;
  std::shared_ptr<VemoraInlineAdPlayer> player_ = newPlayer();
};

TEST_F(TestingKitTest, PlaysAGroupOnTheClock) {
  controller_.setAds({{"a", 2, "First"}, {"b", 1, ""}});
  EXPECT_EQ(playFor(1), (Lines{"group", "wide", "start a"}));
  EXPECT_NEAR(position_, 1, 0.26);
  EXPECT_EQ(player_->adGroup()->ads()[0]->titleText(), "First");
  VemoraTesting::advance(3);
  EXPECT_EQ(take(), (Lines{"complete a", "wide", "start b", "complete b", "over"}));
}

TEST_F(TestingKitTest, ObeysCommands) {
  controller_.setAds({{"a", 5, ""}, {"b", 5, ""}});
  playFor(1);
  player_->pause();
  VemoraTesting::advance(60);
  EXPECT_EQ(take(), Lines{"paused a"});
  EXPECT_FALSE(controller_.isPlaying());
  player_->resume();
  VemoraTesting::advance(1);
  player_->skip();
  VemoraTesting::advance(1);
  EXPECT_EQ(take(), (Lines{"playing a", "skipped a", "wide", "start b"}));
  player_->stop();
  VemoraTesting::settle();
  EXPECT_EQ(take(), Lines{"over"});
}

TEST_F(TestingKitTest, PlaysTheViewer) {
  playFor(1);
  controller_.viewerClicks("https://shop.example/");
  VemoraTesting::advance(30);
  EXPECT_EQ(take(), (Lines{"paused ad-1", "clicked ad-1"}));
  EXPECT_EQ(VemoraTesting::openedPages(), Lines{"https://shop.example/"});
  EXPECT_TRUE(VemoraTesting::viewerClosesWindow());
  VemoraTesting::advance(1);
  EXPECT_EQ(take(), Lines{"playing ad-1"});
  EXPECT_FALSE(VemoraTesting::viewerClosesWindow());
  controller_.sendBeacon("https://tracker.example/1");
  controller_.viewerCloses();
  VemoraTesting::settle();
  EXPECT_EQ(take(), (Lines{"closed ad-1", "over"}));
  EXPECT_EQ(VemoraTesting::beacons(), Lines{"https://tracker.example/1"});
}

TEST_F(TestingKitTest, FailsAsPagesDo) {
  controller_.setUnreachable("Connection refused");
  EXPECT_EQ(playFor(1), Lines{"failed 5002"});
  EXPECT_NE(VemoraTesting::log().front().find("did not load"), std::string::npos);
  controller_.setUnreachable("");

  player_ = newPlayer();
  playFor(1);
  controller_.fail("broken video");
  VemoraTesting::settle();
  EXPECT_EQ(take(), Lines{"failed 5004"});

  player_ = newPlayer();
  playFor(1);
  controller_.hang();
  VemoraTesting::advance(6);
  EXPECT_EQ(take(), Lines{"failed 5005"});

  controller_.setError("get.ads", 403, "unknown key");
  player_ = newPlayer();
  EXPECT_EQ(playFor(1), Lines{"failed 5002"});
  controller_.setAds({});
  controller_.setSilent("get.config");
  player_ = newPlayer();
  EXPECT_EQ(playFor(11), Lines{"failed 5002"});
}

TEST_F(TestingKitTest, AnInterstitialIsShownAndClosedByItsWindow) {
  std::string outcome;
  const auto adBreak = VemoraAdBreak::initInterstitial(VemoraAdRequest::init());
  adBreak->run([&](const VemoraAdBreak::Result& result) { outcome = toString(result.outcome); });
  VemoraTesting::advance(2);
  EXPECT_TRUE(controller_.isPlaying());
  EXPECT_TRUE(VemoraTesting::viewerClosesWindow());
  VemoraTesting::settle();
  EXPECT_EQ(outcome, "Closed");
}

TEST_F(TestingKitTest, TheAppLeavesAndComesBack) {
  playFor(1);
  VemoraTesting::leaveForeground();
  VemoraTesting::advance(60);
  EXPECT_EQ(take(), Lines{"paused ad-1"});
  VemoraTesting::enterForeground();
  VemoraTesting::advance(1);
  EXPECT_EQ(take(), Lines{"playing ad-1"});
}

}  // namespace
}  // namespace vemora
