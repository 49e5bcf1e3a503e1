#pragma once

#include "base/Mutex.h"
#include "core/bridge/VMRRuntimeMessageHandler.h"
#include "ports/ViewController.h"

#include <Vemora/VMRError.h>
#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdRequest.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>

namespace vemora {

class VMRAdDumper;
class VMRConfig;
class VMRContext;
class VMRMoatTracker;
class VMRWebViewRuntime;
class VemoraAdPlayerBase_p;
class VemoraInterstitialViewController;

/// How the page, or its silence, ended a session: with the end of the group, or with an error.
struct AdSessionEnding {
  std::shared_ptr<VemoraAd> ad;
  std::optional<VMRError> error;  ///< None for the end of the group.
};

/// What one `load` makes and what it brings. The player points to its current session; whatever belongs to a
/// session, such as a queued callback, an armed check or a load that runs, holds the session that it belongs
/// to.
///
///     live --beginEnding--> ending --finish--> over
///     live or ending --abandon--> over
///
/// A session is live until it ends, and ends once: by the page (`beginEnding`, then `finish` when the
/// delegate is called), or because the host shut it down or loaded again (`abandon`). Delegate calls other
/// than the load's report are made for a live session only.
///
/// What a load brings is kept for a live session alone. Until then a session shows what the one before it
/// brought, as the player's fields do during a second load.
///
/// Any thread, except for the operations that are marked. It observes the runtime for the player, weakly held
/// by both.
class AdSession final : public VMRRuntimeMessageHandler, public std::enable_shared_from_this<AdSession> {
 public:
  /// What the player holds before its first load.
  static std::shared_ptr<AdSession> none();
  /// Main thread.
  static std::shared_ptr<AdSession> create(std::weak_ptr<VemoraAdPlayerBase_p> player,
                                           const AdSession& predecessor);
  ~AdSession() override;

  bool onMessage(const std::shared_ptr<VMRRpc>& message) override;

  bool wasLoaded() const { return context_ != nullptr; }
  /// The number of its runtime; 0 before the first load.
  std::uint64_t number() const { return number_; }
  const std::shared_ptr<VMRContext>& context() const { return context_; }
  /// Null after `close`.
  std::shared_ptr<VMRWebViewRuntime> runtime() const;
  std::shared_ptr<VMRAdDumper> client() const;
  /// Leaves the runtime and shuts the client down, which closes the page. Repeating it does no harm.
  void close();

  bool isLive() const;
  /// True for the first ending of a live session.
  bool beginEnding();
  /// True once, when `beginEnding` came first and nothing abandoned the session since.
  bool finish();
  void abandon();

  std::shared_ptr<VemoraAdRequest> request() const;
  std::shared_ptr<VMRConfig> config() const;
  std::shared_ptr<VemoraAdGroup> adGroup() const;
  std::shared_ptr<VMRMoatTracker> moatTracker() const;
  /// Each stores a result of the load, unless the session is not live any more.
  void setRequest(std::shared_ptr<VemoraAdRequest> request);
  void setConfig(std::shared_ptr<VMRConfig> config);
  void setAdGroup(std::shared_ptr<VemoraAdGroup> group);
  void setMoatTracker(std::shared_ptr<VMRMoatTracker> tracker);

  std::shared_ptr<SFSafariViewController> browser() const;
  void setBrowser(std::shared_ptr<SFSafariViewController> browser);

  /// State of the main thread alone.
  struct MainThread {
    bool isLoading = true;  ///< Until the load has been reported.
    /// An ending that came while the load was under way: the report goes first.
    std::optional<AdSessionEnding> heldEnding;
    bool hasStarted = false;      ///< An ad has started.
    bool isStartWatched = false;  ///< The host's start time-out runs.
    /// The stage of an interstitial. Left before the session is released.
    std::shared_ptr<VemoraInterstitialViewController> stage;
    std::deque<double> browserTimes;  ///< When the latest in-app browsers were opened.
  };
  MainThread& mainThread();

 private:
  enum class State { Live, Ending, Over };

  struct Fields {
    State state = State::Over;
    std::shared_ptr<VMRWebViewRuntime> runtime;
    std::shared_ptr<VMRAdDumper> client;
    std::shared_ptr<VemoraAdRequest> request;
    std::shared_ptr<VMRConfig> config;
    std::shared_ptr<VemoraAdGroup> adGroup;
    std::shared_ptr<VMRMoatTracker> moatTracker;
    std::shared_ptr<SFSafariViewController> browser;
  };

  AdSession() = default;
  template <typename T>
  T get(T Fields::*field) const;
  /// The old value, to be released outside the lock.
  template <typename T>
  T exchange(T Fields::*field, T value);
  /// The old value, or the new one when the session is not live any more.
  template <typename T>
  T store(T Fields::*field, T value);

  std::weak_ptr<VemoraAdPlayerBase_p> player_;
  std::shared_ptr<VMRContext> context_;
  std::uint64_t number_ = 0;
  MainThread mainThread_;

  mutable Mutex mutex_;  ///< Guards the fields. Nothing is locked under it.
  Fields fields_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora
