#pragma once

#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdPlayer.h>
#include <Vemora/VemoraAdRequest.h>
#include <Vemora/VemoraExport.h>

#include <memory>
#include <string>

namespace vemora {

class VemoraAdPlayerBase_p;

/// One ad session: loads an ad group from the controller page, plays it where the placement kind shows it,
/// and notifies the delegate. Create one of the kinds: `VemoraInlineAdPlayer`, `VemoraResizableAdPlayer`,
/// `VemoraInterstitialAdPlayer`.
///
/// **Order of calls.** `setDelegate`, then `load` on the main thread, then wait for `vemoraDidLoadAds`,
/// then `start`, then any of the commands until `vemoraAdGroupComplete` or `vemoraAdError`. Call `start`
/// within five seconds of `vemoraDidLoadAds` unless the page sends heartbeats before it is started: five
/// seconds without a heartbeat end the session with error 5005.
///
/// **Commands.** `start`, `play`, `stop`, `pause`, `resume`, `skip` and `close` are orders to the page.
/// They return at once and may be called from any thread. Each reaches the page on a thread of its own, so
/// two in quick succession may arrive in either order. What the page does about them arrives as callbacks.
/// A command that the page does not answer within five seconds is logged in debug mode and otherwise has no
/// effect. Before `load` and after the end of the session commands are no-ops.
///
/// **Three ways to end.** `stop` asks the page to end the ads, as the host app's decision. `close` asks the
/// page to end them as if the viewer had closed the ad, so the page reports "closed by the viewer". Both
/// need a group that has begun and a page that answers, and both end with `vemoraAdGroupComplete`.
/// `shutdown` asks nobody: it removes the page at once, also when it hangs, and no callback follows, except
/// for the report of a load that is under way.
///
/// **One player serves one session.** Create a new player for the next ad break. A used player can `load`
/// again, but with these losses. `shutdown`, which every ended session has been through, leaves the
/// heartbeat check suspended: a page that hangs in the next session is not detected, and no error 5005
/// arrives. Each further load also doubles the player's reaction to the app leaving and entering the
/// foreground. A `load` without a `shutdown` before it replaces the running session, whose page closes
/// without any callback but the report of its load. `load` on a used player says so in the debug log.
///
/// **Ownership.** The host app holds the player; the player holds its delegate weakly and its host view
/// strongly. A player may be released at any moment, from any thread, also inside a callback. Its page
/// closes as soon as the commands that it runs have returned, and no callback follows. Beacons that the page
/// has asked for still go out.
class VEMORA_EXPORT VemoraAdPlayerBase : public VemoraAdPlayer,
                                         public std::enable_shared_from_this<VemoraAdPlayerBase> {
 public:
  ~VemoraAdPlayerBase() override;

  /// Begins a session: opens the controller page in a web view that is not visible yet, asks the delegate
  /// for its request on a background thread, and fetches configuration and ads. Returns at once. The result
  /// arrives through `vemoraDidLoadAds`. The page has five seconds for each of two replies; where the app
  /// may know the device's location, each waits up to five more for a first fix. A player whose delegate
  /// has gone reports nothing. On Linux without a display, or before `gtk_init`, there is no web view: the
  /// log has an error line and the load ends with error 5002 (`VMRErrorBridge`). Main thread only: on any
  /// other thread it aborts the process with a message that names this operation.
  void load() override;

  /// Shows the ads in their placement and orders the page to play them, as soon as the placement is
  /// visible. A no-op while there are no ads: before `vemoraDidLoadAds`, and after a load that brought
  /// none. Success shows as `vemoraAdGroupStart` and `vemoraAdStart`. Any thread.
  void start() override;

  /// Orders the page to play: it continues a paused ad, and starts a group that has not been started. Use
  /// `resume` to undo `pause`, and `start` for the first start, since `play` shows nothing on the screen by
  /// itself. Any thread.
  void play() override;

  /// Orders the page to end a group that has begun; `vemoraAdGroupComplete` follows. Any thread.
  void stop() override;

  /// Orders the page to pause the ad; `vemoraAdPaused` follows. Any thread.
  void pause() override;

  /// Orders the page to continue after `pause`; `vemoraAdPlaying` follows. Unlike `play` it never starts a
  /// group. Any thread.
  void resume() override;

  /// Orders the page to leave the current ad for the next one, or to end the group after the last one,
  /// whether or not the ad lets its viewer skip it; `vemoraAdSkipped` follows. Any thread.
  void skip() override;

  /// Orders the page to end a group that has begun, as if the viewer had closed the ad: `vemoraAdUserClose`
  /// follows, then `vemoraAdGroupComplete`. Any thread.
  void close() override;

  /// Ends the session without asking the page: the page is unloaded, its web view leaves the screen, and an
  /// interstitial is dismissed. No callback follows, except for the report of a load that is under way: it
  /// ends with error 5003. `adGroup` and `request` keep their values. Calling it
  /// again is harmless. Any thread.
  void shutdown();

  /// Sets the fraction of the host view's width and height that the ad covers: 1 fills the view, 0.5 covers
  /// half of its width and half of its height, centred. Before `start` the value is stored for it. Only the
  /// resizable kind uses it; for the others it is a no-op. Main thread only.
  void setSize(float size);

  /// Limits the time from the first `start` of a session to the first `vemoraAdStart`, in seconds. When it
  /// has passed, the session ends with error 5004. 0, the default, is no limit: a view that never becomes
  /// visible, an interstitial that never gets onto the screen, or a page that sends heartbeats and plays
  /// nothing then leaves the session loaded until the host app shuts it down. Set it before `start`. Any
  /// thread.
  void setStartTimeout(double seconds);

  /// The limit in seconds; 0 for none. Any thread.
  double startTimeout() const;

  /// The placement as the page sees it: "inline", "resizeable" (so spelt) or "interstitial"; "none" for a
  /// kind without a placement. Any thread.
  std::string placementType() const;

  /// The ads of the last load, shared with the player; null before the first load has ended, and after a
  /// load that brought no group. Any thread.
  std::shared_ptr<VemoraAdGroup> adGroup() const;

  /// The request that the delegate gave in the last load, shared with the player; null before, and when it
  /// gave none. Any thread.
  std::shared_ptr<VemoraAdRequest> request() const;

 protected:
  /// For the placement kinds of the SDK. Takes ownership of the implementation.
  explicit VemoraAdPlayerBase(std::unique_ptr<VemoraAdPlayerBase_p> implementation);

 private:
  friend class VemoraAdPlayerBase_p;
  /// Shared with the commands that run: they outlive the player.
  const std::shared_ptr<VemoraAdPlayerBase_p> d;
};

}  // namespace vemora
