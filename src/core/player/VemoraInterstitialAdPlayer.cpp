#include "core/player/PlacementLayout.h"
#include "core/player/VemoraAdPlayerBase_p.h"
#include "core/player/VemoraInterstitialViewController.h"
#include "ports/MainThreadRelease.h"

#include <Vemora/VemoraInterstitialAdPlayer.h>

namespace vemora {

namespace {

class VemoraInterstitialAdPlayer_p final : public VemoraAdPlayerBase_p {
 public:
  ~VemoraInterstitialAdPlayer_p() override {
    // A black screen must not outlive the ad that it was for.
    if (auto presenter = presenter_.exchange(nullptr)) {
      dispatch().mainAsync([presenter = std::move(presenter)] { presenter->dismissViewController(true); });
    }
  }

  std::string placementType() const override { return "interstitial"; }

  void _start(const JsonValue& parameters) override {
    dispatch().mainAsync([self = sharedSelf(this), parameters] { self->present(parameters); });
  }

  void shutdown() override {
    dismissStage();
    VemoraAdPlayerBase_p::shutdown();
    // Again: a start may have put up its stage between the two.
    dismissStage();
  }

 private:
  void dismissStage() {
    dispatch().mainAsync([self = sharedSelf(this)] {
      if (const auto presenter = self->presenter_.exchange(nullptr)) presenter->dismissViewController(true);
    });
  }

  void present(const JsonValue& parameters) {
    const auto webView = _getPlayerView();
    const auto presenter = topMostController();
    if (!webView || !presenter) return;
    if (isOnStage(*webView)) return startInBackground(parameters);
    presenter_.set(presenter);
    const auto stage = VemoraInterstitialViewController::init();
    stage->view()->addSubview(webView);
    stage->view()->setBackgroundColorBlack();
    webView->setUserInteractionEnabled(true);
    webView->setTranslatesAutoresizingMaskIntoConstraints(false);
    pinEdges(webView, stage->view(), true);
    // The ad starts once it can be seen; a stage that never comes up never starts it.
    presenter->presentViewController(
        stage, true, [self = sharedSelf(this), parameters] { self->startInBackground(parameters); });
  }

  bool isOnStage(const View& webView) const {
    const auto presenter = presenter_.get();
    const auto stage = presenter ? presenter->presentedViewController() : nullptr;
    return stage && webView.isDescendantOfView(*stage->view());
  }

  void startInBackground(const JsonValue& parameters) {
    dispatch().globalAsync(
        [self = sharedSelf(this), parameters] { self->VemoraAdPlayerBase_p::_start(parameters); });
  }

  Locked<std::shared_ptr<ViewController>> presenter_;
};

}  // namespace

std::shared_ptr<VemoraInterstitialAdPlayer> VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(
    std::weak_ptr<VemoraAdPlayerDelegate> delegate) {
  std::shared_ptr<VemoraInterstitialAdPlayer> player(
      new VemoraInterstitialAdPlayer(std::make_unique<VemoraInterstitialAdPlayer_p>()));
  player->setDelegate(std::move(delegate));
  return player;
}

}  // namespace vemora
