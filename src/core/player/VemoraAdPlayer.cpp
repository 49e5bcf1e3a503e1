#include "base/Locked.h"

#include <Vemora/VemoraAdPlayer.h>

namespace vemora {

struct VemoraAdPlayer::DelegateField {
  Locked<std::weak_ptr<VemoraAdPlayerDelegate>> value;
};

VemoraAdPlayer::VemoraAdPlayer() : delegate_(std::make_unique<DelegateField>()) {}
VemoraAdPlayer::~VemoraAdPlayer() = default;

void VemoraAdPlayer::start() {}
void VemoraAdPlayer::load() {}
void VemoraAdPlayer::play() {}
void VemoraAdPlayer::stop() {}
void VemoraAdPlayer::pause() {}
void VemoraAdPlayer::resume() {}
void VemoraAdPlayer::skip() {}
void VemoraAdPlayer::close() {}

std::shared_ptr<VemoraAdPlayerDelegate> VemoraAdPlayer::delegate() const {
  return delegate_->value.get().lock();
}

void VemoraAdPlayer::setDelegate(std::weak_ptr<VemoraAdPlayerDelegate> delegate) {
  delegate_->value.set(std::move(delegate));
}

bool VemoraAdPlayer::hasLostDelegate() const {
  const std::weak_ptr<VemoraAdPlayerDelegate> none, delegate = delegate_->value.get();
  const bool wasSet = delegate.owner_before(none) || none.owner_before(delegate);
  return wasSet && delegate.expired();
}

// A delegate overrides the callbacks that it needs.
VemoraAdPlayerDelegate::~VemoraAdPlayerDelegate() = default;
void VemoraAdPlayerDelegate::vemoraDidLoadAds(const Player&, const AdGroup&, const std::optional<VMRError>&) {
}
void VemoraAdPlayerDelegate::vemoraDidFailToStart(const Player&, const VMRError&) {}
void VemoraAdPlayerDelegate::vemoraAdGroupStart(const Player&, const AdGroup&) {}
void VemoraAdPlayerDelegate::vemoraAdAspectRatio(const Player&, const Ad&, double) {}
void VemoraAdPlayerDelegate::vemoraAdStart(const Player&, const Ad&) {}
void VemoraAdPlayerDelegate::vemoraAdPlaying(const Player&, const Ad&) {}
void VemoraAdPlayerDelegate::vemoraAdPaused(const Player&, const Ad&) {}
void VemoraAdPlayerDelegate::vemoraAdTimeUpdate(const Player&, const Ad&, double) {}
void VemoraAdPlayerDelegate::vemoraAdClicked(const Player&, const Ad&) {}
void VemoraAdPlayerDelegate::vemoraAdSkipped(const Player&, const Ad&) {}
void VemoraAdPlayerDelegate::vemoraAdUserClose(const Player&, const Ad&) {}
void VemoraAdPlayerDelegate::vemoraAdComplete(const Player&, const Ad&) {}
void VemoraAdPlayerDelegate::vemoraAdGroupComplete(const Player&, const AdGroup&) {}
void VemoraAdPlayerDelegate::vemoraAdError(const Player&, const Ad&, const VMRError&) {}

}  // namespace vemora
