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
/// and tells the delegate. Make one of the kinds: `VemoraInlineAdPlayer`, `VemoraResizableAdPlayer`,
/// `VemoraInterstitialAdPlayer`.
///
/// Call `load` on the main thread and wait for `vemoraDidLoadAds`; then call `start` within five seconds or
/// so: a page that does not answer heartbeats meanwhile ends the session. The commands from `start` to
/// `close` return at once and may be called from any thread; each reaches the page on a thread of its own, so
/// two in quick succession may arrive in either order. What comes of them is heard through the delegate.
///
/// A player may be let go of at any moment, from any thread, also inside a callback. Its page closes with it,
/// without further callbacks, once the command that it is in the middle of has returned.
class VEMORA_EXPORT VemoraAdPlayerBase : public VemoraAdPlayer,
                                         public std::enable_shared_from_this<VemoraAdPlayerBase> {
 public:
  ~VemoraAdPlayerBase() override;

  /// Begins a session; the result comes through `vemoraDidLoadAds`. A second load replaces the first session
  /// without shutting it down: call `shutdown` before.
  void load() override;
  /// Does nothing before ads have been loaded.
  void start() override;
  void play() override;
  void stop() override;
  void pause() override;
  void resume() override;
  void skip() override;
  void close() override;

  /// Ends the session: the page is closed and leaves the screen. No callback follows. Any thread; repeating
  /// it does no harm.
  void shutdown();

  /// The fraction of the host view's width and height that the ad takes; 1 fills it. Only the resizable kind
  /// heeds it.
  void setSize(float size);

  /// "inline", "resizeable" or "interstitial"; "none" for a kind of its own.
  std::string placementType() const;

  /// What the last load brought; null before.
  std::shared_ptr<VemoraAdGroup> adGroup() const;
  /// What the delegate asked for in the last load; null before.
  std::shared_ptr<VemoraAdRequest> request() const;

 protected:
  explicit VemoraAdPlayerBase(std::unique_ptr<VemoraAdPlayerBase_p> implementation);

 private:
  friend class VemoraAdPlayerBase_p;
  std::unique_ptr<VemoraAdPlayerBase_p> d;
};

}  // namespace vemora
