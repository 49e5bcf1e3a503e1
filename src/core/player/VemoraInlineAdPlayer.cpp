#include "core/player/InViewPlacement.h"
#include "core/player/PlacementLayout.h"

#include <Vemora/VemoraInlineAdPlayer.h>

namespace vemora {

namespace {

class VemoraInlineAdPlayer_p final : public InViewPlacement {
 public:
  using InViewPlacement::InViewPlacement;

  std::string placementType() const override { return "inline"; }

 protected:
  void place(const std::shared_ptr<WebView>& webView, const std::shared_ptr<View>& container) override {
    webView->setTranslatesAutoresizingMaskIntoConstraints(false);
    pinEdges(webView, container, false);
  }
};

}  // namespace

std::shared_ptr<VemoraInlineAdPlayer> VemoraInlineAdPlayer::initWithAdPlayerDelegate(
    std::weak_ptr<VemoraAdPlayerDelegate> delegate) {
  auto player = initInView(nullptr);
  player->setDelegate(std::move(delegate));
  return player;
}

std::shared_ptr<VemoraInlineAdPlayer> VemoraInlineAdPlayer::initInView(std::shared_ptr<View> parentView) {
  return std::shared_ptr<VemoraInlineAdPlayer>(
      new VemoraInlineAdPlayer(std::make_unique<VemoraInlineAdPlayer_p>(std::move(parentView))));
}

std::shared_ptr<VemoraInlineAdPlayer> VemoraInlineAdPlayer::initInView(
    std::shared_ptr<View> parentView, std::weak_ptr<VemoraAdPlayerDelegate> delegate) {
  auto player = initInView(std::move(parentView));
  player->setDelegate(std::move(delegate));
  return player;
}

}  // namespace vemora
