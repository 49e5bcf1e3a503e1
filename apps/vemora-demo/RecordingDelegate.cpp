#include "RecordingDelegate.h"

#include <utility>

namespace vemora {

RecordingDelegate::RecordingDelegate(std::shared_ptr<VemoraAdRequest> request, Handler handler)
    : request_(std::move(request)), handler_(std::move(handler)) {}

double RecordingDelegate::now() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - loadedAt_).count();
}

std::shared_ptr<VemoraAdRequest> RecordingDelegate::requestForPlayer(const Player&) {
  handler_({.kind = CallbackKind::RequestForPlayer, .time = now()});
  return request_;
}

void RecordingDelegate::vemoraDidLoadAds(const Player&, const AdGroup& ads,
                                         const std::optional<VMRError>& error) {
  handler_({.kind = CallbackKind::DidLoadAds, .time = now(), .group = ads, .error = error});
}

void RecordingDelegate::vemoraAdGroupStart(const Player&, const AdGroup& adGroup) {
  handler_({.kind = CallbackKind::AdGroupStart, .time = now(), .group = adGroup});
}

void RecordingDelegate::vemoraAdStart(const Player&, const Ad& ad) {
  handler_({.kind = CallbackKind::AdStart, .time = now(), .ad = ad});
}

void RecordingDelegate::vemoraAdPlaying(const Player&, const Ad& ad) {
  handler_({.kind = CallbackKind::AdPlaying, .time = now(), .ad = ad});
}

void RecordingDelegate::vemoraAdPaused(const Player&, const Ad& ad) {
  handler_({.kind = CallbackKind::AdPaused, .time = now(), .ad = ad});
}

void RecordingDelegate::vemoraAdTimeUpdate(const Player&, const Ad& ad, double timeElapsed) {
  handler_({.kind = CallbackKind::AdTimeUpdate, .time = now(), .ad = ad, .timeElapsed = timeElapsed});
}

void RecordingDelegate::vemoraAdClicked(const Player&, const Ad& ad) {
  handler_({.kind = CallbackKind::AdClicked, .time = now(), .ad = ad});
}

void RecordingDelegate::vemoraAdSkipped(const Player&, const Ad& ad) {
  handler_({.kind = CallbackKind::AdSkipped, .time = now(), .ad = ad});
}

void RecordingDelegate::vemoraAdUserClose(const Player&, const Ad& ad) {
  handler_({.kind = CallbackKind::AdUserClose, .time = now(), .ad = ad});
}

void RecordingDelegate::vemoraAdComplete(const Player&, const Ad& ad) {
  handler_({.kind = CallbackKind::AdComplete, .time = now(), .ad = ad});
}

void RecordingDelegate::vemoraAdGroupComplete(const Player&, const AdGroup& adGroup) {
  handler_({.kind = CallbackKind::AdGroupComplete, .time = now(), .group = adGroup});
}

void RecordingDelegate::vemoraAdError(const Player&, const Ad& ad, const VMRError& error) {
  handler_({.kind = CallbackKind::AdError, .time = now(), .ad = ad, .error = error});
}

}  // namespace vemora
