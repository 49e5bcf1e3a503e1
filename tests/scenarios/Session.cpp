#include "Session.h"

#include "core/bridge/VMRFuture.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>

#include <algorithm>

namespace vemora::scenarios {

namespace {

constexpr char kAfterRelease[] = "after the release of the player";

testing::TestingPlatform& platform() {
  return testing::TestingPlatform::current();
}

std::string nameOf(const std::shared_ptr<VemoraAd>& ad) {
  return ad ? ad->id().stringValue().value_or("?") : "-";
}

std::string sizeOf(const std::shared_ptr<VemoraAdGroup>& group) {
  return group ? std::to_string(group->ads().size()) : "-";
}

}  // namespace

const char* nameOf(Placement placement) {
  switch (placement) {
    case Placement::Inline:
      return "inline";
    case Placement::Resizable:
      return "resizable";
    case Placement::Interstitial:
      return "interstitial";
  }
  return "";
}

testing::ScheduledDispatch& scheduler() {
  static testing::ScheduledDispatch& made = [&]() -> testing::ScheduledDispatch& {
    platform();  // This is the main thread.
    return *new testing::ScheduledDispatch;
  }();
  return made;
}

class Session::Delegate final : public VemoraAdPlayerDelegate {
 public:
  Session* session = nullptr;  ///< Null once the session has gone.

  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    if (!session) return nullptr;
    const auto request = session->request_;
    if (dispatch().isMainThread()) session->breakPromise("requestForPlayer came on the main thread");
    if (const auto hook = session->hooks_.find("requestForPlayer"); hook != session->hooks_.end()) {
      const auto act = hook->second;
      act();
    }
    return request;
  }
  void vemoraDidLoadAds(const Player& p, const AdGroup& ads, const std::optional<VMRError>& error) override {
    note(p, "didLoadAds", sizeOf(ads) + (error ? " " + std::to_string(error->code) : ""));
  }
  void vemoraDidFailToStart(const Player& p, const VMRError& error) override {
    note(p, "didFailToStart", std::to_string(error.code));
  }
  void vemoraAdGroupStart(const Player& p, const AdGroup& g) override { note(p, "adGroupStart", sizeOf(g)); }
  void vemoraAdStart(const Player& p, const Ad& ad) override { note(p, "adStart", nameOf(ad)); }
  void vemoraAdPlaying(const Player& p, const Ad& ad) override { note(p, "adPlaying", nameOf(ad)); }
  void vemoraAdPaused(const Player& p, const Ad& ad) override { note(p, "adPaused", nameOf(ad)); }
  void vemoraAdTimeUpdate(const Player& p, const Ad& ad, double time) override {
    note(p, "adTimeUpdate", nameOf(ad) + " " + JsonValue(time).stringValue().value_or("?"));
  }
  void vemoraAdClicked(const Player& p, const Ad& ad) override { note(p, "adClicked", nameOf(ad)); }
  void vemoraAdSkipped(const Player& p, const Ad& ad) override { note(p, "adSkipped", nameOf(ad)); }
  void vemoraAdUserClose(const Player& p, const Ad& ad) override { note(p, "adUserClose", nameOf(ad)); }
  void vemoraAdComplete(const Player& p, const Ad& ad) override { note(p, "adComplete", nameOf(ad)); }
  void vemoraAdGroupComplete(const Player& p, const AdGroup& g) override {
    note(p, "adGroupComplete", sizeOf(g));
  }
  void vemoraAdError(const Player& p, const Ad& ad, const VMRError& error) override {
    note(p, "adError", nameOf(ad) + " " + std::to_string(error.code));
  }

 private:
  void note(const Player& player, const std::string& name, const std::string& details) {
    if (session) session->record(player.get(), name, details);
  }
};

Session::Session(Placement placement, const testing::ScheduledDispatch::Policy& policy) {
  auto& schedule = scheduler();
  platform().useDispatch(&schedule);
  platform().reset();
  schedule.restart(policy);
  viewsBefore_ = testing::FakeView::alive();
  Vemora::debugMode(true);
  Vemora::setAPIKey(std::nullopt);
  completionToken_ = NotificationCenter::defaultCenter().addObserver(
      kVMRFutureCompleteNotification,
      [this](const Notification& notification) { countCompletion(notification.object); });
  container_ = std::make_shared<testing::FakeView>(Rect{0, 0, 300, 200});
  application().rootViewController()->fakeView()->addSubview(container_);
  delegate_ = std::make_shared<Delegate>();
  delegate_->session = this;
  weakDelegate_ = delegate_;
  request_ = VemoraAdRequest::initWithApiKey("key");
  request_->setChannel("7");
  player_ = makePlayer(placement);
  player_->setDelegate(delegate_);
  weakPlayer_ = player_;
}

Session::~Session() {
  finish();
}

std::shared_ptr<VemoraAdPlayerBase> Session::makePlayer(Placement placement) {
  switch (placement) {
    case Placement::Inline:
      return VemoraInlineAdPlayer::initInView(container_);
    case Placement::Resizable:
      return VemoraResizableAdPlayer::initInView(container_);
    case Placement::Interstitial:
      return VemoraInterstitialAdPlayer::initWithAdPlayerDelegate({});
  }
  return nullptr;
}

std::shared_ptr<VemoraAdPlayerBase> Session::addPlayer(Placement placement) {
  others_.push_back(makePlayer(placement));
  others_.back()->setDelegate(delegate_);
  return others_.back();
}

// The host.

void Session::load() {
  over_.clear();
  player_->load();
  pages_.push_back(Page::behind(application().lastWebView()));
}

