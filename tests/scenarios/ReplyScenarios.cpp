#include "Scenario.h"

namespace vemora::scenarios {

namespace {

constexpr char kNoConfig[] = "Failed to send get.config";
constexpr char kNoAds[] = "Failed to send get.ads";
constexpr char kUnhandled[] = "Unhandled RPC message: ";

/// A load in which one method is answered in its own way, and the time for every time-out.
std::function<void(Session&)> loadWith(const char* method, const Answer& answer) {
  return [=](Session& s) {
    s.load();
    s.page().answer(method, answer);
    s.page().finish();
    s.advance(20);
  };
}

std::function<void(Session&)> commandWith(const Answer& answer) {
  return [=](Session& s) {
    s.play();
    s.page().answer("control.pause", answer);
    s.player()->pause();
    s.advance(10);
  };
}

const std::vector<std::string> kPlaying = {"didLoadAds 2", "adGroupStart 2", "adStart a"};

}  // namespace

std::vector<Scenario> replyScenarios() {
  const char* group = "Replies of the page";
  std::vector<Scenario> table = {
      {group,
       "late-config",
       "The reply to \"get.config\" comes after 6 s.",
       loadWith("get.config", {.members = R"("result":{"data":{}})", .delay = 6}),
       {{"didLoadAds 2"}, {kNoConfig}, {kUnhandled}}},
      {group,
       "late-ads",
       "The reply to \"get.ads\" comes after 6 s.",
       loadWith("get.ads", {.members = Page::kAds, .delay = 6}),
       {{"didLoadAds - 5002"}, {}, {kNoAds, kUnhandled}}},
      {group,
       "reply-within-5-s",
       "Both replies come after 4.9 s.",
       [](Session& s) {
         s.load();
         s.page().answer("get.config", {.members = R"("result":{"data":{}})", .delay = 4.9});
         s.page().answer("get.ads", {.members = Page::kAds, .delay = 4.9});
         s.page().finish();
         s.advance(20);
       },
       {{"didLoadAds 2"}}},
      {group,
       "silent-config",
       "The page never answers \"get.config\".",
       loadWith("get.config", {.copies = 0}),
       {{"didLoadAds 2"}, {kNoConfig}}},
      {group,
       "silent-ads",
       "The page never answers \"get.ads\".",
       loadWith("get.ads", {.copies = 0}),
       {{"didLoadAds - 5002"}, {}, {kNoAds}}},
      {group,
       "duplicated-replies",
       "Each reply comes three times.",
       [](Session& s) {
         s.load();
         s.page().answer("get.config", {.members = R"("result":{"data":{}})", .copies = 3});
         s.page().answer("get.ads", {.members = Page::kAds, .copies = 3});
         s.page().finish();
         s.advance(20);
       },
       {{"didLoadAds 2"}}},
      {group,
       "foreign-id",
       "\"get.ads\" is answered with the id of no call.",
       loadWith("get.ads", {.members = Page::kAds, .id = "999"}),
       {{"didLoadAds - 5002"}, {}, {kNoAds, kUnhandled}}},
      {group,
       "error-reply-config",
       "\"get.config\" is answered with an error.",
       loadWith("get.config", {.members = R"("error":{"code":403,"message":"unknown api key"})"}),
       {{"didLoadAds 2"}, {"get.config: unknown api key (VMRControllerErrorDomain 403)", kNoConfig}}},
      {group,
       "error-reply-ads",
       "\"get.ads\" is answered with an error.",
       loadWith("get.ads", {.members = R"("error":{"code":403,"message":"unknown api key"})"}),
       {{"didLoadAds - 5002"}, {"get.ads: unknown api key (VMRControllerErrorDomain 403)"}, {kNoAds}}},
      {group,
       "silent-command",
       "The page never answers \"control.pause\".",
       commandWith({.copies = 0}),
       {kPlaying,
        {},
        {"Failed to send control.pause"},
        "The session goes on; the command is given up after 5 s."}},
      {group,
       "error-reply-command",
       "\"control.pause\" is answered with an error.",
       commandWith({.members = R"("error":{"code":1,"message":"no"})"}),
       {kPlaying,
        {"control.pause: no (VMRControllerErrorDomain 1)"},
        {"Failed to send control.pause"},
        "The session goes on."}},
      {group,
       "start-refused",
       "\"control.start\" is answered with an error.",
       [](Session& s) {
         s.loadAds();
         s.page().answer("control.start", {.members = R"("error":{"code":1,"message":"no"})"});
         s.start();
         s.advance(12);
       },
       {{"didLoadAds 2", "didFailToStart 5002"}, {"control.start: ...", "The ads were not started: ..."}}},
      {group,
       "start-silent",
       "The page never answers \"control.start\".",
       [](Session& s) {
         s.loadAds();
         s.page().answer("control.start", {.copies = 0});
         s.start();
         s.advance(12);
       },
       {{"didLoadAds 2", "didFailToStart 5002"}, {"The ads were not started: ..."}}},
      {group,
       "duplicated-command-reply",
       "\"control.pause\" is answered twice.",
       commandWith({.copies = 2}),
       {kPlaying, {}, {}, "The session goes on."}},
      {group,
       "start-without-ads",
       "The host starts a player whose load brought no ads.",
       [](Session& s) {
         s.load();
         s.page().answer("get.ads", {R"("result":{"data":{"adgroup":{"ads":[]}}})"});
         s.page().finish();
         s.run();
         s.start();
         s.advance(3);
         if (s.page().calls().back() != "get.ads") s.breakPromise("nothing is asked of the page");
       },
       {{"didLoadAds 0 5003"}, {"get.ads: No ads available"}, {}, "Nothing is asked of the page."}},
      {group,
       "unasked-reply",
       "A reply comes to a call that was never made.",
       [](Session& s) {
         s.play();
         s.page().post(R"({"id":"1","result":{"data":{}}})");
         s.run();
       },
       {kPlaying, {}, {kUnhandled}, "The session goes on."}},
      {group,
       "unknown-method",
       "The page calls a method that the SDK does not have.",
       [](Session& s) {
         s.play();
         s.page().post(R"({"id":"1","method":"launch","params":{"now":true}})");
         s.run();
       },
       {kPlaying, {}, {"Unhandled RPC message: launch"}, "The session goes on."}},
  };
  for (const char* body : {"null", "true", "5", R"("text")", "[]"}) {
    const std::string shown = std::string(body) == "null" ? "(null)" : body;
    table.push_back({group,
                     "malformed-body",
                     "\"get.ads\" is answered with a body that is no object.",
                     loadWith("get.ads", {.members = body, .raw = true}),
                     {{"didLoadAds - 5002"}, {}, {kNoAds}}});
    table.back().variant = body;
  }
  for (const char* body : {R"({})", R"({"id":5,"result":{}})", R"({"id":[],"result":{}})", R"({"id":null})",
                           R"({"method":5})", R"({"result":null})", R"({"error":{}})", R"({"error":5})"}) {
    table.push_back({group,
                     "malformed-message",
                     "\"get.ads\" is answered with an object that is no message.",
                     loadWith("get.ads", {.members = body, .raw = true}),
                     {{"didLoadAds - 5002"}, {}, {kNoAds, kUnhandled}}});
    table.back().variant = body;
  }
  return table;
}

}  // namespace vemora::scenarios
