#include "ReplayHost.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>

#include <condition_variable>

namespace vemora {

namespace {

constexpr double kMicrosecondsPerSecond = 1e6;
const Rect kContainer{0, 0, 300, 200};

VMRError errorOf(const JsonValue& value) {
  VMRError error;
  error.domain = value["domain"].stringValue().value_or("");
  error.code = value["code"].integerValue();
  error.description = value["description"].stringValue().value_or("");
  error.failureReason = value["failureReason"].stringValue();
  return error;
}

/// The message that a script carries to the page; null for another script.
JsonValue messageIn(const std::string& script) {
  constexpr std::string_view kBegin = "JSON.stringify(";
  constexpr std::string_view kEnd = "));";
  constexpr std::string_view kParsed = "JSON.parse(";
  const std::size_t begin = script.find(kBegin);
  if (begin == std::string::npos || !script.ends_with(kEnd)) return nullptr;
  std::string_view text(script);
  text.remove_prefix(begin + kBegin.size());
  text.remove_suffix(kEnd.size());
  if (!text.starts_with(kParsed)) return JsonValue::parse(text).value_or(nullptr);
  text.remove_prefix(kParsed.size());
  text.remove_suffix(1);
  const JsonValue quoted = JsonValue::parse(text).value_or(nullptr);
  return JsonValue::parse(quoted.stringValue().value_or("")).value_or(nullptr);
}

JsonValue withId(const JsonValue& body, const std::string& id) {
  std::vector<JsonValue::Entry> members;
  for (const auto& [key, value] : body.entries())
    members.push_back({key, key.asString() == "id" ? JsonValue::internedString(id) : value});
  return JsonValue::object(std::move(members));
}

/// A container of the application's window stands in for whatever view the host has shown.
bool isInView(const std::string& placement) {
  return placement == "inline" || placement == "resizeable";
}

}  // namespace

/// Collects the callbacks as texts.
class ReplayHost::Delegate final : public VemoraAdPlayerDelegate {
 public:
  Delegate(ReplayHost& host, std::uint64_t player) : host_(host), player_(player) {}

  std::shared_ptr<VemoraAdRequest> request;

  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    auto answer = request;
    host_.waitForRequest(player_);
    return answer;
  }
  void vemoraDidLoadAds(const Player&, const AdGroup& ads, const std::optional<VMRError>& error) override {
    called("vemoraDidLoadAds", {{"ads", count(ads)}, {"error", value(error)}});
  }
  void vemoraDidFailToStart(const Player&, const VMRError& error) override {
    called("vemoraDidFailToStart", {{"error", value(error)}});
  }
  void vemoraAdGroupStart(const Player&, const AdGroup& group) override {
    called("vemoraAdGroupStart", {{"ads", count(group)}});
  }
  void vemoraAdStart(const Player&, const Ad& ad) override { called("vemoraAdStart", {{"ad", id(ad)}}); }
  void vemoraAdPlaying(const Player&, const Ad& ad) override { called("vemoraAdPlaying", {{"ad", id(ad)}}); }
  void vemoraAdPaused(const Player&, const Ad& ad) override { called("vemoraAdPaused", {{"ad", id(ad)}}); }
  void vemoraAdTimeUpdate(const Player&, const Ad& ad, double time) override {
    called("vemoraAdTimeUpdate", {{"ad", id(ad)}, {"value", time}});
  }
  void vemoraAdAspectRatio(const Player&, const Ad& ad, double ratio) override {
    called("vemoraAdAspectRatio", {{"ad", id(ad)}, {"value", ratio}});
  }
  void vemoraAdClicked(const Player&, const Ad& ad) override { called("vemoraAdClicked", {{"ad", id(ad)}}); }
  void vemoraAdSkipped(const Player&, const Ad& ad) override { called("vemoraAdSkipped", {{"ad", id(ad)}}); }
  void vemoraAdUserClose(const Player&, const Ad& ad) override {
    called("vemoraAdUserClose", {{"ad", id(ad)}});
  }
  void vemoraAdComplete(const Player&, const Ad& ad) override {
    called("vemoraAdComplete", {{"ad", id(ad)}});
  }
  void vemoraAdGroupComplete(const Player&, const AdGroup& group) override {
    called("vemoraAdGroupComplete", {{"ads", count(group)}});
  }
  void vemoraAdError(const Player&, const Ad& ad, const VMRError& error) override {
    called("vemoraAdError", {{"ad", id(ad)}, {"error", value(error)}});
  }

