#pragma once

#include "support/Measure.h"
#include "web/Host.h"

#include <Vemora/VemoraAdPlayerDelegate.h>
#include <Vemora/VemoraInlineAdPlayer.h>

#include <memory>

namespace vemora::bench {

/// A host app's delegate that counts.
class CountingDelegate final : public VemoraAdPlayerDelegate {
 public:
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    return VemoraAdRequest::initWithApiKey("benchmark");
  }
  void vemoraDidLoadAds(const Player&, const AdGroup& ads, const std::optional<VMRError>& error) override;
  void vemoraAdTimeUpdate(const Player&, const Ad& ad, double) override;
  void vemoraAdError(const Player&, const Ad&, const VMRError& error) override;

  bool loaded = false;
  int updates = 0;
};

/// A player that has loaded ads. `shutdown` comes with its end.
class LoadedPlayer {
 public:
  explicit LoadedPlayer(const Host& host, std::shared_ptr<View> parentView = nullptr);
  ~LoadedPlayer();
  LoadedPlayer(const LoadedPlayer&) = delete;
  LoadedPlayer& operator=(const LoadedPlayer&) = delete;

  VemoraInlineAdPlayer& player() { return *player_; }
  CountingDelegate& delegate() { return *delegate_; }
  /// What `load` itself cost its caller, the main thread.
  const Usage& loadCall() const { return loadCall_; }

 private:
  const Host& host_;
  std::shared_ptr<CountingDelegate> delegate_ = std::make_shared<CountingDelegate>();
  std::shared_ptr<VemoraInlineAdPlayer> player_;
  Usage loadCall_;
};

}  // namespace vemora::bench
