#include "RandomSession.h"

#include "Session.h"

#include <functional>
#include <random>
#include <utility>

namespace vemora::scenarios {

namespace {

constexpr const char* kEvents[] = {"AdGroupStart", "AdStarted",       "AdPlaying", "AdTimeChange", "AdPaused",
                                   "AdClickThru",  "AdVideoComplete", "AdSkipped", "AdUserClose",  "AdLog",
                                   "NoSuchEvent",  "AdStarted",       "AdPlaying", "AdGroupEnd",   "AdError"};
constexpr const char* kBodies[] = {"null",
                                   "5",
                                   "[]",
                                   "{}",
                                   R"({"method":"launch"})",
                                   R"({"id":"7","result":{}})",
                                   R"({"method":"event"})",
                                   R"({"method":"window","params":{"event":"open"}})",
                                   R"({"method":"ping","params":null})",
                                   R"({"id":null,"result":[]})"};
constexpr double kDelays[] = {0, 0, 0, 0.5, 4.9, 5, 6};
constexpr double kTimes[] = {0.01, 0.5, 1, 1, 4.9, 5, 5, 10, 15};

/// One session while it is played.
class Explorer {
 public:
  explicit Explorer(std::uint64_t seed) : random_(seed), session_(pick(kPlacements), policyFor(seed)) {
    session_.application().setHoldsPresentations(chance(10));
  }

  ExploredSession play() {
    act("load", [&] { load(); });
    const int count = 4 + static_cast<int>(below(24));
    for (int i = 0; i < count && !session_.isReleased(); ++i) {
      doSomething();
      letTimePass();
    }
    end();
    const std::string schedule = scheduler().schedule();
    session_.finish();
    result_.callbacks = session_.callbacks();
    result_.broken = session_.broken();
    result_.schedule = schedule;
    return std::move(result_);
  }

 private:
  using Action = std::function<void()>;

  std::uint64_t below(std::uint64_t count) { return random_() % count; }
  bool chance(int percent) { return below(100) < static_cast<std::uint64_t>(percent); }
  template <typename T, std::size_t size>
  const T& pick(const T (&values)[size]) {
    return values[below(size)];
  }

  testing::ScheduledDispatch::Policy policyFor(std::uint64_t seed) {
    constexpr double kPreemptions[] = {0, 0.02, 0.1, 0.3};
    constexpr double kSlowness[] = {0, 0, 0.01, 0.1};
    return {seed, pick(kPreemptions), pick(kSlowness)};
  }

  void act(const std::string& name, const Action& action) {
    result_.steps.push_back(name);
    action();
  }

  void load() {
    session_.load();
    Page& page = session_.page();
    for (const char* method : {"get.config", "get.ads", "control.start", "control.pause"}) {
      if (!chance(20)) continue;
      Answer answer{.delay = pick(kDelays), .copies = static_cast<int>(below(3))};
      if (method == std::string("get.ads") && chance(70)) answer.members = Page::kAds;
      if (chance(20)) answer.members = R"("error":{"code":1})";
      if (chance(10)) answer.id = "999";
      page.answer(method, answer);
    }
    if (chance(80)) page.finish();
  }