 private:
  static JsonValue id(const Ad& ad) { return ad ? ad->id() : JsonValue(); }
  static JsonValue count(const AdGroup& group) {
    return group ? JsonValue(group->ads().size()) : JsonValue();
  }
  static JsonValue value(const std::optional<VMRError>& error) {
    return error ? JsonValue::object({{"code", error->code}}) : JsonValue();
  }
  void called(const char* name, std::vector<JsonValue::Entry> arguments) {
    arguments.push_back({"name", name});
    host_.called(player_, JsonValue::object(std::move(arguments)));
  }

  ReplayHost& host_;
  const std::uint64_t player_;
};

ReplayHost::ReplayHost(const Recording& recording, testing::ScheduledDispatch& scheduler)
    : recording_(recording), scheduler_(scheduler), platform_(testing::TestingPlatform::current()) {
  platform_.useDispatch(&scheduler_);
  platform_.reset();
  scheduler_.restart({});
  study();
  studyCallbacks();
}

ReplayHost::~ReplayHost() {
  for (auto& [number, player] : players_) player.player = nullptr;
  constexpr double kUntilAllHasEnded = 60;
  scheduler_.advance(kUntilAllHasEnded);
  players_.clear();
  pages_.clear();
  platform_.reset();
  platform_.useDispatch(nullptr);
}

// What the recording says about the pages, ahead of time.

void ReplayHost::study() {
  std::size_t beacons = 0;
  bool hasStages = false;
  for (const Record& record : recording_.records) {
    Page& page = pages_[record.session];
    if (record.is("message", "direction", "toPage"))
      page.recordedIds[record["body"]["method"].stringValue().value_or("")].push_back(
          record["body"]["id"].stringValue().value_or(""));
    if (record.is("call", "state", "failed")) page.failures[record.text("id")] = errorOf(record["error"]);
    if (record.is("window") && record.text("state") != "closed") page.windows.push_back(record.text("state"));
    if (record.is("beacon", "state", "sent")) beacons_[record["number"].unsignedValue()] = beacons++;
    hasStages = hasStages || record.is("stage");
  }
  application().setHoldsPresentations(hasStages);
}

void ReplayHost::studyCallbacks() {
  std::set<std::uint64_t> called;
  for (const Record& record : recording_.records) {
    if (record.is("callback")) {
      const std::uint64_t player = record["player"].unsignedValue();
      if (record["delivered"].boolValue()) {
        consequences_.emplace_back();
        called.insert(player);
      } else if (!called.contains(player)) {
        losesDelegateAtOnce_.insert(player);
      } else {
        consequences_.back().losesDelegate = true;
      }
    } else if (record.is("host") && !record["within"].isNull() && !consequences_.empty()) {
      consequences_.back().calls.push_back(&record);
    }
  }
}

// The host.

void ReplayHost::apply(const Record& record) {
  if (record.is("host")) return applyCall(record);
  if (record.is("page")) return applyPageEvent(record);
  if (record.is("message")) return applyMessage(record);
  if (record.is("stage")) return applyStage(record);
  if (record.is("visibility")) return applyVisibility(record);
  if (record.is("window")) return closeBrowser();
  if (record.is("application"))
    return record.text("state") == "active" ? application().becomeActive() : application().resignActive();
  if (record.is("audioRoute")) {
    platform_.fakeAudio().changeRoute(static_cast<int>(record["reason"].integerValue()));
  } else if (record.is("beacon")) {
    const auto known = beacons_.find(record["number"].unsignedValue());
    if (known == beacons_.end() || known->second >= platform_.fakeSystem().downloads().size()) return;
    if (!endedBeacons_.insert(known->second).second) return;
    const JsonValue error = record["error"];
    platform_.fakeSystem().completeDownload(known->second,
                                            error.isNull() ? std::nullopt : std::optional(errorOf(error)));
  }
}

