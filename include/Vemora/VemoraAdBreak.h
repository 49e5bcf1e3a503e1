#pragma once

#include <Vemora/VMRError.h>
#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraAdRequest.h>
#include <Vemora/VemoraExport.h>
#include <Vemora/VemoraView.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vemora {

class VemoraAdBreak_p;

/// One ad break: loads ads, plays them, removes them from the screen, and calls back once, whatever happened,
/// so that the host app can resume its content. It drives a player of its own; hosts that need more than this
/// use a player and a delegate.
///
///     auto request = VemoraAdRequest::init();
///     request->setChannel("42");
///     adBreak = VemoraAdBreak::initInline(request, view);
///     adBreak->run([](const VemoraAdBreak::Result& result) { resumeContent(); });
///
/// **Preloading.** Call `preload` some time before the break, and `run` when it is due: the ads then start
/// without a wait. Without `preload`, `run` loads. `isReady` says whether ads are there. `run` reports a
/// preload that failed. A preloaded page must send heartbeats while it waits (the reference page does), or
/// the session ends with error 5005 after five seconds.
///
/// **One break, one run.** Create a new object for the next ad break.
///
/// **Ownership.** The host app holds the break until it has ended. Releasing it ends it at any moment, also
/// inside its callback: the page closes and leaves the screen, and no callback follows. It may be released
/// on any thread; what the callback captures is then released on the main thread.
///
/// **Threads.** Main thread only, except for the release and `player`: on any other thread an operation
/// aborts the process with a message that names it. The callback runs on the main queue, never inside a call
/// of the host app.
class VEMORA_EXPORT VemoraAdBreak final {
 public:
  /// How a break ended.
  enum class Outcome {
    Completed,  ///< The ads are over, and the last one was neither skipped nor closed.
    Skipped,    ///< The ads are over, and the last one was skipped: by the viewer, or by `skip`.
    Closed,     ///< The viewer closed an ad, or the host app called `close`.
    NoAds,      ///< There were no ads to show. `error` has the details (5003).
    Failed,     ///< The ads could not be loaded, started or played to their end: see `error`.
    TimedOut,   ///< One of the limits that the host app set has passed.
    Cancelled,  ///< The host app called `cancel`.
  };
  /// What the callback gets.
  struct Result {
    Outcome outcome;                ///< How the break ended.
    std::optional<VMRError> error;  ///< Present for `NoAds` and `Failed`, absent otherwise.
  };
  /// Called with the result, once.
  using OnEnded = std::function<void(const Result&)>;

  /// A break inside this view, which the ads fill. A null request ends it with error 5001. Never null.
  static std::shared_ptr<VemoraAdBreak> initInline(std::shared_ptr<VemoraAdRequest> request,
                                                   std::shared_ptr<View> view);
  /// A break inside this view, in which the ads can be resized with `setSize` of `player`. Never null.
  static std::shared_ptr<VemoraAdBreak> initResizable(std::shared_ptr<VemoraAdRequest> request,
                                                      std::shared_ptr<View> view);
  /// A full-screen break, presented by `run` over what the host app shows. Never null.
  static std::shared_ptr<VemoraAdBreak> initInterstitial(std::shared_ptr<VemoraAdRequest> request);
  ~VemoraAdBreak();
  VemoraAdBreak(const VemoraAdBreak&) = delete;
  VemoraAdBreak& operator=(const VemoraAdBreak&) = delete;

  /// Limits the time from `run` to the start of the first ad, in seconds: 15 unless set, 0 for no limit. It
  /// covers the load and a view that does not become visible. Set it before `run`.
  void setStartTimeout(double seconds);
  /// Limits the time from `run` to the end of the break, in seconds; 0, the default, for no limit. Set it
  /// before `run`.
  void setTimeLimit(double seconds);

  /// Loads the ads without showing them. A no-op when they have been asked for already.
  void preload();
  /// Whether ads are loaded and their session has not ended.
  bool isReady() const;
  /// Shows the ads as soon as they are loaded, and calls `onEnded` once when the break is over and the ads
  /// have left the screen. A second `run` shows nothing and reports `Failed` to its own callback.
  void run(OnEnded onEnded);
  /// Ends the break: its ads leave the screen at once, and `run` reports `Cancelled`, also when it is called
  /// later. A no-op when the break has ended.
  void cancel();

  /// The player of this break, for `pause`, `resume`, `skip`, `close`, `setSize` and `adGroup`. Never null.
  /// Leave its delegate, `load`, `start` and `shutdown` to the break.
  const std::shared_ptr<VemoraAdPlayerBase>& player() const;

 private:
  explicit VemoraAdBreak(std::shared_ptr<VemoraAdBreak_p> implementation);

  std::shared_ptr<VemoraAdBreak_p> d;
};

/// The name of the outcome, such as "Completed", for logs. Any thread.
VEMORA_EXPORT std::string toString(VemoraAdBreak::Outcome outcome);

}  // namespace vemora
