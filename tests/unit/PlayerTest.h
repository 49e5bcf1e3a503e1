#pragma once

#include "CoreTest.h"
#include "core/client/VMRAdDumper.h"
#include "core/page/VMRWebViewRuntime.h"
#include "core/player/VemoraAdPlayerBase_p.h"

#include <Vemora/VemoraInlineAdPlayer.h>

#include <mutex>
#include <optional>

namespace vemora {

/// Records every callback, such as "adStart b" or "adError - 5005", and lets a test act inside each.
class RecordingDelegate : public VemoraAdPlayerDelegate {
 public:
  std::shared_ptr<VemoraAdRequest> request = VemoraAdRequest::initWithApiKey("key");
  std::function<void(const std::string& callback)> onCallback = [](const std::string&) {};

  std::vector<std::string> take() {
    std::lock_guard lock(mutex_);
    return std::exchange(callbacks_, {});
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
    record("didLoadAds " + count + (error ? " " + std::to_string(error->code) : ""), error);
  }
  void vemoraDidFailToStart(const Player&, const VMRError& error) override {
    record("didFailToStart " + std::to_string(error.code), error);
  }
  void vemoraAdGroupStart(const Player&, const AdGroup& g) override { record("adGroupStart" + size(g)); }
  void vemoraAdAspectRatio(const Player&, const Ad& ad, double ratio) override {
    record("adAspectRatio" + name(ad) + " " + *JsonValue(ratio).stringValue());
  }
  void vemoraAdStart(const Player&, const Ad& ad) override { record("adStart" + name(ad)); }
  void vemoraAdPlaying(const Player&, const Ad& ad) override { record("adPlaying" + name(ad)); }
  void vemoraAdPaused(const Player&, const Ad& ad) override { record("adPaused" + name(ad)); }
  void vemoraAdTimeUpdate(const Player&, const Ad& ad, double t) override {
    record("adTimeUpdate" + name(ad) + " " + *JsonValue(t).stringValue());
  }
  void vemoraAdClicked(const Player&, const Ad& ad) override { record("adClicked" + name(ad)); }
  void vemoraAdSkipped(const Player&, const Ad& ad) override { record("adSkipped" + name(ad)); }
  void vemoraAdUserClose(const Player&, const Ad& ad) override { record("adUserClose" + name(ad)); }
  void vemoraAdComplete(const Player&, const Ad& ad) override { record("adComplete" + name(ad)); }
  void vemoraAdGroupComplete(const Player&, const AdGroup& g) override {
    record("adGroupComplete" + size(g));
  }
  void vemoraAdError(const Player&, const Ad& ad, const VMRError& error) override {
    record("adError" + name(ad) + " " + std::to_string(error.code), error);
  }

 private:
  static std::string name(const Ad& ad) { return " " + (ad ? ad->id().stringValue().value_or("?") : "-"); }
  static std::string size(const AdGroup& group) {
    return " " + (group ? std::to_string(group->ads().size()) : "-");
  }
  void record(const std::string& callback, std::optional<VMRError> error = {}) {
    EXPECT_TRUE(dispatch().isMainThread()) << callback;
    {
      std::lock_guard lock(mutex_);
      callbacks_.push_back(callback);
      if (error) lastError_ = std::move(error);
    }
    onCallback(callback);
  }

  std::mutex mutex_;
  std::vector<std::string> callbacks_;
  std::optional<VMRError> lastError_;
};

/// A player, its delegate and its page, with a group of two ads, "a" and "b".
class PlayerTest : public CoreTest {
 protected:
  using Callbacks = std::vector<std::string>;

  /// A loaded session: the page has finished and answered, and the delegate has been called.
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
