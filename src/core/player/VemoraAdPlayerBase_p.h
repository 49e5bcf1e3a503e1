#pragma once

#include "base/Locked.h"
#include "core/bridge/VMRRuntimeMessageHandler.h"
#include "ports/Application.h"
#include "ports/Dispatch.h"

#include <Vemora/NotificationCenter.h>
#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraTypes.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

namespace vemora {

class VMRAdDumper;
class VMRConfig;
class VMRContext;
class VMRMoatTracker;
class VMRWebViewRuntime;

/// What a player is behind its public face: its session, and the internal steps of its operations. The player
/// owns it, and whoever holds it through a shared pointer (`sharedSelf`) holds the player.
///
/// Fields may be read and written from any thread, one at a time; nothing serialises whole operations.
class VemoraAdPlayerBase_p : public VMRRuntimeMessageHandler, public SFSafariViewControllerDelegate {
 public:
  static VemoraAdPlayerBase_p& of(VemoraAdPlayerBase& player) { return *player.d; }

  VemoraAdPlayerBase_p();
  ~VemoraAdPlayerBase_p() override;

  void load();
  void start();
  virtual void shutdown();
  virtual void setSize(float /*size*/) {}
  virtual std::string placementType() const { return "none"; }

  /// A step as the commands run it: `_play` and its like.
  using Step = void (VemoraAdPlayerBase_p::*)(const JsonValue&);
  /// Runs the step on a background thread of its own, which keeps the player alive meanwhile.
  void performInBackground(Step step, const JsonValue& parameters);

  void _load();
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

  bool onMessage(const std::shared_ptr<VMRRpc>& message) override;
  void _evaluateEvent(const JsonValue& parameters);
  void _evaluateWindow(const JsonValue& parameters);
  void _openWindow(const URL& url);
  void _fireBeacon(const URL& url);
  /// The first ad whose id is the very same object as `id`; null when there is none.
  static std::shared_ptr<VemoraAd> _findAdInGroup(const std::shared_ptr<VemoraAdGroup>& group,
                                                  const JsonValue& id);
  /// The controller that everything presented is presented from; null without a window.
  static std::shared_ptr<ViewController> topMostController();
  void safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>& controller) override;

  void _heartbeatMonitor();
  void _hearbeatCancel();  // Spelt so in the interface: kept on purpose.
  void _heartbeatSuspend();
  void _heartbeatResume();
  void _heartbeatCheck(const JsonValue& parameters);
  void _heartbeatTimeout();

  void applicationWillResignActiveNotification();
  void applicationDidBecomeActiveNotification();

  std::shared_ptr<VemoraAdGroup> adGroup() const { return adGroup_.get(); }
  std::shared_ptr<VMRAdDumper> dumper() const { return dumper_.get(); }
  std::shared_ptr<VMRConfig> config() const { return config_.get(); }
  std::shared_ptr<VMRContext> context() const { return context_.get(); }
  std::shared_ptr<SFSafariViewController> sfvc() const { return sfvc_.get(); }
  std::shared_ptr<VMRWebViewRuntime> runtime() const { return runtime_.get(); }
  std::shared_ptr<VemoraAdRequest> request() const { return request_.get(); }
  std::shared_ptr<VMRMoatTracker> moatTracker() const { return moatTracker_.get(); }
  std::int64_t suspendHeartbeats() const { return suspendHeartbeats_; }

 protected:
  /// This object by a pointer that holds the player.
  template <typename Self>
  static std::shared_ptr<Self> sharedSelf(Self* self) {
    return std::shared_ptr<Self>(self->player(), self);
  }
  std::shared_ptr<VemoraAdPlayerBase> player() const { return player_->shared_from_this(); }

 private:
  friend class VemoraAdPlayerBase;

  static void park(const std::shared_ptr<WebView>& webView);
  void watchApplication();
  void send(bool (VMRAdDumper::*command)(const JsonValue&), const JsonValue& parameters);
  void reportLoad(const std::optional<VMRError>& error);
  void createTrackerIfConfigured();
  void act(VemoraAdEvent event, const std::shared_ptr<VemoraAd>& ad, const JsonValue& data);
  void endWithError(const VMRError& error);
  /// Calls the delegate, if it is still there, with the player.
  template <typename... Parameters, typename... Arguments>
  void tellDelegate(void (VemoraAdPlayerDelegate::*callback)(const VemoraAdPlayerDelegate::Player&,
                                                             Parameters...),
                    const Arguments&... arguments);

  VemoraAdPlayerBase* player_ = nullptr;  ///< The owner.
  Locked<std::shared_ptr<DispatchBlock>> heartbeatBlock_;
  std::atomic<std::int64_t> suspendHeartbeats_{0};
  Locked<std::shared_ptr<VemoraAdGroup>> adGroup_;
  Locked<std::shared_ptr<VMRAdDumper>> dumper_;
  Locked<std::shared_ptr<VMRConfig>> config_;
  Locked<std::shared_ptr<VMRContext>> context_;
  Locked<std::shared_ptr<SFSafariViewController>> sfvc_;
  Locked<std::shared_ptr<VMRWebViewRuntime>> runtime_;
  Locked<std::shared_ptr<VemoraAdRequest>> request_;
  Locked<std::shared_ptr<VMRMoatTracker>> moatTracker_;
  /// One pair for each load: a second load registers again. Touched by `load` and the destructor alone.
  std::vector<NotificationCenter::Token> applicationNotifications_;
};

}  // namespace vemora
