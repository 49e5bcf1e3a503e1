#include "Scenario.h"

namespace vemora::scenarios {

namespace {

const std::vector<std::string> kPlaying = {"didLoadAds 2", "adGroupStart 2", "adStart a"};

std::vector<std::string> playingThen(const std::vector<std::string>& more) {
  std::vector<std::string> all = kPlaying;
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

}  // namespace

std::vector<Scenario> eventScenarios() {
  const char* group = "Events";
  return {
      {group,
       "whole-group",
       "A group of two ads, with each kind of event once.",
       [](Session& s) {
         playWholeGroup(s);
         s.advance(12);
       },
       {wholeGroup()}},
      {group,
       "unknown-event",
       "Events that the host is not notified of, and one that does not exist.",
       [](Session& s) {
         s.play();
         for (const char* name :
              {"AdLoaded", "AdImpression", "AdVideoStart", "AdVideoFirstQuartile", "AdVideoMidpoint",
               "AdVideoThirdQuartile", "AdLog", "AdVolumeChange", "AdUnknown", "NoSuchEvent", ""})
           s.page().event(name);
         s.run();
       },
       {kPlaying, {}, {}, "Silence: these are for the page alone."}},
      {group,
       "event-in-lower-case",
       "The case of an event's name does not matter.",
       [](Session& s) {
         s.play();
         s.page().event("adPAUSED");
         s.run();
       },
       {playingThen({"adPaused a"})}},
      {group,
       "unknown-ad",
       "An event names an ad that the group does not have.",
       [](Session& s) {
         s.play();
         s.page().event("AdPaused", "z");
         s.run();
       },
       {playingThen({"adPaused -"})}},
      {group,
       "event-before-load",
       "The page sends events before it is asked for ads.",
       [](Session& s) {
         s.load();
         s.page().event("AdStarted");
         s.run();
         s.page().finish();
         s.run();
       },
       {{"adStart -", "didLoadAds 2"}}},
      {group,
       "ending-before-the-ads",
       "The page ends the session in place of an answer with ads.",
       [](Session& s) {
         s.load();
         s.page().answer("get.ads", {.copies = 0});
         s.page().finish();
         s.advance(1);
         s.page().event("AdError", "");
         s.advance(12);
       },
       {{"didLoadAds - 5003", "adError - 5004"},
        {kGivenUp},
        {},
        "The ending follows the report of the load."}},
      {group,
       "events-after-the-end",
       "The page goes on after \"AdGroupEnd\".",
       [](Session& s) {
         s.play();
         for (const char* name : {"AdGroupEnd", "AdStarted", "AdGroupEnd", "AdError", "AdPaused"})
           s.page().event(name);
         s.advance(12);
       },
       {playingThen({"adGroupComplete 2"})}},
      {group,
       "ending-storm",
       "The page ends the session 300 times at once, in three ways.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 100; ++i) {
           s.page().post(R"({"method":"ping","params":{"shutdown":true}})");
           s.page().event("AdError", "a", R"("broken")");
           s.page().event("AdGroupEnd");
         }
         s.advance(12);
       },
       {playingThen({"adError - 5004"})}},
      {group,
       "event-storm",
       "500 events come at once.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 500; ++i) s.page().event("AdPlaying");
         s.run();
         s.advance(12);
       },
       {playingThen(std::vector<std::string>(500, "adPlaying a"))}},
      {group,
       "event-storm-and-shutdown",
       "The host shuts down with 500 events on their way.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 500; ++i) s.page().event("AdPlaying");
         s.shutdown();
         s.advance(12);
       },
       {kPlaying, {}, {}, "No callback follows `shutdown`."}},
      {group,
       "event-storm-and-release",
       "The host releases the player with 500 events on their way.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 500; ++i) s.page().event("AdPlaying");
         s.releasePlayer();
         s.advance(12);
       },
       {kPlaying, {}, {}, "No callback follows the release of the player."}},
      {group,
       "shutdown-before-queued-events",
       "The host shuts down inside a callback, with more events behind it.",
       [](Session& s) {
         s.play();
         s.onCallback("adPaused", [&s] { s.shutdown(); });
         for (const char* event : {"AdPaused", "AdPlaying", "AdClickThru", "AdGroupEnd"})
           s.page().event(event);
         s.advance(12);
       },
       {playingThen({"adPaused a"}), {}, {}, "No callback follows `shutdown`."}},
      {group,
       "load-before-queued-events",
       "The host loads again inside a callback, with more events of the first page behind it.",
       [](Session& s) {
         s.play();
         s.onCallback("adPaused", [&s] { s.load(); });
         for (const char* event : {"AdPaused", "AdPlaying", "AdClickThru", "AdGroupEnd"})
           s.page().event(event);
         s.run();
         s.page().finish();
         s.advance(12);
       },
       {playingThen({"adPaused a", "didLoadAds 2"})}},
      {group,
       "click-storm",
       "The page reports 200 clicks at once.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 200; ++i) s.page().event("AdClickThru");
         s.run();
       },
       {playingThen(std::vector<std::string>(200, "adClicked a"))}},
      {group,
       "error-event",
       "The page reports an error of the ad.",
       [](Session& s) {
         s.play();
         s.page().event("AdError", "a", R"("no media")");
         s.advance(12);
       },
       {playingThen({"adError a 5004"})}},
      {group,
       "console-log",
       "The page writes to the log.",
       [](Session& s) {
         s.play();
         s.page().view()->post("VemoraLog", "text of the page");
         s.run();
       },
       {kPlaying, {}, {"JS LOG - text of the page"}}},
      {group,
       "alert",
       "The page opens a dialog.",
       [](Session& s) {
         s.play();
         if (!s.page().view()->alert("hello")) s.breakPromise("the page waits for its dialog");
         s.advance(2);
       },
       {kPlaying, {}, {}, "The page does not wait. In debug mode the text is shown to the user."}},
  };
}

}  // namespace vemora::scenarios
