#pragma once

#include "base/Locked.h"
#include "core/player/AdSession.h"
#include "core/player/CommandThreads.h"
#include "core/player/Heartbeat.h"
#include "ports/Application.h"

#include <Vemora/NotificationCenter.h>
#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraTypes.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

/// What a player is behind its public face: its current session, its heartbeat, and the internal steps of its
/// operations.
///
/// The player holds it strongly, and so does a command while it runs. It holds the player weakly, so that the
/// player goes when the host releases it: from then on no callback is made, and its page closes as soon as
/// the commands that run have returned.
///
/// Any thread, except for the operations that are marked. A session's fields are read and written one at a
/// time; nothing serialises whole operations.
class VemoraAdPlayerBase_p : public SFSafariViewControllerDelegate,
                             public std::enable_shared_from_this<VemoraAdPlayerBase_p> {
 public:
  using Session = std::shared_ptr<AdSession>;

  static VemoraAdPlayerBase_p& of(VemoraAdPlayerBase& player) { return *player.d; }

  VemoraAdPlayerBase_p();
  ~VemoraAdPlayerBase_p() override;

  /// Main thread.
  void load();
  void start();
  void shutdown();
  virtual void setSize(float /*size*/) {}
  virtual std::string placementType() const { return "none"; }
  double startTimeout() const { return startTimeout_; }
  void setStartTimeout(double seconds) { startTimeout_ = seconds; }

  /// A step as the commands run it: `_play` and its like.
  using Step = void (VemoraAdPlayerBase_p::*)(const JsonValue&);
  /// Runs the step on a background thread of its own; see `CommandThreads` for the bound.
  void performInBackground(Step step, const JsonValue& parameters);

  void _load(const Session& session);
  /// Each sends the controller the command of its name and blocks until it has answered.
  virtual void _start(const JsonValue& parameters);
  void _play(const JsonValue& parameters);
  void _stop(const JsonValue& parameters);
  void _pause(const JsonValue& parameters);
  void _resume(const JsonValue& parameters);
  void _skip(const JsonValue& parameters);
  void _close(const JsonValue& parameters);
  /// The web view of the session; null without one.
  std::shared_ptr<WebView> _getPlayerView() const;

  /// Handles a message of the current session's page; true when it was one for the player.
  bool onMessage(const std::shared_ptr<VMRRpc>& message) { return handleMessage(message, session()); }
  bool handleMessage(const std::shared_ptr<VMRRpc>& message, const Session& session);
  void _evaluateEvent(const JsonValue& parameters, const Session& session);
  void _evaluateWindow(const JsonValue& parameters, const Session& session);
  /// Main thread, as the four below.
  void _openWindow(const URL& url, const Session& session);
  static void _fireBeacon(const URL& url, const AdSession& session);
  /// The controller that everything presented is presented from; null without a window.
  static std::shared_ptr<ViewController> topMostController();
  void safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>& controller) override;
  /// The first ad whose id is the very same object as `id`; null when there is none.
  static std::shared_ptr<VemoraAd> _findAdInGroup(const std::shared_ptr<VemoraAdGroup>& group,
                                                  const JsonValue& id);
  /// "control.start" was sent and did not take.
  void startFailed(const Session& session, const VMRError& error);

  void _heartbeatMonitor();
  void _hearbeatCancel();  // Spelt so in the interface: kept on purpose.
  void _heartbeatSuspend();
  void _heartbeatResume();
  void _heartbeatCheck(const JsonValue& parameters) { _heartbeatCheck(parameters, session()); }
  void _heartbeatCheck(const JsonValue& parameters, const Session& session);
  void _heartbeatTimeout(const Session& session);

  void applicationWillResignActiveNotification();
  void applicationDidBecomeActiveNotification();

  Session session() const { return session_.get(); }
  std::shared_ptr<VemoraAdGroup> adGroup() const { return session()->adGroup(); }
  std::shared_ptr<VMRAdDumper> dumper() const { return session()->client(); }
  std::shared_ptr<VMRConfig> config() const { return session()->config(); }
  std::shared_ptr<VMRContext> context() const { return session()->context(); }
  std::shared_ptr<SFSafariViewController> sfvc() const { return session()->browser(); }
  std::shared_ptr<VMRWebViewRuntime> runtime() const { return session()->runtime(); }
  std::shared_ptr<VemoraAdRequest> request() const { return session()->request(); }
  std::shared_ptr<VMRMoatTracker> moatTracker() const { return session()->moatTracker(); }
  std::int64_t suspendHeartbeats() const { return heartbeat_.depth(); }

 protected:
  template <typename Self>
  static std::shared_ptr<Self> sharedSelf(Self* self) {
    return std::shared_ptr<Self>(self->shared_from_this(), self);
  }
  template <typename Self>
  static std::weak_ptr<Self> weakSelf(Self* self) {
    return sharedSelf(self);
  }

  /// The session has ended, or another one has replaced it.
  virtual void sessionDidEnd(const Session& /*session*/) {}
  /// Shuts the session down and calls the delegate with the ending, if it is the session's first.
  void endSession(const Session& session, AdSessionEnding ending);
  static AdSessionEnding playbackFailed(std::optional<std::string> reason);

 private:
  friend class VemoraAdPlayerBase;

  static void park(const std::shared_ptr<WebView>& webView);
  void watchApplication();
  void send(bool (VMRAdDumper::*command)(const JsonValue&), const JsonValue& parameters);

  /// The host has released the player.
  void playerReleased();
  /// Absent without a delegate.
  std::optional<std::shared_ptr<VemoraAdRequest>> askForRequest();
  void createTrackerIfConfigured(AdSession& session, const std::shared_ptr<VemoraAdRequest>& request,
                                 const VMRConfig* config);
  void reportLoad(const Session& session, std::shared_ptr<VemoraAdGroup> group,
                  std::optional<VMRError> error);
  void loadDidEnd(const Session& session);
  void track(AdSession& session, VemoraAdEvent event, const JsonValue& parameters,
             const std::shared_ptr<VemoraAd>& ad);
  void act(const Session& session, VemoraAdEvent event, const std::shared_ptr<VemoraAd>& ad,
           const JsonValue& data);
  void deliverEnding(const Session& session, const AdSessionEnding& ending);
  void watchStart(const Session& session);
  Heartbeat::Check heartbeatCheck(const Session& session);
  /// Records an operation that the host has called.
  void recordCall(const char* operation, const JsonValue& value = {}) const;
  /// Calls the delegate, if it is still there and the host has not released the player. Main thread.
  template <typename... Parameters, typename... Arguments>
  void notifyDelegate(const AdSession& session, const char* name,
                      void (VemoraAdPlayerDelegate::*callback)(const VemoraAdPlayerDelegate::Player&,
                                                               Parameters...),
                      const Arguments&... arguments);

  class BorrowedPlayer;

  inline static std::atomic<std::uint64_t> count_{0};
  const std::uint64_t number_ = ++count_;             ///< Of the players of this process, for recordings.
  Locked<std::weak_ptr<VemoraAdPlayerBase>> player_;  ///< The owner. Set by `load`.
  std::atomic<long> borrowed_{0};                     ///< How many of its strong references are ours.
  std::atomic<double> startTimeout_{0};
  Locked<Session> session_{AdSession::none()};
  Heartbeat heartbeat_;
  const std::shared_ptr<CommandThreads> commands_ = std::make_shared<CommandThreads>();
  /// One pair for each load: a second load registers again. Touched by `load` and by the player's end alone.
  std::vector<NotificationCenter::Token> applicationNotifications_;
};

}  // namespace vemora
