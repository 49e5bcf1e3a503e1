#pragma once

#include <Vemora/VemoraAdPlayerDelegate.h>
#include <Vemora/VemoraExport.h>

#include <functional>
#include <memory>
#include <optional>

namespace vemora {

/// A delegate made of lambdas, for hosts that need only some of the callbacks.
///
///     const auto callbacks = std::make_shared<VemoraAdPlayerCallbacks>();
///     callbacks->onDidLoadAds = [](const auto& player, const auto&, const auto&) { player->start(); };
///     player->setDelegate(callbacks);
///
/// **Ownership.** Players hold their delegate weakly, so the host app keeps this object. A lambda that
/// captures the player strongly creates a cycle if the player's owner is reachable from it: use the player
/// that each callback gets as its first argument.
///
/// **Threads.** Each member is called where `VemoraAdPlayerDelegate` says. Set `onRequest` before `load`,
/// and the others on the main thread. A callback may replace or clear itself.
class VEMORA_EXPORT VemoraAdPlayerCallbacks : public VemoraAdPlayerDelegate {
 public:
  /// No callbacks are set.
  VemoraAdPlayerCallbacks();
  ~VemoraAdPlayerCallbacks() override;

  /// Supplies the request, on a background thread. Unless set, `VemoraAdRequest::init()` is used.
  std::function<std::shared_ptr<VemoraAdRequest>(const Player&)> onRequest;
  /// See `vemoraDidLoadAds`.
  std::function<void(const Player&, const AdGroup&, const std::optional<VMRError>&)> onDidLoadAds;
  /// See `vemoraDidFailToStart`.
  std::function<void(const Player&, const VMRError&)> onDidFailToStart;
  /// See `vemoraAdGroupStart`.
  std::function<void(const Player&, const AdGroup&)> onAdGroupStart;
  /// See `vemoraAdAspectRatio`; the last argument is width divided by height.
  std::function<void(const Player&, const Ad&, double)> onAdAspectRatio;
  /// See `vemoraAdStart`.
  std::function<void(const Player&, const Ad&)> onAdStart;
  /// See `vemoraAdPlaying`.
  std::function<void(const Player&, const Ad&)> onAdPlaying;
  /// See `vemoraAdPaused`.
  std::function<void(const Player&, const Ad&)> onAdPaused;
  /// See `vemoraAdTimeUpdate`; the last argument is in seconds.
  std::function<void(const Player&, const Ad&, double)> onAdTimeUpdate;
  /// See `vemoraAdClicked`.
  std::function<void(const Player&, const Ad&)> onAdClicked;
  /// See `vemoraAdSkipped`.
  std::function<void(const Player&, const Ad&)> onAdSkipped;
  /// See `vemoraAdUserClose`.
  std::function<void(const Player&, const Ad&)> onAdUserClose;
  /// See `vemoraAdComplete`.
  std::function<void(const Player&, const Ad&)> onAdComplete;
  /// See `vemoraAdGroupComplete`.
  std::function<void(const Player&, const AdGroup&)> onAdGroupComplete;
  /// See `vemoraAdError`.
  std::function<void(const Player&, const Ad&, const VMRError&)> onAdError;

 private:
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player& player) override;
  void vemoraDidLoadAds(const Player& player, const AdGroup& ads,
                        const std::optional<VMRError>& error) override;
  void vemoraDidFailToStart(const Player& player, const VMRError& error) override;
  void vemoraAdGroupStart(const Player& player, const AdGroup& adGroup) override;
  void vemoraAdAspectRatio(const Player& player, const Ad& ad, double aspectRatio) override;
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
};

}  // namespace vemora
