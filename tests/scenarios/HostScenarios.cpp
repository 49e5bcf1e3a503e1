#include "Scenario.h"

#include <algorithm>
#include <string_view>

namespace vemora::scenarios {

namespace {

const char* const kCallbacks[] = {"didLoadAds",   "adGroupStart", "adStart",        "adPlaying",
                                  "adTimeUpdate", "adClicked",    "adPaused",       "adComplete",
                                  "adSkipped",    "adUserClose",  "adGroupComplete"};

/// What the whole group gives up to and with the first callback of that name.
std::vector<std::string> groupUpTo(const std::string& name) {
  std::vector<std::string> callbacks;
  for (const std::string& callback : wholeGroup()) {
    callbacks.push_back(callback);
    if (callback.starts_with(name + " ")) break;
  }
  return callbacks;
}

struct HostAction {
  const char* name;
  const char* description;
  void (*act)(Session&);
};

void addInsideCallbacks(std::vector<Scenario>& table) {
  const char* group = "The host acts inside a callback";
  const HostAction actions[] = {
      {"shutdown-inside-callback", "`shutdown` inside the callback.", [](Session& s) { s.shutdown(); }},
      {"release-inside-callback", "The player is released inside the callback.",
       [](Session& s) { s.releasePlayer(); }},
      {"delegate-released-inside-callback", "The delegate is released inside the callback.",
       [](Session& s) { s.releaseDelegate(); }}};
  for (const HostAction& action : actions) {
    for (const std::string callback : kCallbacks) {
      table.push_back({group,
                       action.name,
                       action.description,
                       [callback, act = action.act](Session& s) {
                         s.onCallback(callback, [&s, act] {
                           s.onCallback("", [] {});
                           act(s);
                         });
                         playWholeGroup(s);
                         s.advance(12);
                       },
                       {groupUpTo(callback), {}, {}, "No callback follows."}});
      table.back().variant = callback;
    }
    table.push_back({group,
                     action.name,
                     action.description,
                     [act = action.act](Session& s) {
                       s.onCallback("adError", [&s, act] { act(s); });
                       s.play();
                       s.page().event("AdError");
                       s.advance(12);
                     },
                     {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adError a 5004"},
                      {},
                      {},
                      "No callback follows."}});
    table.back().variant = "adError";
  }
  table.push_back({group,
                   "load-inside-ending",
                   "`load` inside `vemoraAdGroupComplete`.",
                   [](Session& s) {
                     s.play();
                     s.onCallback("adGroupComplete", [&s] { s.load(); });
                     s.page().event("AdGroupEnd");
                     s.run();
                     s.page().finish();
                     s.run();
                   },
                   {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adGroupComplete 2", "didLoadAds 2"}}});
  table.push_back({group,
                   "release-inside-request",
                   "The player is released inside `requestForPlayer`.",
                   [](Session& s) {
                     s.onCallback("requestForPlayer", [&s] { s.releasePlayer(); });
                     s.load();
                     s.run();
                     s.page().finish();
                     s.advance(12);
                   },
                   {{}, {}, {}, "No callback follows."}});
}

/// A state of the session, how it comes about, and what the host was notified of until then.
struct State {
  const char* name;
  void (*reach)(Session&);
  std::vector<std::string> callbacks;
};

const std::vector<State>& states() {
  static const std::vector<State> all = {
      {"new", [](Session&) {}, {}},
      {"loading the page",
       [](Session& s) {
         s.load();
         s.advance(1);
       },
       {}},
      {"waiting for the configuration",
       [](Session& s) {
         s.load();
         s.page().answer("get.config", {.copies = 0});
         s.page().finish();
         s.advance(1);
       },
       {}},
      {"waiting for the ads",
       [](Session& s) {
         s.load();
         s.page().answer("get.ads", {.copies = 0});
         s.page().setPings(false);
         s.page().finish();
         s.advance(1);
       },
       {}},
      {"loaded", [](Session& s) { s.loadAds(); }, {"didLoadAds 2"}},
      {"starting",
       [](Session& s) {
         s.loadAds();
         s.player()->start();
       },
       {"didLoadAds 2"}},
      {"playing", [](Session& s) { s.play(); }, {"didLoadAds 2", "adGroupStart 2", "adStart a"}},
      {"browser open",
       [](Session& s) {
         s.play();
         s.page().window("open", "https://shop.example/");
         s.run();
       },
       {"didLoadAds 2", "adGroupStart 2", "adStart a"}},
      {"in the background",
       [](Session& s) {
         s.play();
         s.background();
         s.advance(1);
       },
       {"didLoadAds 2", "adGroupStart 2", "adStart a"}},
      {"ended",
       [](Session& s) {
         s.play();
         s.page().event("AdGroupEnd");
         s.run();
       },
       {"didLoadAds 2", "adGroupStart 2", "adStart a", "adGroupComplete 2"}},
      {"shut down",
       [](Session& s) {
         s.play();
         s.shutdown();
         s.run();
       },
       {"didLoadAds 2", "adGroupStart 2", "adStart a"}},
  };
  return all;
}

/// The states in which a load has not been reported yet.
bool isLoading(const State& state) {
  const std::string name = state.name;
  return name.starts_with("waiting") || name.starts_with("loading");
}

std::vector<std::string> errorsIn(const State& state) {
  return isLoading(state) ? std::vector<std::string>{kGivenUp} : std::vector<std::string>();
}

/// Ends in each state: no callback may follow, whatever the page does.
void addEnds(std::vector<Scenario>& table) {
  const char* group = "The host acts in each state";
  const HostAction actions[] = {
      {"shutdown", "`shutdown` on the main thread.", [](Session& s) { s.shutdown(); }},
      {"release", "The player is released on the main thread.", [](Session& s) { s.releasePlayer(); }},
      {"release-in-background", "The player is released on another thread.",
       [](Session& s) {
         s.releasePlayerInBackground();
         s.run();
       }},
      {"release-delegate", "The delegate is released.", [](Session& s) { s.releaseDelegate(); }}};
  for (const HostAction& action : actions) {
    for (const State& state : states()) {
      auto callbacks = state.callbacks;
      // Each load is reported, also one that was shut down.
      const bool isReported = isLoading(state) && std::string_view(action.name) == "shutdown";
      if (isReported) callbacks.emplace_back("didLoadAds - 5003");
      table.push_back(
          {group,
           action.name,
           action.description,
           [reach = state.reach, act = action.act](Session& s) {
             reach(s);
             act(s);
             for (std::size_t i = 0; i < s.loads(); ++i) {
               s.page(i).finish();
               for (const char* event : {"AdStarted", "AdPaused", "AdError", "AdGroupEnd"})
                 s.page(i).event(event);
             }
             s.advance(30);
           },
           {callbacks,
            errorsIn(state),
            {},
            isReported ? "Nothing but the report of the load follows." : "No callback follows."}});
      table.back().variant = state.name;
    }
  }
}

/// What must change nothing.
void addHarmless(std::vector<Scenario>& table) {
  const char* group = "The host acts in each state";
  const HostAction actions[] = {
      {"commands", "Every command, three times.",
       [](Session& s) {
         for (int i = 0; i < 3; ++i) {
           for (const auto command :
                {&VemoraAdPlayerBase::play, &VemoraAdPlayerBase::stop, &VemoraAdPlayerBase::pause,
                 &VemoraAdPlayerBase::resume, &VemoraAdPlayerBase::skip, &VemoraAdPlayerBase::close})
             (s.player().get()->*command)();
           s.player()->setSize(0.5F);
         }
       }},
      {"background-and-back", "The application goes to the background for a minute and comes back.",
       [](Session& s) {
         s.background();
         s.advance(60);
         s.foreground();
       }}};
  for (const HostAction& action : actions) {
    for (const State& state : states()) {
      const std::string name = state.name;
      // The others end by themselves, or are waited for in the table of replies.
      if (isLoading(state) || name == "in the background") continue;
      table.push_back({group,
                       action.name,
                       action.description,
                       [reach = state.reach, act = action.act](Session& s) {
                         reach(s);
                         act(s);
                         s.advance(3);
                       },
                       {state.callbacks, {}, {}, "Nothing ends and nothing is repeated."}});
      table.back().variant = name;
    }
  }
}

/// A second load, after a shutdown as the header asks for and without it.
void addSecondLoads(std::vector<Scenario>& table) {
  const char* group = "The host acts in each state";
  for (const State& state : states()) {
    auto callbacks = state.callbacks;
    callbacks.emplace_back("didLoadAds 2");
    if (isLoading(state)) callbacks.emplace_back("didLoadAds - 5003");
    table.push_back({group,
                     "shutdown-and-load",
                     "`shutdown` and a second `load`.",
                     [reach = state.reach](Session& s) {
                       reach(s);
                       s.shutdown();
                       s.loadAds();
                       s.advance(30);
                       if (!s.player()->adGroup()) s.breakPromise("the second load has its ads");
                     },
                     {callbacks, errorsIn(state), {}, "The second session is one of its own."}});
    table.back().variant = state.name;
  }
}

}  // namespace

std::vector<Scenario> hostScenarios() {
  std::vector<Scenario> table;
  addInsideCallbacks(table);
  addEnds(table);
  addHarmless(table);
  addSecondLoads(table);
  return table;
}

}  // namespace vemora::scenarios