void ReplayHost::applyCall(const Record& record) {
  done_.insert(record.line);
  const std::string call = record.text("call");
  Player& known = players_[record["player"].unsignedValue()];
  if (call == "load") return load(record, known);
  if (call == "release") {
    known.player = nullptr;
    return;
  }
  if (!known.player) {
    // The first call of a player that loads later, or one on which the recording has no load.
    const Record* next = nextOf(record, "host");
    while (next && (next->text("call") != "load" || (*next)["player"] != record["player"]))
      next = nextOf(*next, "host");
    if (!next) return;
    if (isInView(next->text("placement"))) {
      known.container = std::make_shared<testing::FakeView>(kContainer);
      application().rootViewController()->fakeView()->addSubview(known.container);
    }
    known.player = makePlayer(next->text("placement"), known.container);
  }
  const auto player = known.player;
  if (call == "start") return start(record, *player);
  if (call == "play") return player->play();
  if (call == "stop") return player->stop();
  if (call == "pause") return player->pause();
  if (call == "resume") return player->resume();
  if (call == "skip") return player->skip();
  if (call == "close") return player->close();
  if (call == "shutdown") return player->shutdown();
  if (call == "setSize") return player->setSize(static_cast<float>(record["value"].doubleValue()));
  if (call == "setStartTimeout") player->setStartTimeout(record["value"].doubleValue());
}

std::shared_ptr<VemoraAdPlayerBase> ReplayHost::makePlayer(
    const std::string& placement, const std::shared_ptr<testing::FakeView>& container) const {
  if (placement == "interstitial") return VemoraInterstitialAdPlayer::initWithAdPlayerDelegate({});
  if (placement == "resizeable") return VemoraResizableAdPlayer::initInView(container);
  return VemoraInlineAdPlayer::initInView(container);
}

void ReplayHost::load(const Record& record, Player& known) {
  const std::uint64_t number = record["player"].unsignedValue();
  const std::string placement = record.text("placement");
  if (!known.player) {
    if (isInView(placement)) {
      known.container = std::make_shared<testing::FakeView>(kContainer);
      application().rootViewController()->fakeView()->addSubview(known.container);
    }
    known.player = makePlayer(placement, known.container);
  }
  const Record* answer = nextOf(record, "request");
  requests_[number] = answer;
  if (!known.delegate) known.delegate = std::make_shared<Delegate>(*this, number);
  known.delegate->request = nullptr;
  if (!answer || (*answer)["given"].boolValue()) {
    known.delegate->request = VemoraAdRequest::initWithApiKey("replay");
    if (answer && (*answer)["channel"].boolValue()) known.delegate->request->setChannel("1");
  }
  if (answer && !(*answer)["delegate"].boolValue()) known.delegate = nullptr;
  known.player->setDelegate(known.delegate);
  const auto player = known.player;
  player->load();
  const auto view = application().lastWebView();
  Page& page = pages_[record.session];
  page.view = view;
  view->setHidden(true);  // It is visible when the recording says so.
  view->onEvaluate = [this, &page](const std::string& script) { return receive(page, script); };
}

/// The host may have taken its time to answer.
void ReplayHost::waitForRequest(std::uint64_t player) {
  const Record* answer = requests_[player];
  if (answer) {
    const double moment = static_cast<double>(answer->time) / kMicrosecondsPerSecond;
    Mutex mutex;
    std::condition_variable never;
    MutexLock lock(mutex);
    while (scheduler_.now() < moment && scheduler_.waitUntil(mutex, never, moment)) {
    }
  }
  if (losesDelegateAtOnce_.contains(player)) players_[player].delegate = nullptr;
}

void ReplayHost::start(const Record& record, VemoraAdPlayerBase& player) {
  const Record* stage = nextOf(record, "stage");
  const bool hadWindow = !stage || stage->text("state") != "noWindow";
  const auto window = application().window();
  if (!hadWindow) application().setKeyWindow(nullptr);
  player.start();
  if (hadWindow) return;
  scheduler_.run();
  application().setKeyWindow(window);
}

