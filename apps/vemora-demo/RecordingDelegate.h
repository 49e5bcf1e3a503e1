#pragma once

#include "PlayerCallback.h"

#include <Vemora/VemoraAdPlayerDelegate.h>

#include <chrono>
#include <functional>
#include <memory>

namespace vemora {

/// A delegate that turns each callback into a value and passes it on.
///
/// Threads: `Handler` is called on the main thread, except for `requestForPlayer`, which comes on one of the
/// player's.
class RecordingDelegate final : public VemoraAdPlayerDelegate {
 public:
  using Handler = std::function<void(const PlayerCallback&)>;

  /// Time runs from here: to be made right before the load. `request` is not changed any more by the maker.
  RecordingDelegate(std::shared_ptr<VemoraAdRequest> request, Handler handler);

  /// Seconds since the load.
  [[nodiscard]] double now() const;

  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player& player) override;
  void vemoraDidLoadAds(const Player& player, const AdGroup& ads,
                        const std::optional<VMRError>& error) override;
  void vemoraAdGroupStart(const Player& player, const AdGroup& adGroup) override;
  void vemoraAdStart(const Player& player, const Ad& ad) override;
  void vemoraAdPlaying(const Player& player, const Ad& ad) override;
  void vemoraAdPaused(const Player& player, const Ad& ad) override;
  void vemoraAdTimeUpdate(const Player& player, const Ad& ad, double timeElapsed) override;
  void vemoraAdClicked(const Player& player, const Ad& ad) override;
  void vemoraAdSkipped(const Player& player, const Ad& ad) override;
  void vemoraAdUserClose(const Player& player, const Ad& ad) override;
  void vemoraAdComplete(const Player& player, const Ad& ad) override;
  void vemoraAdGroupComplete(const Player& player, const AdGroup& adGroup) override;
  void vemoraAdError(const Player& player, const Ad& ad, const VMRError& error) override;

 private:
  const std::shared_ptr<VemoraAdRequest> request_;
  const Handler handler_;
  const std::chrono::steady_clock::time_point loadedAt_ = std::chrono::steady_clock::now();
};

}  // namespace vemora
