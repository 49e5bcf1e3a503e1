#include <Vemora/VemoraAdPlayerCallbacks.h>

namespace vemora {

namespace {

/// Calls a copy, so that a callback may replace or clear itself.
template <typename Callback, typename... Arguments>
void notify(Callback callback, const Arguments&... arguments) {
  if (callback) callback(arguments...);
}

}  // namespace

VemoraAdPlayerCallbacks::VemoraAdPlayerCallbacks() = default;
VemoraAdPlayerCallbacks::~VemoraAdPlayerCallbacks() = default;

std::shared_ptr<VemoraAdRequest> VemoraAdPlayerCallbacks::requestForPlayer(const Player& player) {
  const auto supply = onRequest;
  return supply ? supply(player) : VemoraAdRequest::init();
}

void VemoraAdPlayerCallbacks::vemoraDidLoadAds(const Player& player, const AdGroup& ads,
                                               const std::optional<VMRError>& error) {
  notify(onDidLoadAds, player, ads, error);
}

void VemoraAdPlayerCallbacks::vemoraDidFailToStart(const Player& player, const VMRError& error) {
  notify(onDidFailToStart, player, error);
}

void VemoraAdPlayerCallbacks::vemoraAdGroupStart(const Player& player, const AdGroup& adGroup) {
  notify(onAdGroupStart, player, adGroup);
}

void VemoraAdPlayerCallbacks::vemoraAdAspectRatio(const Player& player, const Ad& ad, double aspectRatio) {
  notify(onAdAspectRatio, player, ad, aspectRatio);
}

void VemoraAdPlayerCallbacks::vemoraAdStart(const Player& player, const Ad& ad) {
  notify(onAdStart, player, ad);
}

void VemoraAdPlayerCallbacks::vemoraAdPlaying(const Player& player, const Ad& ad) {
  notify(onAdPlaying, player, ad);
}

void VemoraAdPlayerCallbacks::vemoraAdPaused(const Player& player, const Ad& ad) {
  notify(onAdPaused, player, ad);
}

void VemoraAdPlayerCallbacks::vemoraAdTimeUpdate(const Player& player, const Ad& ad, double timeElapsed) {
  notify(onAdTimeUpdate, player, ad, timeElapsed);
}

void VemoraAdPlayerCallbacks::vemoraAdClicked(const Player& player, const Ad& ad) {
  notify(onAdClicked, player, ad);
}

void VemoraAdPlayerCallbacks::vemoraAdSkipped(const Player& player, const Ad& ad) {
  notify(onAdSkipped, player, ad);
}

void VemoraAdPlayerCallbacks::vemoraAdUserClose(const Player& player, const Ad& ad) {
  notify(onAdUserClose, player, ad);
}

void VemoraAdPlayerCallbacks::vemoraAdComplete(const Player& player, const Ad& ad) {
  notify(onAdComplete, player, ad);
}

void VemoraAdPlayerCallbacks::vemoraAdGroupComplete(const Player& player, const AdGroup& adGroup) {
  notify(onAdGroupComplete, player, adGroup);
}

void VemoraAdPlayerCallbacks::vemoraAdError(const Player& player, const Ad& ad, const VMRError& error) {
  notify(onAdError, player, ad, error);
}

}  // namespace vemora
