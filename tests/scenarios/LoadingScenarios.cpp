#include "Scenario.h"

namespace vemora::scenarios {

namespace {

constexpr char kNoConfig[] = "Failed to send get.config";
constexpr char kNotReady[] = "Controller NOT READY";
constexpr char kNotLoaded[] = "The controller page did not load: ...";
constexpr char kScriptFailed[] = "FAILED JS EVAL: ...";

void finishAfter(Session& s, double seconds) {
  s.load();
  s.advance(seconds);
  s.page().finish();
  s.run();
  s.advance(30);
}

/// The process ends when the call reaches the page.
void crashOn(Session& s, const char* method) {
  s.load();
  s.page().onCall(method, [&s] { s.page().crash(); });
  s.page().finish();
  s.advance(12);
}

}  // namespace

std::vector<Scenario> loadingScenarios() {
  const char* group = "Loading the page";
  return {
      {group,
       "page-loads",
       "The page loads and answers.",
       [](Session& s) { s.loadAds(); },
       {{"didLoadAds 2"}}},
      {group,
       "page-404",
       "The server answers 404: the page has no bridge, so every script fails.",
       [](Session& s) {
         s.load();
         s.page().setHasBridge(false);
         s.page().setPings(false);
         s.page().finish(404);
         s.advance(30);
       },
       {{"didLoadAds - 5002"}, {kNotLoaded, kScriptFailed, kNoConfig, kScriptFailed}}},
      {group,
       "tls-refused",
       "The certificate is refused, or the server cannot be reached.",
       [](Session& s) {
         s.load();
         s.page().setHasBridge(false);
         s.page().fail("Unacceptable TLS certificate");
         s.advance(30);
       },
       {{"didLoadAds - 5002"}, {kNotLoaded, kScriptFailed, kNoConfig, kScriptFailed}}},
      {group,
       "page-breaks-off",
       "The connection breaks in the middle of the page.",
       [](Session& s) {
         s.load();
         s.page().setHasBridge(false);
         s.page().fail("Connection terminated unexpectedly", false);
         s.advance(30);
       },
       {{"didLoadAds - 5002"}, {kNotLoaded, kScriptFailed, kNoConfig, kScriptFailed}}},
      {group,
       "page-after-4-s",
       "The page needs 4 s.",
       [](Session& s) { finishAfter(s, 4); },
       {{"didLoadAds 2"}}},
      {group,
       "page-after-7-s",
       "The page needs 7 s: the configuration is given up, the ads arrive.",
       [](Session& s) { finishAfter(s, 7); },
       {{"didLoadAds 2"}, {kNoConfig}}},
      {group,
       "page-after-14-s",
       "The page needs 14 s: the load is reported as failed after 10 s.",
       [](Session& s) { finishAfter(s, 14); },
       {{"didLoadAds - 5002"}, {kNoConfig}, {"Failed to send get.ads"}}},
      {group,
       "page-after-16-s",
       "The page needs 16 s, more than the SDK waits for any page.",
       [](Session& s) { finishAfter(s, 16); },
       {{"didLoadAds - 5002"}, {kNoConfig, kNotReady}, {"Failed to send get.ads"}}},
      {group,
       "page-never",
       "The page never finishes loading.",
       [](Session& s) {
         s.load();
         s.advance(40);
       },
       {{"didLoadAds - 5002"}, {kNoConfig, kNotReady, kNotReady}, {"Failed to send get.ads"}}},
      {group,
       "crash-before-load",
       "The web process ends before the page has loaded.",
       [](Session& s) {
         s.load();
         s.page().crash();
         s.advance(30);
       },
       {{"didLoadAds - 5002"}, {kNotLoaded, kScriptFailed, kNoConfig, kScriptFailed}}},
      {group,
       "crash-on-get-config",
       "The web process ends when it is asked for the configuration.",
       [](Session& s) { crashOn(s, "get.config"); },
       {{"didLoadAds - 5002"}, {kNoConfig, kScriptFailed}}},
      {group,
       "crash-on-get-ads",
       "The web process ends when it is asked for the ads.",
       [](Session& s) { crashOn(s, "get.ads"); },
       {{"didLoadAds - 5002"}, {}, {"Failed to send get.ads"}}},
      {group,
       "crash-before-start",
       "The web process ends after the load and before `start`.",
       [](Session& s) {
         s.loadAds();
         s.page().crash();
         s.start();
         s.advance(12);
       },
       {{"didLoadAds 2", "didFailToStart 5002", "adError - 5005"},
        {kScriptFailed, "The ads were not started: ..."}}},
      {group,
       "crash-during-ad",
       "The web process ends while an ad plays.",
       [](Session& s) {
         s.play();
         s.page().crash();
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a", "adError - 5005"}}},
      {group,
       "crash-during-shutdown",
       "The web process ends while the session shuts down.",
       [](Session& s) {
         s.play();
         s.shutdown();
         s.page().crash();
         s.advance(12);
       },
       {{"didLoadAds 2", "adGroupStart 2", "adStart a"}}},
      {group,
       "no-request",
       "The delegate gives no request.",
       [](Session& s) {
         s.refuseRequest();
         s.loadAds();
         s.advance(12);
       },
       {{"didLoadAds - 5001"}}},
      {group,
       "tracker-without-channel",
       "The configuration asks for viewability measurement and the request has no channel.",
       [](Session& s) {
         s.request().setChannel(std::nullopt);
         s.load();
         s.page().answer("get.config",
                         {.members = R"("result":{"data":{"features":{"moat":1},"moat_partner_code":"c"}})"});
         s.page().finish();
         s.run();
         s.page().event("AdStarted");
         s.run();
       },
       {{"didLoadAds 2", "adStart a"},
        {"The configuration asks for viewability measurement, which needs a request with a channel"}}},
      {group,
       "no-delegate",
       "The player has no delegate when it loads.",
       [](Session& s) {
         s.releaseDelegate();
         s.loadAds();
         s.advance(12);
       },
       {{}, {}, {}, "Silence: nobody is there to be notified, and nothing is asked of the page."}},
      {group,
       "page-fails-then-second-load",
       "A load fails; the host loads again and the page works.",
       [](Session& s) {
         s.load();
         s.advance(12);
         s.shutdown();
         s.loadAds();
         s.advance(12);
       },
       {{"didLoadAds - 5002", "didLoadAds 2"}, {kNoConfig, kNotReady, kNotReady}}},
      {group,
       "abandoned-load",
       "A load that never answers is shut down; a second load succeeds.",
       [](Session& s) {
         s.load();
         s.shutdown();
         s.loadAds();
         s.advance(2);
         if (!s.player()->adGroup()) s.breakPromise("the first load took the ads of the second");
         s.advance(28);
         if (!s.player()->adGroup()) s.breakPromise("the first load took the ads of the second");
       },
       {{"didLoadAds - 5003", "didLoadAds 2"}, {kGivenUp}}},
  };
}

}  // namespace vemora::scenarios
