#pragma once

#include "Page.h"
#include "backends/testing/ScheduledDispatch.h"

#include <Vemora/NotificationCenter.h>
#include <Vemora/VemoraAdPlayerBase.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vemora::scenarios {

enum class Placement { Inline, Resizable, Interstitial };
inline constexpr Placement kPlacements[] = {Placement::Inline, Placement::Resizable, Placement::Interstitial};
const char* nameOf(Placement placement);

/// The scheduler of the process, which every session runs on.
testing::ScheduledDispatch& scheduler();

/// A host app with one player, its delegate and its page, from fresh fakes to nothing left. It records the
/// callbacks and notes every promise that was broken; `finish` looks for leftovers.
class Session {
 public:
  Session(Placement placement, const testing::ScheduledDispatch::Policy& policy);
  ~Session();

  // The host.
  void load();
  /// `load`, and the page has loaded and answered.
  void loadAds();
  /// `loadAds`, `start`, and the page has shown the first ad.
  void play();
  void start();
  void shutdown();
  void shutdownInBackground();
  void releasePlayer();
  void releasePlayerInBackground();
  void releaseDelegate();
  void background() { application().resignActive(); }
  void foreground() { application().becomeActive(); }
  /// Runs inside each callback of that name, on its stack; "" is every callback.
  void onCallback(const std::string& name, std::function<void()> act) { hooks_[name] = std::move(act); }
  const std::shared_ptr<VemoraAdPlayerBase>& player() const { return player_; }
  bool isReleased() const { return !player_; }
  /// Takes the view that an inline or resizable player shows in out of the window.
  void dropContainer() { container_->removeFromSuperview(); }
  VemoraAdRequest& request() { return *request_; }
  void refuseRequest() { request_ = nullptr; }
  /// Another player in the same window. It lives until `finish`; its callbacks are recorded with "2: ".
  std::shared_ptr<VemoraAdPlayerBase> addPlayer(Placement placement);

  // The page that the last load made.
  Page& page() { return *pages_.back(); }
  Page& page(std::size_t load) { return *pages_.at(load); }
  std::size_t loads() const { return pages_.size(); }

  // Time.
  void run();
  void advance(double seconds);

  // The network.
  std::vector<std::string> beacons() const;
  /// Answers a beacon, once.
  void answerBeacon(std::size_t index, const std::optional<VMRError>& error);

  // Results.
  std::vector<std::string> callbacks() const { return callbacks_; }
  std::vector<std::string> errorLines() const;
  bool logged(std::string_view line) const;
  testing::FakeApplication& application() const;
  testing::FakeSystem& system() const;
  /// Lets the player and the delegate go, runs for a minute and looks for what is left.
  void finish();
  const std::vector<std::string>& broken() const { return broken_; }
  void breakPromise(const std::string& promise) { broken_.push_back(promise); }

 private:
  class Delegate;

  std::shared_ptr<VemoraAdPlayerBase> makePlayer(Placement placement);
  void record(const VemoraAdPlayerBase* player, const std::string& name, const std::string& details);
  void keepPromises(const std::string& entry, const std::string& name);
  void countCompletion(const std::shared_ptr<const void>& future);
  void checkLeftovers();

  std::shared_ptr<testing::FakeView> container_;
  std::shared_ptr<Delegate> delegate_;
  std::weak_ptr<Delegate> weakDelegate_;
  std::shared_ptr<VemoraAdRequest> request_;
  std::shared_ptr<VemoraAdPlayerBase> player_;
  std::weak_ptr<VemoraAdPlayerBase> weakPlayer_;
  std::vector<std::shared_ptr<VemoraAdPlayerBase>> others_;
  std::vector<std::shared_ptr<Page>> pages_;
  std::map<std::string, std::function<void()>> hooks_;
  std::vector<std::string> callbacks_;
  std::vector<std::string> broken_;
  std::map<std::weak_ptr<const void>, int, std::owner_less<>> completions_;
  NotificationCenter::Token completionToken_;
  /// Why no callback may come any more; empty while they may.
  std::string over_;
  std::set<std::size_t> answeredBeacons_;
  std::size_t endings_ = 0;
  std::size_t loadReports_ = 0;
  bool mayBeInCallback_ = false;
  std::size_t viewsBefore_ = 0;
  bool isFinished_ = false;
};

}  // namespace vemora::scenarios
