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

/// What a host app implements to supply a player's request and to be notified of what its ads do. For hosts
/// that need only a few of the callbacks, `VemoraAdPlayerCallbacks` takes lambdas instead.
///
/// **Ownership.** A player holds its delegate weakly: the host app keeps it alive. The first argument of
/// each callback is the player; a callback must not store it in an object that the player keeps alive.
///
/// **Threads.** All callbacks arrive on the main thread, one at a time, except `requestForPlayer`, which is
/// called on a background thread. Inside any of them the host may send the player commands, shut it down or
/// release it. No callback of a session arrives after the callback that ends the session, nor after
/// `shutdown`, except for the report of a load that was under way: each load is reported.
///
/// **Optional.** Only `requestForPlayer` must be implemented; the others are no-ops by default.
///
/// **Arguments.** `ad` is the ad that the event is about; null when the page's event names no ad of the
/// group, and for errors that concern the whole session. `ads` and `adGroup` are those of
/// `VemoraAdPlayerBase::adGroup`.
///
/// **Order.** A group that plays to its end: `vemoraDidLoadAds`, then after `start` `vemoraAdGroupStart`;
/// for each ad `vemoraAdStart`, `vemoraAdTimeUpdate` several times, `vemoraAdComplete`; last
/// `vemoraAdGroupComplete`. A session with ads ends with one of `vemoraAdGroupComplete` and
/// `vemoraAdError`, unless the host app shuts it down. Content that waits for the ads resumes in these two,
/// and in `vemoraDidLoadAds` when it brings no ads.
class VEMORA_EXPORT VemoraAdPlayerDelegate {
 public:
  /// The player that notifies.
  using Player = std::shared_ptr<VemoraAdPlayerBase>;
  /// An ad, or null.
  using Ad = std::shared_ptr<VemoraAd>;
  /// An ad group, or null.
  using AdGroup = std::shared_ptr<VemoraAdGroup>;

  virtual ~VemoraAdPlayerDelegate();

  /// Supplies the request of a load. Called once for each `load`, on a background thread, which may block
  /// for a while without harm to the app. The player writes its placement type into the request and keeps
  /// it. Null ends the load with error 5001.
  virtual std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player& player) = 0;

  /// A load has ended. Called once for each load. Check both arguments, since ads may arrive together with
  /// an error: with ads in the group `start` plays them, whatever the error says. `ads` is null or an empty
  /// group when there are none. `error` is absent on success, otherwise 5001 (no request), 5002 (the page
  /// could not be reached, did not answer, or answered with an error) or 5003 (no ads). A load without ads
  /// leaves its page open, which may still send beacons: release the player or call `shutdown`.
  virtual void vemoraDidLoadAds(const Player& player, const AdGroup& ads,
                                const std::optional<VMRError>& error);

  /// A start did not take: the page refused it or did not answer; `error` is 5002, with the page's own error
  /// as its underlying error if it sent one. The session goes on: the host app may start again or shut down.
  virtual void vemoraDidFailToStart(const Player& player, const VMRError& error);

  /// The group begins to play. Pause the app's own content here at the latest.
  virtual void vemoraAdGroupStart(const Player& player, const AdGroup& adGroup);

  /// The shape of the ad's video has become known: its width divided by its height. It precedes
  /// `vemoraAdStart`, and repeats if the shape changes. For hosts that size the ad's view; pages that report
  /// no size do not cause it.
  virtual void vemoraAdAspectRatio(const Player& player, const Ad& ad, double aspectRatio);

  /// An ad shows its first frame.
  virtual void vemoraAdStart(const Player& player, const Ad& ad);

  /// A paused ad plays again. It does not follow `vemoraAdStart`.
  virtual void vemoraAdPlaying(const Player& player, const Ad& ad);

  /// The ad was paused: by `pause`, by the viewer, because the ad is not visible any more, or because the
  /// app left the foreground.
  virtual void vemoraAdPaused(const Player& player, const Ad& ad);

  /// The ad's playback position, several times a second while it plays (the reference page sends four).
  /// `timeElapsed` is in seconds from the start of the ad; 0 when the page sends none.
  virtual void vemoraAdTimeUpdate(const Player& player, const Ad& ad, double timeElapsed);

  /// The viewer followed the ad's link. The SDK opens the in-app browser by itself; nothing needs to be
  /// done.
  virtual void vemoraAdClicked(const Player& player, const Ad& ad);

  /// The ad was skipped, by the viewer or by `skip`. The session goes on with the next ad or with the end
  /// of the group.
  virtual void vemoraAdSkipped(const Player& player, const Ad& ad);

  /// The ad was closed, by the viewer or by `close`. The session goes on until `vemoraAdGroupComplete`.
  virtual void vemoraAdUserClose(const Player& player, const Ad& ad);

  /// The ad's video has played to its end. The next ad or the end of the group follows.
  virtual void vemoraAdComplete(const Player& player, const Ad& ad);

  /// The session has ended because its group is over: played, skipped, stopped or closed. The player has
  /// shut down and its web view has left the screen.
  virtual void vemoraAdGroupComplete(const Player& player, const AdGroup& adGroup);

  /// The session has ended with an error, and the player has shut down: 5004 (the page reported a failure;
  /// its text is in `failureReason`) or 5005 (the page stopped sending heartbeats).
  virtual void vemoraAdError(const Player& player, const Ad& ad, const VMRError& error);
};

}  // namespace vemora