void Session::loadAds() {
  load();
  page().finish();
  run();
}

void Session::play() {
  loadAds();
  start();
  application().window()->layoutIfNeeded();
  advance(1);
  page().event("AdGroupStart");
  page().event("AdStarted");
  run();
}

void Session::start() {
  player_->start();
  run();
  application().window()->layoutIfNeeded();
}

void Session::shutdown() {
  player_->shutdown();
  if (over_.empty()) over_ = "after shutdown";
}

void Session::shutdownInBackground() {
  dispatch().detachNewThread([player = player_] { player->shutdown(); });
}

void Session::releasePlayer() {
  player_ = nullptr;
  over_ = kAfterRelease;
}

void Session::releasePlayerInBackground() {
  dispatch().detachNewThread([this, player = std::exchange(player_, nullptr)]() mutable {
    player = nullptr;
    over_ = kAfterRelease;
    mayBeInCallback_ = true;
  });
}

void Session::releaseDelegate() {
  delegate_ = nullptr;
}

void Session::run() {
  scheduler().run();
  mayBeInCallback_ = false;
}

void Session::advance(double seconds) {
  scheduler().advance(seconds);
  mayBeInCallback_ = false;
}

// Records and promises.

void Session::record(const VemoraAdPlayerBase* player, const std::string& name, const std::string& details) {
  const bool isOther =
      std::any_of(others_.begin(), others_.end(), [&](const auto& other) { return other.get() == player; });
  const std::string entry = (isOther ? "2: " : "") + name + " " + details;
  callbacks_.push_back(entry);
  if (!isOther) keepPromises(entry, name);
  for (const auto& key : {name, std::string()}) {
    if (const auto hook = hooks_.find(key); !isOther && hook != hooks_.end()) {
      const auto act = hook->second;
      act();
    }
  }
}

void Session::keepPromises(const std::string& entry, const std::string& name) {
  if (!dispatch().isMainThread()) breakPromise(entry + " came off the main thread");
  // Each load is reported, also one that was shut down; only the release of the player silences the report.
  const bool isLateReport = name == "didLoadAds" && over_ != kAfterRelease;
  // A release on another thread does not stop the callback that the main thread is about to make.
  const bool hadBegun = std::exchange(mayBeInCallback_, false);
  if (!over_.empty() && !isLateReport && !hadBegun) breakPromise(entry + " came " + over_);
  if (name == "didLoadAds" && ++loadReports_ > pages_.size()) breakPromise("two reports of one load");
  if (name == "adGroupComplete" || name == "adError") {
    if (++endings_ > pages_.size()) breakPromise("two endings of one load");
    over_ = "after the ending";
  }
}

void Session::countCompletion(const std::shared_ptr<const void>& future) {
  if (++completions_[future] > 1) breakPromise("a future completed twice");
}

std::vector<std::string> Session::errorLines() const {
  std::vector<std::string> found;
  constexpr std::string_view kPrefix = "VEMORA ERROR: ";
  for (const testing::LogLine& line : system().lines()) {
    if (line.level != LogLevel::Error) continue;
    const bool isOurs = line.text.starts_with(kPrefix);
    const std::string text = isOurs ? line.text.substr(kPrefix.size()) : line.text;
    found.push_back(text.substr(0, text.find('\n')));
  }
  return found;
}

bool Session::logged(std::string_view line) const {
  return system().hasLine(LogLevel::Default, "VEMORA LOG: " + std::string(line));
}

testing::FakeApplication& Session::application() const {
  return platform().fakeApplication();
}

testing::FakeSystem& Session::system() const {
  return platform().fakeSystem();
}

std::vector<std::string> Session::beacons() const {
  std::vector<std::string> all;
  for (const auto& download : system().downloads()) all.push_back(download.request.url);
  return all;
}

void Session::answerBeacon(std::size_t index, const std::optional<VMRError>& error) {
  if (answeredBeacons_.insert(index).second) system().completeDownload(index, error);
}

void Session::finish() {
  if (std::exchange(isFinished_, true)) return;
  // A release on another thread may not have begun yet.
  if (player_) releasePlayer();
  others_.clear();
  delegate_ = nullptr;
  auto delegate = weakDelegate_.lock();
  advance(60);
  for (std::size_t i = 0; i < system().downloads().size(); ++i) answerBeacon(i, std::nullopt);
  run();
  checkLeftovers();
  if (delegate) delegate->session = nullptr;
  delegate = nullptr;
  if (!weakDelegate_.expired()) breakPromise("the delegate is alive");
  hooks_.clear();
  pages_.clear();
  container_ = nullptr;
  completionToken_ = {};
  platform().reset();
  if (testing::FakeView::alive() != viewsBefore_) breakPromise("views are left");
  platform().useDispatch(nullptr);
}

void Session::checkLeftovers() {
  if (!weakPlayer_.expired()) breakPromise("the player is alive");
  for (std::size_t i = 0; i < application().webViewCount(); ++i) {
    if (application().webView(i)) breakPromise("a web view is alive");
  }
  if (scheduler().liveThreads() > 0) breakPromise("threads are left");
  if (scheduler().queuedBlocks() > 0) breakPromise("blocks are queued");
  if (scheduler().pendingTimers() > 0) breakPromise("timers are pending");
  for (const char* name :
       {UIApplicationDidBecomeActiveNotification, UIApplicationWillResignActiveNotification,
        AVAudioSessionRouteChangeNotification}) {
    if (NotificationCenter::defaultCenter().hasObservers(name))
      breakPromise(std::string("an observer of ") + name + " is registered");
  }
}

}  // namespace vemora::scenarios
