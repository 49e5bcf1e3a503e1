#include "backends/testing/TestingPlatform.h"

#include <Vemora/Testing/VemoraScriptedController.h>
#include <Vemora/Testing/VemoraTesting.h>
#include <Vemora/VMRError.h>

#include <functional>
#include <map>
#include <set>
#include <utility>

namespace vemora {

namespace {

constexpr std::string_view kCallBegin = "window.VemoraProxy.bridge.onMessage(JSON.stringify(";
constexpr std::string_view kCallEnd = "));";
constexpr double kTick = 0.25;
constexpr int kTicksPerPing = 4;

JsonValue messageIn(std::string_view script) {
  if (!script.starts_with(kCallBegin) || !script.ends_with(kCallEnd)) return nullptr;
  script.remove_prefix(kCallBegin.size());
  script.remove_suffix(kCallEnd.size());
  return JsonValue::parse(script).value_or(nullptr);
}

VMRError networkError(std::string description) {
  return {"VemoraTesting", 1, std::move(description), {}, {}, nullptr};
}

}  // namespace

struct VemoraScriptedController::Script {
  std::vector<Ad> ads = {{"ad-1", 15, ""}};
  JsonValue config = JsonValue::object({});
  std::string unreachable;
  std::map<std::string, JsonValue> errors;
  std::set<std::string> silent;
  std::vector<Call> calls;
  std::vector<std::shared_ptr<Page>> pages;
};

/// One web view's page. Timers and queued blocks hold it weakly: it goes with its script.
class VemoraScriptedController::Page : public std::enable_shared_from_this<Page> {
 public:
  Page(std::weak_ptr<Script> script, const std::shared_ptr<testing::FakeWebView>& view)
      : script_(std::move(script)), view_(view) {
    if (const auto from = script_.lock()) {
      ads_ = from->ads;
      unreachable_ = from->unreachable;
    }
  }

  void open() {
    const auto view = view_.lock();
    if (!view) return;
    view->onEvaluate = [weak = weak_from_this()](const std::string& script) {
      const auto self = weak.lock();
      return self ? self->receive(script) : std::nullopt;
    };
    later([](Page& self) { self.load(); });
  }

  void skip() {
    if (!isRunning()) return;
    event("AdSkipped");
    endAd();
  }
  void close() {
    if (!isRunning()) return;
    event("AdUserClose");
    stop();
  }
  void click(const std::string& url) {
    if (!isRunning()) return;
    pause();
    event("AdClickThru", url);
    post("window", JsonValue::object({{"event", "open"}, {"url", url}}));
  }
  void fail(const std::string& text) {
    event("AdError", text);
    current_ = ads_.size();
  }
  void hang() { isHanging_ = true; }
  void post(const JsonValue& message) {
    const auto view = view_.lock();
    // As text and back, as from a real page: strings then have the identity that the SDK gives them.
    const auto text = message.serialized();
    if (view && text && !isHanging_) view->post("Vemora", JsonValue::parse(*text).value_or(nullptr));
  }
  void post(const char* method, const JsonValue& params) {
    post(JsonValue::object({{"method", method}, {"params", params}}));
  }
  bool isClosed() const { return view_.expired(); }
  bool isPlaying() const { return isRunning() && !isPaused_ && !isHanging_; }

  /// Runs it from the main queue, as a page does everything.
  void later(std::function<void(Page&)> step) {
    dispatch().mainAsync([weak = weak_from_this(), step = std::move(step)] {
      const auto self = weak.lock();
      if (self) step(*self);
    });
  }

 private:
  bool isRunning() const { return hasBegun_ && current_ < ads_.size(); }

  void load() {
    const auto view = view_.lock();
    if (!view) return;
    if (!unreachable_.empty()) return view->failProvisionalNavigation(networkError(unreachable_));
    view->finishNavigation();
    tick();
  }

  void tick() {
    const auto view = view_.lock();
    if (!view) return;
    if (++ticks_ % kTicksPerPing == 0) post(JsonValue::object({{"method", "ping"}}));
    if (isPlaying()) advance();
    dispatch().mainAfter(kTick, [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->tick();
    });
  }

  void advance() {
    static constexpr std::pair<double, const char*> kQuartiles[] = {
        {0.25, "AdVideoFirstQuartile"}, {0.5, "AdVideoMidpoint"}, {0.75, "AdVideoThirdQuartile"}};
    const double duration = ads_[current_].duration;
    const double before = std::exchange(elapsed_, elapsed_ + kTick);
    event("AdTimeChange", elapsed_);
    for (const auto& [part, name] : kQuartiles)
      if (before < part * duration && elapsed_ >= part * duration) event(name);
    if (elapsed_ < duration) return;
    event("AdVideoComplete");
    endAd();
  }

  void begin() {
    hasBegun_ = true;
    event("AdGroupStart");
    startAd();
  }
  void startAd() {
    elapsed_ = 0;
    isPaused_ = false;
    event("AdLoaded", JsonValue::object({{"width", 640}, {"height", 360}}));
    for (const char* name : {"AdStarted", "AdImpression", "AdVideoStart"}) event(name);
  }
  void endAd() {
    event("AdStopped");
    if (++current_ < ads_.size()) return startAd();
    post("event", JsonValue::object({{"event", "AdGroupEnd"}}));
  }
  void stop() {
    current_ = ads_.size() - 1;
    endAd();
  }
  void pause() {
    if (!isRunning() || std::exchange(isPaused_, true)) return;
    event("AdPaused");
  }
  void resume() {
    if (!isRunning() || !std::exchange(isPaused_, false)) return;
    event("AdPlaying");
  }

