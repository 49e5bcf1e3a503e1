#pragma once

#include <Vemora/VMRError.h>
#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdRequest.h>
#include <Vemora/VemoraExport.h>

#include <memory>
#include <optional>

namespace vemora {

class VemoraAdPlayerBase;

/// What a host app hears of its player. A player holds its delegate weakly; every callback's first argument
/// is the player.
///
/// All callbacks come on the main thread, save `requestForPlayer`. Inside any of them the host may send the
/// player commands, shut it down or let go of it. All but `requestForPlayer` are optional. An ad is null when
/// the controller's event names none that the group has.
class VEMORA_EXPORT VemoraAdPlayerDelegate {
 public:
  using Player = std::shared_ptr<VemoraAdPlayerBase>;
  using Ad = std::shared_ptr<VemoraAd>;
  using AdGroup = std::shared_ptr<VemoraAdGroup>;

  virtual ~VemoraAdPlayerDelegate();

  /// Once for each load, on a background thread. Without a request the load ends with error 5001.
  virtual std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player& player) = 0;

  /// The load has ended. Look at both: a group may come together with an error (5003 for a group without
  /// ads).
  virtual void vemoraDidLoadAds(const Player& player, const AdGroup& ads,
                                const std::optional<VMRError>& error);
  virtual void vemoraAdGroupStart(const Player& player, const AdGroup& adGroup);
  virtual void vemoraAdStart(const Player& player, const Ad& ad);
  virtual void vemoraAdPlaying(const Player& player, const Ad& ad);
  virtual void vemoraAdPaused(const Player& player, const Ad& ad);
  /// `timeElapsed` in seconds since the ad began.
  virtual void vemoraAdTimeUpdate(const Player& player, const Ad& ad, double timeElapsed);
  virtual void vemoraAdClicked(const Player& player, const Ad& ad);
  virtual void vemoraAdSkipped(const Player& player, const Ad& ad);
  virtual void vemoraAdUserClose(const Player& player, const Ad& ad);
  virtual void vemoraAdComplete(const Player& player, const Ad& ad);
  /// The group has ended and the player has shut down.
  virtual void vemoraAdGroupComplete(const Player& player, const AdGroup& adGroup);
  /// The session has ended with an error (5004 or 5005) and the player has shut down.
  virtual void vemoraAdError(const Player& player, const Ad& ad, const VMRError& error);
};

}  // namespace vemora
