#include "../../common/ProcessResources.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "core/player/VemoraAdPlayerBase_p.h"
#include "gtk/ControllerServer.h"
#include "gtk/GtkTest.h"

#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>

#include <algorithm>
#include <filesystem>

namespace vemora::test {
namespace {

/// Answers everything at once, pings from a second after its ads on, and opens a page when it is paused.
constexpr char kPage[] = R"(<script>
const post = message => webkit.messageHandlers.Vemora.postMessage(message);
const event = (name, data) => post({method: "event", params: {id: "a", event: name, data}});
const answers = {
  "get.config": () => ({data: {}}),
  "get.ads": () => {
    setInterval(() => post({method: "ping", params: {}}), 1000);
    return {data: {adgroup: {ads: [{id: "a", duration: 60}]}}};
  },
  "control.start": () => { event("AdStarted"); return {good: true}; },
  "control.pause": () => {
    post({method: "window", params: {event: "open", url: location.origin + "/more"}});
    return {good: true};
  },
};
window.VemoraProxy = {bridge: {onMessage(text) {
  const {id, method} = JSON.parse(text);
  post({id, result: (answers[method] || (() => ({good: true})))()});
}}};
</script>)";

class Host final : public VemoraAdPlayerDelegate {
 public:
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    return VemoraAdRequest::init();
  }
  void vemoraDidLoadAds(const Player& player, const AdGroup& ads,
                        const std::optional<VMRError>& error) override {
    ++loaded;
    EXPECT_FALSE(error) << toString(*error);
    if (ads && startsAtOnce) player->start();
  }
  void vemoraAdStart(const Player&, const Ad& ad) override {
    ++started;
    EXPECT_TRUE(ad);
  }
  void vemoraAdError(const Player&, const Ad&, const VMRError& error) override {
    ADD_FAILURE() << toString(error);
  }

  bool startsAtOnce = true;
  int loaded = 0;
  int started = 0;
};

guint windows() {
  return g_list_model_get_n_items(gtk_window_get_toplevels());
}

class PlayerLifetimeTest : public ::testing::Test {
 protected:
  PlayerLifetimeTest() { server_.serve("/more", "<title>More</title>"); }

  std::shared_ptr<VemoraAdPlayerBase> inlinePlayer() {
    auto player = VemoraInlineAdPlayer::initInView(window_.adView());
    player->setDelegate(host_);
    return player;
  }
  static std::weak_ptr<WebView> webViewOf(VemoraAdPlayerBase& player) {
    return VemoraAdPlayerBase_p::of(player)._getPlayerView();
  }
  bool hasStarted(int count) {
    return waitUntil([&] { return host_->started >= count; });
  }

  ControllerServer server_{kPage};
  HostWindow window_;
  std::shared_ptr<Host> host_ = std::make_shared<Host>();
};

TEST_F(PlayerLifetimeTest, TwoPlayAtOnce) {
  HostWindow other;
  const auto first = inlinePlayer();
  const auto second = VemoraInlineAdPlayer::initInView(other.adView());
  second->setDelegate(host_);
  first->load();
  second->load();
  EXPECT_TRUE(hasStarted(2));
  EXPECT_EQ(host_->loaded, 2);
  first->shutdown();
  second->shutdown();
}

TEST_F(PlayerLifetimeTest, ASecondLoadReleasesTheFirst) {
  host_->startsAtOnce = false;
  auto player = inlinePlayer();
  player->load();
  const auto first = webViewOf(*player);
  EXPECT_TRUE(waitUntil([&] { return host_->loaded == 1; }));
  player->load();
  const auto second = webViewOf(*player);
  EXPECT_TRUE(waitUntil([&] { return host_->loaded == 2 && first.expired(); }));
  EXPECT_FALSE(second.expired());
  player = nullptr;
  EXPECT_TRUE(waitUntil([&] { return second.expired(); }));
}

TEST_F(PlayerLifetimeTest, MayBeReleasedAtAnyTimeWithoutALeak) {
  const auto live = [this](bool interstitial, auto until) {
    std::shared_ptr<VemoraAdPlayerBase> player =
        interstitial ? VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(host_) : inlinePlayer();
    player->load();
    const auto webView = webViewOf(*player);
    until(*player);
    player = nullptr;
    EXPECT_TRUE(waitUntil([&] { return webView.expired(); }));
  };
  const auto whileLoading = [](VemoraAdPlayerBase&) { runFrames(); };
  const auto whilePlaying = [this](VemoraAdPlayerBase&) { EXPECT_TRUE(hasStarted(host_->started + 1)); };
  const guint ownWindows = windows();
  const auto withBrowser = [&](VemoraAdPlayerBase& player) {
    whilePlaying(player);
    player.pause();
    EXPECT_TRUE(waitUntil([&] { return windows() > ownWindows; }));
  };
  const auto closeBrowser = [&] {
    const auto top = VemoraAdPlayerBase_p::topMostController();
    const auto root = application().keyWindow()->rootViewController();
    if (top != root) root->dismissViewController(false);
  };
  const auto round = [&] {
    live(false, whileLoading);
    live(false, whilePlaying);
    live(true, whilePlaying);
    live(false, withBrowser);
    closeBrowser();
    EXPECT_TRUE(waitUntil([&] { return windows() == ownWindows; }));
  };

  round();
  round();
  const auto files = openFileCount();
  const auto tasks = threadCount();
  for (int i = 0; i < 3; ++i) round();
  // WebKit and the worker pool keep what they may need again for some seconds.
  EXPECT_TRUE(waitUntil([&] { return openFileCount() <= files; }, 30))
      << openFileCount() << " after " << files;
  EXPECT_TRUE(waitUntil([&] { return threadCount() <= tasks; }, 30)) << threadCount() << " after " << tasks;
}

}  // namespace
}  // namespace vemora::test