  void event(const char* name, const JsonValue& data = nullptr) {
    const JsonValue id = current_ < ads_.size() ? JsonValue(ads_[current_].id) : JsonValue();
    post("event", JsonValue::object({{"event", name}, {"id", id}, {"data", data}}));
  }

  std::optional<VMRError> receive(const std::string& script) {
    if (!unreachable_.empty()) return networkError("There is no page");
    const JsonValue message = messageIn(script);
    const std::string method = message["method"].stringValue().value_or("");
    const auto from = script_.lock();
    if (!from || method.empty()) return std::nullopt;
    from->calls.push_back({method, message["params"]});
    if (from->silent.contains(method)) return std::nullopt;
    later([method, id = message["id"]](Page& self) { self.answer(method, id); });
    return std::nullopt;
  }

  void answer(const std::string& method, const JsonValue& id) {
    const auto from = script_.lock();
    if (!from || isHanging_) return;
    const auto error = from->errors.find(method);
    if (error != from->errors.end()) return post(JsonValue::object({{"id", id}, {"error", error->second}}));
    JsonValue data = JsonValue::object({});
    if (method == "get.config") data = from->config;
    if (method == "get.ads")
      data = JsonValue::object({{"adgroup", JsonValue::object({{"ads", listOfAds()}})}});
    post(JsonValue::object({{"id", id}, {"result", JsonValue::object({{"data", data}})}}));
    obey(method);
  }

  void obey(const std::string& method) {
    if ((method == "control.start" || method == "control.play") && !hasBegun_ && !ads_.empty())
      return begin();
    if (method == "control.pause") return pause();
    if (method == "control.resume" || method == "control.play") return resume();
    if (method == "control.skip") return skip();
    if (method == "control.close") return close();
    if (method == "control.stop" && isRunning()) return stop();
  }

  JsonValue listOfAds() const {
    std::vector<JsonValue> list;
    for (const Ad& ad : ads_) {
      list.push_back(JsonValue::object({{"id", ad.id},
                                        {"index", static_cast<std::int64_t>(list.size())},
                                        {"duration", ad.duration},
                                        {"title", ad.title}}));
    }
    return list;
  }

  const std::weak_ptr<Script> script_;
  const std::weak_ptr<testing::FakeWebView> view_;
  std::vector<Ad> ads_;
  std::string unreachable_;
  bool hasBegun_ = false;
  bool isPaused_ = false;
  bool isHanging_ = false;
  std::size_t current_ = 0;
  double elapsed_ = 0;
  int ticks_ = 0;
};

VemoraScriptedController::VemoraScriptedController() : script_(std::make_shared<Script>()) {
  VemoraTesting::reset();
  testing::TestingPlatform::current().fakeApplication().onCreateWebView =
      [weak = std::weak_ptr(script_)](const std::shared_ptr<testing::FakeWebView>& view) {
        const auto script = weak.lock();
        if (!script) return;
        std::erase_if(script->pages, [](const auto& page) { return page->isClosed(); });
        script->pages.push_back(std::make_shared<Page>(script, view));
        script->pages.back()->open();
      };
}

VemoraScriptedController::~VemoraScriptedController() = default;

std::shared_ptr<VemoraScriptedController::Page> VemoraScriptedController::page() const {
  return script_->pages.empty() ? nullptr : script_->pages.back();
}

void VemoraScriptedController::setAds(std::vector<Ad> ads) {
  script_->ads = std::move(ads);
}
void VemoraScriptedController::setConfig(JsonValue config) {
  script_->config = std::move(config);
}
void VemoraScriptedController::setUnreachable(std::string reason) {
  script_->unreachable = std::move(reason);
}
void VemoraScriptedController::setError(const std::string& method, std::int64_t code,
                                        const std::string& message) {
  script_->errors[method] = JsonValue::object({{"code", code}, {"message", message}});
}
void VemoraScriptedController::setSilent(const std::string& method) {
  script_->silent.insert(method);
}

void VemoraScriptedController::viewerSkips() {
  if (page()) page()->later([](Page& page) { page.skip(); });
}
void VemoraScriptedController::viewerCloses() {
  if (page()) page()->later([](Page& page) { page.close(); });
}
void VemoraScriptedController::viewerClicks(std::string_view url) {
  if (page()) page()->later([url = std::string(url)](Page& page) { page.click(url); });
}
void VemoraScriptedController::fail(std::string_view text) {
  if (page()) page()->later([text = std::string(text)](Page& page) { page.fail(text); });
}
void VemoraScriptedController::hang() {
  if (page()) page()->later([](Page& page) { page.hang(); });
}
void VemoraScriptedController::sendBeacon(std::string_view url) {
  post(JsonValue::object({{"method", "window"},
                          {"params", JsonValue::object({{"event", "beacon"}, {"url", std::string(url)}})}}));
}
void VemoraScriptedController::post(const JsonValue& message) {
  if (page()) page()->later([message](Page& page) { page.post(message); });
}

const std::vector<VemoraScriptedController::Call>& VemoraScriptedController::calls() const {
  return script_->calls;
}
bool VemoraScriptedController::isPlaying() const {
  return page() && page()->isPlaying();
}

}  // namespace vemora
