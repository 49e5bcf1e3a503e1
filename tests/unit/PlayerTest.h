#pragma once

#include "CoreTest.h"
#include "core/client/VMRAdDumper.h"
#include "core/page/VMRWebViewRuntime.h"
#include "core/player/VemoraAdPlayerBase_p.h"

#include <Vemora/VemoraInlineAdPlayer.h>

#include <mutex>
#include <optional>

namespace vemora {

/// Writes down every callback, such as "adStart b" or "adError - 5005", and lets a test act inside each.
class RecordingDelegate : public VemoraAdPlayerDelegate {
 public:
  std::shared_ptr<VemoraAdRequest> request = VemoraAdRequest::initWithApiKey("key");
  std::function<void(const std::string& callback)> onCallback = [](const std::string&) {};

  std::vector<std::string> take() {
    std::lock_guard lock(mutex_);
    return std::exchange(heard_, {});
  }
  std::optional<VMRError> lastError() {
    std::lock_guard lock(mutex_);
    return lastError_;
  }

  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    EXPECT_FALSE(dispatch().isMainThread());
    onCallback("requestForPlayer");
    return request;
  }
  void vemoraDidLoadAds(const Player&, const AdGroup& ads, const std::optional<VMRError>& error) override {
    const std::string count = ads ? std::to_string(ads->ads().size()) : "-";
    hear("didLoadAds " + count + (error ? " " + std::to_string(error->code) : ""), error);
  }
  void vemoraAdGroupStart(const Player&, const AdGroup& g) override { hear("adGroupStart" + size(g)); }
  void vemoraAdStart(const Player&, const Ad& ad) override { hear("adStart" + name(ad)); }
  void vemoraAdPlaying(const Player&, const Ad& ad) override { hear("adPlaying" + name(ad)); }
  void vemoraAdPaused(const Player&, const Ad& ad) override { hear("adPaused" + name(ad)); }
  void vemoraAdTimeUpdate(const Player&, const Ad& ad, double t) override {
    hear("adTimeUpdate" + name(ad) + " " + *JsonValue(t).stringValue());
  }
  void vemoraAdClicked(const Player&, const Ad& ad) override { hear("adClicked" + name(ad)); }
  void vemoraAdSkipped(const Player&, const Ad& ad) override { hear("adSkipped" + name(ad)); }
  void vemoraAdUserClose(const Player&, const Ad& ad) override { hear("adUserClose" + name(ad)); }
  void vemoraAdComplete(const Player&, const Ad& ad) override { hear("adComplete" + name(ad)); }
  void vemoraAdGroupComplete(const Player&, const AdGroup& g) override { hear("adGroupComplete" + size(g)); }
  void vemoraAdError(const Player&, const Ad& ad, const VMRError& error) override {
    hear("adError" + name(ad) + " " + std::to_string(error.code), error);
  }

 private:
  static std::string name(const Ad& ad) { return " " + (ad ? ad->id().stringValue().value_or("?") : "-"); }
  static std::string size(const AdGroup& group) {
    return " " + (group ? std::to_string(group->ads().size()) : "-");
  }
  void hear(const std::string& callback, std::optional<VMRError> error = {}) {
    EXPECT_TRUE(dispatch().isMainThread()) << callback;
    {
      std::lock_guard lock(mutex_);
      heard_.push_back(callback);
      if (error) lastError_ = std::move(error);
    }
    onCallback(callback);
  }

  std::mutex mutex_;
  std::vector<std::string> heard_;
  std::optional<VMRError> lastError_;
};

/// A player, its delegate and its page, with a group of two ads, "a" and "b".
class PlayerTest : public CoreTest {
 protected:
  using Heard = std::vector<std::string>;

  /// A loaded session: the page has finished, answered, and the delegate has heard.
  template <typename Player>
  void load(const std::shared_ptr<Player>& player) {
    player->load();
    openPage();
    page_->view()->finishNavigation();
    settle();
  }
  /// Puts a scripted page behind the web view that was made last.
  void openPage() {
    page_.emplace(application().lastWebView());
    page_->answer("get.config", config_);
    page_->answer("get.ads", ads_);
  }
  /// Advances in steps, with a ping from the page after each second.
  void pingFor(int seconds) {
    for (int i = 0; i < seconds; ++i) {
      advance(1);
      page_->ping();
      settle();
    }
  }
  static VemoraAdPlayerBase_p& inner(VemoraAdPlayerBase& player) { return VemoraAdPlayerBase_p::of(player); }

  std::string config_ = R"("result":{"data":{}})";
  std::string ads_ = R"("result":{"data":{"adgroup":{"ads":[
      {"id":"b","index":1,"duration":30.5},{"id":"a","index":0,"duration":15}]}}})";
  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
  std::optional<ScriptedPage> page_;
};

}  // namespace vemora
