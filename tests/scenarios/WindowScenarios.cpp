#include "Scenario.h"

namespace vemora::scenarios {

namespace {

const std::vector<std::string> kPlaying = {"didLoadAds 2", "adGroupStart 2", "adStart a"};
constexpr char kBeacon[] = "https://beacons.example/b";

void require(Session& s, bool condition, const char* promise) {
  if (!condition) s.breakPromise(promise);
}

void openBrowser(Session& s) {
  s.play();
  s.page().window("open", "https://shop.example/");
  s.run();
  require(s, s.application().browsers().size() == 1, "one browser opens");
}

}  // namespace

std::vector<Scenario> windowScenarios() {
  const char* group = "Windows and beacons";
  std::vector<Scenario> table = {
      {group,
       "browser",
       "A click opens the browser; the user comes back after a minute.",
       [](Session& s) {
         openBrowser(s);
         s.page().setPings(false);
         s.advance(60);
         s.page().setPings(true);
         s.application().browsers()[0]->userCloses();
         s.advance(12);
       },
       {kPlaying,
        {},
        {"Monitor Heartbeat Suspend", "Monitor Heartbeat Resume"},
        "Silence: pings are not expected while the browser is open."}},
      {group,
       "silent-after-browser",
       "The page stays silent after the browser was closed.",
       [](Session& s) {
         openBrowser(s);
         s.page().setPings(false);
         s.advance(60);
         s.application().browsers()[0]->userCloses();
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adError - 5005"}, {}, {"Heartbeat Timeout"}}},
      {group,
       "browser-and-shutdown",
       "The host shuts down while the browser is open.",
       [](Session& s) {
         openBrowser(s);
         s.shutdown();
         s.advance(12);
         s.application().browsers()[0]->userCloses();
         s.advance(12);
       },
       {kPlaying}},
      {group,
       "browser-and-release",
       "The host releases the player while the browser is open.",
       [](Session& s) {
         openBrowser(s);
         s.releasePlayer();
         s.advance(12);
         s.application().browsers()[0]->userCloses();
         s.advance(12);
       },
       {kPlaying}},
      {group,
       "release-before-queued-window",
       "The host releases the player inside a callback, with a request for a window behind it.",
       [](Session& s) {
         s.play();
         s.onCallback("adClicked", [&s] { s.releasePlayer(); });
         s.page().event("AdClickThru");
         s.page().window("open", "https://shop.example/");
         s.advance(12);
         require(s, s.application().browsers().empty(), "no browser opens");
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adClicked a"}, {}, {}, "No browser opens."}},
      {group,
       "window.open",
       "The page calls `window.open`.",
       [](Session& s) {
         s.play();
         s.page().view()->requestWindow("https://shop.example/");
         s.page().view()->requestWindow(std::nullopt);
         s.run();
         require(s, s.application().browsers().size() == 1, "one browser opens");
       },
       {kPlaying, {}, {}, "The browser opens; a window without an address does not."}},
      {group,
       "browser-storm",
       "The page opens 60 windows at once.",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 60; ++i) s.page().window("open", "https://shop.example/");
         s.run();
         require(s, s.application().browsers().size() <= 2, "two browsers at most");
       },
       {kPlaying, {}, {}, "Two browsers are open; the other requests are logged and dropped."}},
      {group,
       "browser-without-window",
       "The page opens a window while the application has none.",
       [](Session& s) {
         s.play();
         const auto window = s.application().window();
         s.application().setKeyWindow(nullptr);
         s.page().window("open", "https://shop.example/");
         s.run();
         s.application().setKeyWindow(window);
         s.page().setPings(false);
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adError - 5005"},
        {},
        {},
        "No browser opens, so pings are still expected."}},
      {group,
       "beacon",
       "A beacon is sent and answered.",
       [](Session& s) {
         s.play();
         s.page().window("beacon", kBeacon);
         s.run();
         require(s, s.beacons() == std::vector<std::string>{kBeacon}, "the beacon goes out");
         s.answerBeacon(0, std::nullopt);
         s.run();
       },
       {kPlaying,
        {},
        {"Fire beacon: https://beacons.example/b"},
        "An HTTP status such as 500 is an answer."}},
      {group,
       "beacon-refused",
       "The server of a beacon cannot be reached.",
       [](Session& s) {
         s.play();
         s.page().window("beacon", kBeacon);
         s.run();
         s.answerBeacon(0, VMRError{"FakeNetwork", 1, "refused", {}, {}, nullptr});
         s.run();
       },
       {kPlaying, {"Failed to fire beacon: ..."}}},
      {group,
       "beacon-endless",
       "A beacon is not answered for minutes; it ends after the session.",
       [](Session& s) {
         s.play();
         s.page().window("beacon", kBeacon);
         s.advance(120);
         s.shutdown();
         s.advance(12);
         s.answerBeacon(0, VMRError{"FakeNetwork", 2, "timed out", {}, {}, nullptr});
         s.run();
       },
       {kPlaying, {"Failed to fire beacon: ..."}}},
      {group,
       "beacons-before-the-end",
       "100 beacons come right before \"AdGroupEnd\".",
       [](Session& s) {
         s.play();
         for (int i = 0; i < 100; ++i) s.page().window("beacon", kBeacon);
         s.page().event("AdGroupEnd");
         s.advance(12);
         require(s, s.beacons().size() == 100, "every beacon goes out");
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adGroupComplete 2"},
        {},
        {},
        "Every beacon goes out."}},
  };
  for (const char* url : {"", "shop", "javascript:alert(1)", "file:///etc/passwd", "data:text/html,x",
                          "about:blank", "ftp://shop.example/", "custom:"}) {
    table.push_back({group,
                     "open-refused",
                     "The page opens an address that is neither http nor https.",
                     [url](Session& s) {
                       s.play();
                       s.page().window("open", url);
                       s.advance(12);
                       require(s, s.application().browsers().empty(), "no browser opens");
                     },
                     {kPlaying, {}, {}, "Silence: no browser opens and the session goes on."}});
    table.back().variant = std::string("\"") + url + "\"";
  }
  return table;
}

}  // namespace vemora::scenarios
