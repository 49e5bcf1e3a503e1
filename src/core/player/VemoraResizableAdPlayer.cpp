#include "core/player/InViewPlacement.h"
#include "core/player/PlacementLayout.h"

#include <Vemora/VemoraResizableAdPlayer.h>

namespace vemora {

namespace {

class VemoraResizableAdPlayer_p final : public InViewPlacement {
 public:
  using InViewPlacement::InViewPlacement;

  ~VemoraResizableAdPlayer_p() override {
    releaseOnMainThread(heightConstraint_.exchange(nullptr));
    releaseOnMainThread(widthConstraint_.exchange(nullptr));
  }

  std::string placementType() const override {
    return "resizeable";
  }  // Spelt so for the controller, on purpose.

  void setSize(float size) override {
    currentSize_ = size;
    const auto container = parentView();
    const auto webView = _getPlayerView();
    if (!container || !webView || !webView->isDescendantOfView(*container)) return;
    webView->setTranslatesAutoresizingMaskIntoConstraints(false);
    replace(heightConstraint_, *container, makeConstraint(webView, LayoutAttribute::Height, container, size));
    replace(widthConstraint_, *container, makeConstraint(webView, LayoutAttribute::Width, container, size));
    container->setNeedsLayout();
  }

 protected:
  void place(const std::shared_ptr<WebView>& webView, const std::shared_ptr<View>& container) override {
    container->addConstraint(makeConstraint(webView, LayoutAttribute::CenterX, container));
    container->addConstraint(makeConstraint(webView, LayoutAttribute::CenterY, container));
    setSize(currentSize_);
  }

 private:
  using Constraint = std::shared_ptr<LayoutConstraint>;

  static void replace(Locked<Constraint>& field, View& container, const Constraint& made) {
    if (const Constraint old = field.exchange(made)) container.removeConstraint(old);
    container.addConstraint(made);
  }

  Locked<Constraint> heightConstraint_;
  Locked<Constraint> widthConstraint_;
  std::atomic<float> currentSize_{1.0F};
};

}  // namespace

std::shared_ptr<VemoraResizableAdPlayer> VemoraResizableAdPlayer::init() {
  return initInView(nullptr);
}

std::shared_ptr<VemoraResizableAdPlayer> VemoraResizableAdPlayer::initWithAdPlayerDelegate(
    std::weak_ptr<VemoraAdPlayerDelegate> delegate) {
  auto player = init();
  player->setDelegate(std::move(delegate));
  return player;
}

std::shared_ptr<VemoraResizableAdPlayer> VemoraResizableAdPlayer::initInView(
    std::shared_ptr<View> parentView) {
  return std::shared_ptr<VemoraResizableAdPlayer>(
      new VemoraResizableAdPlayer(std::make_unique<VemoraResizableAdPlayer_p>(std::move(parentView))));
}

std::shared_ptr<VemoraResizableAdPlayer> VemoraResizableAdPlayer::initInView(
    std::shared_ptr<View> parentView, std::weak_ptr<VemoraAdPlayerDelegate> delegate) {
  auto player = initInView(std::move(parentView));
  player->setDelegate(std::move(delegate));
  return player;
}

}  // namespace vemora