  void doSomething() {
    const std::pair<int, std::pair<const char*, Action>> actions[] = {
        {8, {"finish", [&] { page().finish(); }}},
        {2, {"fail", [&] { page().fail("refused", chance(50)); }}},
        {2, {"crash", [&] { page().crash(); }}},
        {8, {"ping", [&] { page().ping(); }}},
        {2, {"ping shutdown", [&] { page().post(R"({"method":"ping","params":{"shutdown":true}})"); }}},
        {3, {"pings stop or go on", [&] { page().setPings(chance(50)); }}},
        {20, {"event", [&] { page().event(pick(kEvents), chance(50) ? "a" : "z", "0.5"); }}},
        {2,
         {"event storm",
          [&] {
            const char* name = pick(kEvents);
            for (int i = 0; i < 20; ++i) page().event(name);
          }}},
        {4, {"odd message", [&] { page().post(pick(kBodies)); }}},
        {3, {"open", [&] { page().window("open", "https://shop.example/"); }}},
        {3, {"beacon", [&] { page().window("beacon", "https://beacons.example/"); }}},
        {2,
         {"alert",
          [&] {
            if (const auto view = page().view()) view->alert("text");
          }}},
        {3,
         {"browser closes",
          [&] {
            if (!session_.application().browsers().empty())
              session_.application().browsers().back()->userCloses();
          }}},
        {2, {"presentation ends", [&] { finishPresentation(); }}},
        {10, {"start", [&] { session_.player()->start(); }}},
        {8, {"command", [&] { command(); }}},
        {3, {"setSize", [&] { session_.player()->setSize(0.5F); }}},
        {4, {"background", [&] { session_.background(); }}},
        {4, {"foreground", [&] { session_.foreground(); }}},
        {3, {"act inside the next callback", [&] { actInsideCallback(); }}},
        {2, {"layout", [&] { session_.application().window()->layoutIfNeeded(); }}},
        {2, {"view leaves the window", [&] { session_.dropContainer(); }}},
        {2, {"shutdown", [&] { session_.shutdown(); }}},
        {1, {"shutdown in background", [&] { session_.shutdownInBackground(); }}},
        {2,
         {"shutdown and load",
          [&] {
            session_.shutdown();
            load();
          }}},
        {1, {"release delegate", [&] { session_.releaseDelegate(); }}},
        {1, {"release", [&] { session_.releasePlayer(); }}},
        {1, {"release in background", [&] { session_.releasePlayerInBackground(); }}}};
    int total = 0;
    for (const auto& [weight, action] : actions) total += weight;
    auto chosen = static_cast<int>(below(static_cast<std::uint64_t>(total)));
    for (const auto& [weight, action] : actions) {
      chosen -= weight;
      if (chosen < 0) return act(action.first, action.second);
    }
  }

  Page& page() { return session_.page(below(session_.loads())); }

  void command() {
    using Command = void (VemoraAdPlayerBase::*)();
    constexpr Command kCommands[] = {&VemoraAdPlayerBase::play,  &VemoraAdPlayerBase::stop,
                                     &VemoraAdPlayerBase::pause, &VemoraAdPlayerBase::resume,
                                     &VemoraAdPlayerBase::skip,  &VemoraAdPlayerBase::close};
    (session_.player().get()->*pick(kCommands))();
  }

  void finishPresentation() {
    const auto stage = std::dynamic_pointer_cast<testing::FakeViewController>(
        session_.application().rootViewController()->presentedViewController());
    if (stage) stage->finishPresentation();
  }

  void actInsideCallback() {
    const auto kind = below(4);
    session_.onCallback("", [this, kind] {
      session_.onCallback("", [] {});
      if (session_.isReleased()) return;
      result_.steps.push_back("inside a callback: " + std::to_string(kind));
      if (kind == 0) session_.shutdown();
      if (kind == 1) session_.releasePlayer();
      if (kind == 2) session_.player()->start();
      if (kind == 3) {
        session_.shutdown();
        load();
      }
    });
  }

  void letTimePass() {
    switch (below(4)) {
      case 0:
        return;
      case 1: {
        const auto steps = below(12);
        for (std::uint64_t i = 0; i < steps && scheduler().step(); ++i) {
        }
        return;
      }
      case 2:
        return session_.run();
      default:
        return session_.advance(pick(kTimes));
    }
  }

  void end() {
    if (session_.isReleased()) return;
    switch (below(4)) {
      case 0:
        act("end: shutdown", [&] { session_.shutdown(); });
        letTimePass();
        return;
      case 1:
        return act("end: release in background", [&] { session_.releasePlayerInBackground(); });
      case 2:
        act("end: release the delegate", [&] { session_.releaseDelegate(); });
        letTimePass();
        return;
      default:
        return act("end: release", [&] { session_.releasePlayer(); });
    }
  }

  std::mt19937_64 random_;
  ExploredSession result_;
  Session session_;
};

}  // namespace

ExploredSession exploreSession(std::uint64_t seed) {
  return Explorer(seed).play();
}

}  // namespace vemora::scenarios