void ReplayHost::called(std::uint64_t player, const JsonValue& callback) {
  const std::size_t position = callbacks_.size();
  callbacks_.emplace_back(describeCallback(callback), scheduler_.now());
  if (position >= consequences_.size()) return;
  for (const Record* call : consequences_[position].calls) {
    if (!hasDone(*call)) applyCall(*call);
  }
  if (consequences_[position].losesDelegate) players_[player].delegate = nullptr;
}

// The page and the system.

std::optional<VMRError> ReplayHost::receive(Page& page, const std::string& script) {
  const JsonValue message = messageIn(script);
  const std::string method = message["method"].stringValue().value_or("");
  const auto& recorded = page.recordedIds[method];
  const std::size_t position = page.callsSeen[method]++;
  if (position >= recorded.size()) return std::nullopt;
  page.ids[recorded[position]] = message["id"].stringValue().value_or("");
  const auto failure = page.failures.find(recorded[position]);
  return failure == page.failures.end() ? std::nullopt : std::optional(failure->second);
}

void ReplayHost::applyPageEvent(const Record& record) {
  Page& page = pages_[record.session];
  const auto view = page.view.lock();
  if (!view) return;
  const std::string event = record.text("event");
  if (event == "finished") view->finishNavigation();
  if (event == "failedProvisional") view->failProvisionalNavigation(errorOf(record["error"]));
  if (event == "failed") view->failNavigation(errorOf(record["error"]));
  if (event == "terminated") view->terminateProcess();
  if (event == "alert") view->alert("");
  if (event != "window") return;
  if (record["url"].isNull()) return view->requestWindow(std::nullopt);
  askForWindow(page, [&] { view->requestWindow(record.text("url")); });
}

void ReplayHost::applyMessage(const Record& record) {
  Page& page = pages_[record.session];
  const auto view = page.view.lock();
  if (!view) return;
  JsonValue body = record["body"];
  if (const auto id = body["id"].asString(); id && body["method"].isNull()) {
    const std::string recorded(*id);
    if (!page.ids.contains(recorded)) scheduler_.run();  // The call may be on its way.
    if (const auto known = page.ids.find(recorded); known != page.ids.end())
      body = withId(body, known->second);
  }
  const auto post = [&] { view->post("Vemora", body); };
  const bool opens = body["method"] == JsonValue("window") && body["params"]["event"] == JsonValue("open");
  opens ? askForWindow(page, post) : post();
}

template <typename Ask>
void ReplayHost::askForWindow(Page& page, Ask ask) {
  const std::size_t position = page.windowsSeen++;
  const bool hadWindow = position >= page.windows.size() || page.windows[position] != "noWindow";
  if (hadWindow) return ask();
  const auto window = application().window();
  application().setKeyWindow(nullptr);
  ask();
  scheduler_.run();
  application().setKeyWindow(window);
}

void ReplayHost::applyStage(const Record& record) {
  Page& page = pages_[record.session];
  auto stage = page.stage.lock();
  if (!stage) {
    std::shared_ptr<ViewController> top = application().rootViewController();
    while (const auto next = top->presentedViewController()) top = next;
    stage = std::dynamic_pointer_cast<testing::FakeViewController>(top);
    page.stage = stage;
  }
  if (!stage || stage == application().rootViewController()) return;
  record.text("state") == "presented" ? stage->finishPresentation() : stage->userCloses();
}

void ReplayHost::applyVisibility(const Record& record) {
  const auto view = pages_[record.session].view.lock();
  if (!view) return;
  if (application().window()) application().window()->layoutIfNeeded();
  view->setHidden(!record["visible"].boolValue());
}

void ReplayHost::closeBrowser() {
  const auto& browsers = application().browsers();
  for (auto each = browsers.rbegin(); each != browsers.rend(); ++each) {
    std::shared_ptr<ViewController> shown = application().rootViewController();
    while (shown && shown != *each) shown = shown->presentedViewController();
    if (shown) return (*each)->userCloses();
  }
}

const Record* ReplayHost::nextOf(const Record& record, std::string_view kind) const {
  for (const Record& each : recording_.records) {
    if (each.line > record.line && each.is(kind) && (kind == "host" || each.session == record.session))
      return &each;
  }
  return nullptr;
}

}  // namespace vemora
