#include "PlayerTest.h"

#include <Vemora/VemoraSDK.h>

namespace vemora {
namespace {

using testing::FakeView;

/// Plays through a player that gets its view and its delegate together.
class VemoraAdPlayerCallbacksTest : public PlayerTest {
 protected:
  VemoraAdPlayerCallbacksTest() { application().window()->addSubview(host_); }

  using Player = VemoraAdPlayerDelegate::Player;
  using Ad = VemoraAdPlayerDelegate::Ad;
  using AdGroup = VemoraAdPlayerDelegate::AdGroup;

  std::function<void(const Player&, const Ad&)> record(const std::string& callback) {
    return [this, callback](const Player& player, const Ad& ad) {
      EXPECT_EQ(player, player_);
      recorded_.push_back(callback + " " + ad->idText());
    };
  }
  std::function<void(const Player&, const AdGroup&)> recordGroup(const std::string& callback) {
    return [this, callback](const Player& player, const AdGroup& group) {
      EXPECT_EQ(player, player_);
      recorded_.push_back(callback + " " + std::to_string(group->ads().size()));
    };
  }

  std::shared_ptr<FakeView> host_ = std::make_shared<FakeView>(Rect{40, 20, 320, 180});
  std::shared_ptr<VemoraAdPlayerCallbacks> callbacks_ = std::make_shared<VemoraAdPlayerCallbacks>();
  std::shared_ptr<VemoraAdPlayerBase> player_ = VemoraInlineAdPlayer::initInView(host_, callbacks_);
  std::vector<std::string> recorded_;
};

TEST_F(VemoraAdPlayerCallbacksTest, EachCallbackCallsItsLambda) {
  callbacks_->onRequest = [](const Player&) { return VemoraAdRequest::initWithApiKey("lambda"); };
  callbacks_->onDidLoadAds = [this](const Player& player, const AdGroup& ads, const auto& error) {
    recorded_.push_back("didLoadAds " + std::to_string(ads->ads().size()) + (error ? " failed" : ""));
    player->start();
  };
  callbacks_->onAdGroupStart = recordGroup("groupStart");
  callbacks_->onAdAspectRatio = [this](const Player&, const Ad& ad, double ratio) {
    recorded_.push_back("aspectRatio " + ad->idText() + (ratio == 2 ? " 2" : " wrong"));
  };
  callbacks_->onAdStart = record("start");
  callbacks_->onAdPlaying = record("playing");
  callbacks_->onAdPaused = record("paused");
  callbacks_->onAdTimeUpdate = [this](const Player&, const Ad& ad, double seconds) {
    recorded_.push_back("timeUpdate " + ad->idText() + (seconds == 1.5 ? " 1.5" : " wrong"));
  };
  callbacks_->onAdClicked = record("clicked");
  callbacks_->onAdSkipped = record("skipped");
  callbacks_->onAdUserClose = record("userClose");
  callbacks_->onAdComplete = record("complete");
  callbacks_->onAdGroupComplete = recordGroup("groupComplete");
  load(player_);
  EXPECT_EQ(page_->calls()[0].params["apikey"], JsonValue("lambda"));
  page_->event("AdLoaded", "a", R"({"width":400,"height":200})");
  settle();
  for (const char* event : {"AdGroupStart", "AdStarted", "AdPaused", "AdPlaying", "AdTimeChange",
                            "AdClickThru", "AdSkipped", "AdUserClose", "AdVideoComplete", "AdGroupEnd"}) {
    page_->event(event, "a", "1.5");
    settle();
  }
  EXPECT_EQ(recorded_,
            (std::vector<std::string>{"didLoadAds 2", "aspectRatio a 2", "groupStart 2", "start a",
                                      "paused a", "playing a", "timeUpdate a 1.5", "clicked a", "skipped a",
                                      "userClose a", "complete a", "groupComplete 2"}));
}

TEST_F(VemoraAdPlayerCallbacksTest, UnsetCallbacksAreNoOpsAndTheRequestHasADefault) {
  Vemora::setAPIKey("default");
  load(player_);
  EXPECT_EQ(page_->calls()[0].params["apikey"], JsonValue("default"));
  for (const char* event : {"AdGroupStart", "AdStarted", "AdPaused", "AdPlaying", "AdTimeChange",
                            "AdClickThru", "AdSkipped", "AdUserClose", "AdVideoComplete", "AdError"})
    page_->event(event, "a");
  settle();
  EXPECT_FALSE(inner(*player_).runtime()) << "the session has ended";
}

TEST_F(VemoraAdPlayerCallbacksTest, ACallbackMayReplaceItself) {
  std::optional<VMRError> reported;
  callbacks_->onAdError = [this, &reported, name = std::string(100, 'x')](const Player&, const Ad&,
                                                                          const VMRError& error) {
    callbacks_->onAdError = nullptr;
    // Reads what the lambda itself holds, which the assignment must not have destroyed.
    if (name.size() == 100 && name.back() == 'x') reported = error;
  };
  load(player_);
  page_->event("AdError", "a", R"("broken video")");
  settle();
  ASSERT_TRUE(reported);
  EXPECT_EQ(reported->failureReason, "broken video");
  EXPECT_FALSE(callbacks_->onAdError);
}

TEST_F(VemoraAdPlayerCallbacksTest, AViewAndADelegateAreGivenTogether) {
  for (const std::shared_ptr<VemoraAdPlayerBase>& player :
       {std::shared_ptr<VemoraAdPlayerBase>(VemoraInlineAdPlayer::initInView(host_, callbacks_)),
        std::shared_ptr<VemoraAdPlayerBase>(VemoraResizableAdPlayer::initInView(host_, callbacks_))}) {
    EXPECT_EQ(player->delegate(), callbacks_) << player->placementType();
    load(player);
    const auto view = page_->view();
    player->start();
    settle();
    EXPECT_EQ(view->superview(), host_) << player->placementType();
    player->shutdown();
    settle();
  }
}

}  // namespace
}  // namespace vemora
