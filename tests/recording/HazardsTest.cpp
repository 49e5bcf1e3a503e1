#include "recording/Hazards.h"

#include <gtest/gtest.h>

namespace vemora {
namespace {

using Names = std::vector<std::string>;

/// A recording of session 1 with these records, each of which is JSON without time and session: "1.5 {...}".
Recording recordingOf(const std::vector<std::pair<double, std::string>>& records) {
  std::string text = "{\"format\":\"vemora-inspect\",\"version\":1}\n";
  for (const auto& [seconds, members] : records)
    text += "{\"t\":" + std::to_string(static_cast<std::int64_t>(seconds * 1e6)) + ",\"session\":1," +
            members + "}\n";
  return Recording::parse(text, "test");
}

Names hazardsIn(const std::vector<std::pair<double, std::string>>& records) {
  Names names;
  for (const Hazard& hazard : hazardsOf(recordingOf(records))) {
    EXPECT_FALSE(hazard.says.empty() || hazard.advice.empty()) << hazard.name;
    names.push_back(hazard.name);
  }
  return names;
}

const char* const kAds =
    R"("kind":"message","direction":"fromPage","body":{"id":"1","result":{"data":{"adgroup":{"ads":[{"id":"a"}]}}}})";
const char* const kLoaded = R"("kind":"callback","name":"vemoraDidLoadAds","delivered":true,"ads":1)";
const char* const kArm = R"("kind":"heartbeat","event":"arm","depth":0,"check":1)";
const char* const kPing = R"("kind":"message","direction":"fromPage","body":{"method":"ping"})";
const char* const kStart = R"("kind":"host","call":"start","player":1)";
const char* const kEnd = R"("kind":"end")";
const char* const kNotResponding =
    R"("kind":"ending","error":{"code":5005,"description":"Player not responding"})";

std::string event(const std::string& name, const std::string& id) {
  return R"("kind":"message","direction":"fromPage","body":{"method":"event","params":{"event":")" + name +
         R"(","id":")" + id + R"("}})";
}

TEST(HazardsTest, AGoodSessionHasNone) {
  EXPECT_EQ(hazardsIn({{0, R"("kind":"request","delegate":true,"given":true)"},
                       {0.5, kAds},
                       {0.5, R"("kind":"call","method":"get.ads","state":"replied","latency":400000)"},
                       {0.5, kArm},
                       {0.6, kLoaded},
                       {1, kStart},
                       {1, R"("kind":"start","state":"deferred","data":false)"},
                       {2, kPing},
                       {4, kPing},
                       {5, event("AdStarted", "a")},
                       {5, R"("kind":"heartbeat","event":"suspend","depth":1)"},
                       {60, R"("kind":"heartbeat","event":"resume","depth":0,"check":4)"},
                       {61, kPing},
                       {62, R"("kind":"ending")"},
                       {90, kEnd}}),
            Names{});
}

TEST(HazardsTest, FindsPagesThatStopPinging) {
  EXPECT_EQ(hazardsIn({{0, kAds}, {0, kArm}, {5, kNotResponding}}), (Names{"no-ping-yet", "not-responding"}));
  EXPECT_EQ(hazardsIn({{0, kArm}, {1, kPing}, {6, kNotResponding}}),
            (Names{"pings-stopped", "not-responding"}));
  EXPECT_EQ(
      hazardsIn({{0, kArm}, {1, kPing}, {1.2, R"("kind":"page","event":"terminated")"}, {6, kNotResponding}}),
      (Names{"process-ended", "not-responding"}));
  const auto found = hazardsOf(recordingOf({{0, kArm}, {1, kPing}, {6, kNotResponding}}));
  EXPECT_EQ(found.back().says,
            "The session ended with error 5005, since no ping came in time: the last one came 5.0 s before, "
            "in line 3.");
}

TEST(HazardsTest, FindsStaleChecksAndWhatTheyDo) {
  EXPECT_EQ(hazardsIn({{0, kArm},
                       {0.5, R"("kind":"heartbeat","event":"resume","depth":0,"check":2,"stale":1)"},
                       {2, kPing},
                       {4, kPing},
                       {5, R"("kind":"heartbeat","event":"due","check":1)"},
                       {5, kNotResponding}}),
            (Names{"stale-check", "stale-check-fired"}));
}

TEST(HazardsTest, FindsWhatTheHostDidNotDo) {
  EXPECT_EQ(hazardsIn({{0, kLoaded}, {6, kEnd}}), Names{"host-silent"});
  EXPECT_EQ(hazardsIn({{0, kLoaded}, {4, kStart}, {60, kEnd}}), Names{});
  EXPECT_EQ(hazardsIn({{0, R"("kind":"callback","name":"vemoraAdStart","delivered":false)"}}),
            Names{"no-delegate"});
  EXPECT_EQ(hazardsIn({{0, R"("kind":"request","delegate":false,"given":false)"}}), Names{"no-request"});
  EXPECT_EQ(hazardsIn({{0, R"("kind":"held","by":"host","operation":"vemoraAdStart","duration":80000)"}}),
            Names{"main-thread-held"});
}

TEST(HazardsTest, FindsWhatWentWrongOnTheWay) {
  const std::vector<std::pair<std::string, std::string>> table = {
      {R"("kind":"start","state":"deferred","data":true)", "start-data-lost"},
      {R"("kind":"call","method":"get.ads","state":"replied","latency":1500000)", "slow-reply"},
      {R"("kind":"call","method":"get.ads","state":"timedOut","latency":5000000)", "no-reply"},
      {R"("kind":"call","method":"get.ads","state":"notReady")", "page-not-ready"},
      {R"("kind":"call","method":"get.ads","state":"failed","error":{"description":"x"})", "script-failed"},
      {R"("kind":"unhandled","method":"evnet")", "unhandled-message"},
      {R"("kind":"unhandled","method":"")", "unhandled-message"},
      {R"("kind":"beacon","number":1,"state":"failed","error":{"description":"refused"})", "beacon-failed"},
      {R"("kind":"page","event":"failed","error":{"description":"x"})", "page-failed"},
      {R"("kind":"page","event":"noView")", "no-web-view"},
      {R"("kind":"window","state":"refused","reason":"two are on the screen")", "browser-not-opened"},
      {R"("kind":"stage","state":"noWindow")", "no-window"},
      {R"("kind":"gap","count":7)", "records-missing"},
      {R"("kind":"message","direction":"fromPage","body":{"id":"1","error":{"message":"no"}})", "page-error"},
      {R"("kind":"ending","error":{"code":5004,"description":"Ad playback failed","failureReason":"no media"})",
       "playback-failed"},
      {R"("kind":"ending","error":{"code":5004,"failureReason":"The server does not allow this: CORS"})",
       "cors"}};
  for (const auto& [record, name] : table) EXPECT_EQ(hazardsIn({{0, record}}), Names{name}) << record;
  EXPECT_EQ(hazardsIn({{0, kAds}, {1, event("AdPaused", "z")}, {1, event("AdGroupEnd", "")}}),
            Names{"unknown-ad"});
}

}  // namespace
}  // namespace vemora
