#include "Scenario.h"

namespace vemora::scenarios {

namespace {

const std::vector<std::string> kPlaying = {"didLoadAds 2", "adGroupStart 2", "adStart a"};

std::vector<std::string> playingThen(const char* last) {
  std::vector<std::string> all = kPlaying;
  all.emplace_back(last);
  return all;
}

void stopPings(Session& s) {
  s.page().setPings(false);
}

}  // namespace

std::vector<Scenario> heartbeatScenarios() {
  const char* group = "Heartbeat";
  return {
      {group,
       "pings-go-on",
       "The page pings for two minutes.",
       [](Session& s) {
         s.play();
         s.advance(120);
       },
       {kPlaying}},
      {group,
       "pings-never-come",
       "The page loads and never pings.",
       [](Session& s) {
         s.load();
         s.page().setPings(false);
         s.page().finish();
         s.advance(12);
       },
       {{"didLoadAds 2", "adError - 5005"}, {}, {"Heartbeat Timeout"}}},
      {group,
       "pings-stop-before-start",
       "The pings stop after the load.",
       [](Session& s) {
         s.loadAds();
         stopPings(s);
         s.advance(12);
       },
       {{"didLoadAds 2", "adError - 5005"}, {}, {"Heartbeat Timeout"}}},
      {group,
       "pings-stop-during-ad",
       "The pings stop while an ad plays.",
       [](Session& s) {
         s.play();
         stopPings(s);
         s.advance(12);
       },
       {playingThen("adError - 5005"), {}, {"Heartbeat Timeout"}}},
      {group,
       "pings-come-back-late",
       "The pings stop for 6 s and go on.",
       [](Session& s) {
         s.play();
         stopPings(s);
         s.advance(6);
         s.page().setPings(true);
         s.advance(12);
       },
       {playingThen("adError - 5005"), {}, {"Heartbeat Timeout"}}},
      {group,
       "pings-every-4-s",
       "The page pings every 4 s.",
       [](Session& s) {
         s.play();
         stopPings(s);
         for (int i = 0; i < 10; ++i) {
           s.page().ping();
           s.advance(4);
         }
       },
       {kPlaying}},
      {group,
       "ping-storm",
       "1 000 pings come at once.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 1000; ++i) s.page().ping();
         s.advance(12);
       },
       {kPlaying}},
      {group,
       "ping-storm-then-silence",
       "1 000 pings come at once, and none after.",
       [](Session& s) {
         s.play();
         stopPings(s);
         for (int i = 0; i < 1000; ++i) s.page().ping();
         s.advance(12);
       },
       {playingThen("adError - 5005"), {}, {"Heartbeat Timeout"}}},
      {group,
       "page-asks-for-shutdown",
       "A ping asks for the end of the session.",
       [](Session& s) {
         s.play();
         s.page().post(R"({"method":"ping","params":{"shutdown":true,"message":"no licence"}})");
         s.advance(12);
       },
       {playingThen("adError - 5004"), {}, {"Heartbeat SHUTDOWN!"}}},
      {group,
       "ping-crosses-the-end",
       "Pings come together with \"AdGroupEnd\".",
       [](Session& s) {
         s.play();
         s.page().ping();
         s.page().event("AdGroupEnd");
         s.page().ping();
         s.advance(12);
       },
       {playingThen("adGroupComplete 2")}},
      {group,
       "silent-in-background",
       "The page is suspended while the application is in the background.",
       [](Session& s) {
         s.play();
         stopPings(s);
         s.background();
         s.advance(60);
       },
       {kPlaying,
        {},
        {"Monitor Heartbeat Suspend"},
        "Silence: nothing is expected of a page in the background."}},
      {group,
       "silent-after-background",
       "The application comes back and the page stays silent.",
       [](Session& s) {
         s.play();
         stopPings(s);
         s.background();
         s.advance(60);
         s.foreground();
         s.advance(12);
       },
       {playingThen("adError - 5005"), {}, {"Heartbeat Timeout"}}},
      {group,
       "ping-crosses-background",
       "A ping comes as the application goes to the background.",
       [](Session& s) {
         s.play();
         stopPings(s);
         s.page().ping();
         s.background();
         s.page().ping();
         s.advance(60);
       },
       {kPlaying, {}, {}, "Silence: the session waits for the foreground."}},
      {group,
       "ping-before-the-ads",
       "The page pings before it has answered \"get.ads\".",
       [](Session& s) {
         s.load();
         s.page().answer("get.ads", {.members = Page::kAds, .delay = 2});
         s.page().finish();
         s.run();
         s.page().ping();
         s.advance(12);
       },
       {{"didLoadAds 2", "adError - 5005"},
        {},
        {"Heartbeat Timeout"},
        "The check that the early ping began is not cancelled by the load: a page pings after its answer."}},
      {group,
       "pings-and-no-start",
       "The page pings for ever and never starts the ad.",
       [](Session& s) {
         s.loadAds();
         s.start();
         s.advance(300);
       },
       {{"didLoadAds 2"},
        {},
        {},
        "Silence: a page that pings is alive. The host decides how long it waits."}},
  };
}

}  // namespace vemora::scenarios
