#include "check/Report.h"
#include "check/Rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace vemora::check {
namespace {

/// Reads a transcript from lines of a time, a kind and what belongs to it. The order of the lines is free.
Transcript transcriptOf(const std::string& script) {
  Transcript t;
  t.session = "test";
  const auto post = [&](double at, const std::string& body, const char* type = "object") {
    t.posts.push_back({at, Post::Handler::Messages, type, JsonValue::parse(body).value_or(nullptr)});
  };
  const auto event = [&](double at, const std::string& id, const std::string& name, const std::string& data) {
    post(at, R"({"jsonrpc":"2.0","method":"event","params":{"id":")" + id + R"(","event":")" + name + "\"" +
                 (data.empty() ? "" : ",\"data\":" + data) + "}}");
  };
  const auto call = [&](double at, Purpose purpose, std::istream& words) {
    Call made{at, purpose, "", "", nullptr, "undefined"};
    std::string params;
    words >> made.id >> made.method >> params;
    made.params = JsonValue::parse(params).value_or(nullptr);
    t.calls.push_back(made);
  };
  std::istringstream lines(script);
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    double at = 0;
    std::string kind;
    if (!(words >> at >> kind)) continue;
    std::string rest;
    if (kind == "loaded") {
      t.loadedAt = at;
      words >> t.bridgeType;
    } else if (kind == "call" || kind == "odd" || kind == "unknown") {
      call(at,
           kind == "odd"       ? Purpose::OddText
           : kind == "unknown" ? Purpose::UnknownMethod
                               : Purpose::Ordinary,
           words);
    } else if (kind == "malformed") {
      t.calls.push_back({at, Purpose::Malformed, "", "[]", nullptr, "threw: it"});
    } else if (kind == "post") {
      words >> rest;
      post(at, rest);
    } else if (kind == "text") {
      words >> rest;
      post(at, rest, "text");
    } else if (kind == "log") {
      words >> rest;
      t.posts.push_back({at, Post::Handler::Log, "text", JsonValue::parse(rest).value_or(nullptr)});
    } else if (kind == "pings") {
      double until = 0;
      words >> until;
      for (double ping = at; ping <= until; ++ping) post(ping, R"({"method":"ping","params":{}})");
    } else if (kind == "phase") {
      std::getline(words >> std::ws, rest);
      t.phases.push_back({at, rest});
    } else if (kind == "end") {
      t.end = at;
    } else if (kind == "gone") {
      t.gone = "the process of the page ended";
      t.end = at;
    } else if (kind == "ad") {
      std::string name;
      std::string data;
      words >> rest >> name >> data;
      event(at, rest, name, data);
    } else {
      ADD_FAILURE() << "no such kind: " << kind;
    }
  }
  const auto earlier = [](const auto& a, const auto& b) { return a.at < b.at; };
  std::stable_sort(t.posts.begin(), t.posts.end(), earlier);
  std::stable_sort(t.calls.begin(), t.calls.end(), earlier);
  std::stable_sort(t.phases.begin(), t.phases.end(), earlier);
  return t;
}

/// Two ads from their start to their end.
constexpr const char* kPlay = R"(
0.2 loaded function
0.2 phase before the start
0.3 call 1 get.config
0.4 post {"jsonrpc":"2.0","id":"1","result":{"data":{"x":1}}}
0.5 call 2 get.ads
0.6 post {"id":"2","result":{"data":{"adgroup":{"ads":[{"id":"a","index":0,"duration":4,"clickthru":"https://a.example/"},{"id":"b","index":1,"duration":4.5}]}}}}
1.6 pings 10.9
1.0 phase while it plays
1.0 call 3 control.start
1.1 ad a AdGroupStart
1.1 post {"id":"3","result":{"state":"playing"}}
1.2 log "text"
1.3 ad a AdLoaded
1.4 post {"method":"window","params":{"event":"beacon","url":"https://t.example/i?x=1"}}
1.5 ad a AdStarted
1.5 ad a AdImpression
2.5 ad a AdTimeChange 1
2.6 ad a AdVideoFirstQuartile
3.6 ad a AdVideoMidpoint
4.4 ad a AdTimeChange 2.9
4.6 ad a AdVideoThirdQuartile
5.5 ad a AdVideoComplete
5.5 ad a AdStopped
6.0 ad b AdStarted
6.0 ad b AdImpression
7.0 ad b AdTimeChange 1
7.1 ad b AdVideoFirstQuartile
8.1 ad b AdVideoMidpoint
9.1 ad b advideothirdquartile
10.5 ad b AdVideoComplete
10.6 ad b AdStopped
10.8 ad b AdGroupEnd
11.5 end
)";

/// One ad with all the commands.
constexpr const char* kCommands = R"(
0.2 loaded function
0.3 odd 1 get.config
0.4 post {"id":"1","result":{"data":{"x":1}}}
0.5 call 2 get.ads
0.6 post {"id":"2","result":{"data":{"adgroup":{"ads":[{"id":"a","index":0,"duration":9}]}}}}
0.7 unknown 3 check.unknown
0.7 post {"id":"3","error":{"code":-32601}}
0.8 malformed
1.6 pings 20
1.0 call 4 control.start
1.1 ad a AdGroupStart
1.1 post {"id":"4","result":{"ok":true}}
1.5 ad a AdStarted
1.5 ad a AdImpression
2.0 ad a AdTimeChange 0.5
2.1 call 5 control.pause
2.1 post {"id":"5","result":{"ok":true}}
2.2 ad a AdPaused
4.1 call 6 control.resume
4.1 post {"id":"6","result":{"ok":true}}
4.2 ad a AdPlaying
4.7 ad a AdTimeChange 1
6.3 call 7 control.pause {"data":{"background":true}}
6.3 post {"id":"7","result":{"ok":true}}
6.4 ad a AdPaused
8.3 call 8 control.resume {"data":{"background":true}}
8.3 post {"id":"8","result":{"ok":true}}
8.4 ad a AdPlaying
9.0 ad a AdTimeChange 1.5
10.4 call 9 control.pause
10.4 post {"id":"9","result":{"ok":true}}
10.4 ad a AdPaused
10.5 call 10 control.pause {"data":{"background":true}}
10.5 post {"id":"10","result":{"ok":true}}
10.6 call 11 control.resume {"data":{"background":true}}
10.6 post {"id":"11","result":{"ok":true}}
12.6 call 12 control.resume
12.6 post {"id":"12","result":{"ok":true}}
12.7 ad a AdPlaying
13.0 ad a AdTimeChange 1.8
14.0 call 13 control.skip
14.0 post {"id":"13","error":{"code":1}}
15.0 call 14 control.close
15.0 post {"id":"14","result":{"ok":true}}
15.1 ad a AdUserClose
15.2 ad a AdStopped
15.3 ad a AdGroupEnd
16.0 end
)";

/// A group that is stopped, and an ad that is skipped on the way.
constexpr const char* kStop = R"(
0.2 loaded function
0.5 call 2 get.ads
0.6 post {"id":"2","result":{"data":{"adgroup":{"ads":[{"id":"a","index":0,"duration":9},{"id":"b","index":1,"duration":9}]}}}}
1.6 pings 20
1.0 call 4 control.start
1.1 ad a AdGroupStart
1.1 post {"id":"4","result":{"ok":true}}
1.5 ad a AdStarted
1.5 ad a AdImpression
2.0 ad a AdTimeChange 0.5
2.1 call 5 control.skip
2.1 post {"id":"5","result":{"ok":true}}
2.2 ad a AdSkipped
2.2 ad a AdStopped
2.5 ad b AdStarted
2.5 ad b AdImpression
3.0 ad b AdTimeChange 0.5
6.0 call 6 control.stop
6.0 post {"id":"6","result":{"ok":true}}
6.1 ad b AdStopped
6.2 ad b AdGroupEnd
8.0 end
)";

using Edit = std::pair<std::string, std::string>;  ///< The text to replace, and its replacement.

/// A good session with one thing wrong.
struct Broken {
  const char* rule;
  const char* session;
  std::vector<Edit> edits;
  const char* seen;  ///< A part of the rule's finding.
};

void PrintTo(const Broken& broken, std::ostream* out) {
  *out << broken.rule << " (" << broken.seen << ")";
}

Transcript edited(std::string script, const std::vector<Edit>& edits) {
  for (const auto& [from, to] : edits) {
    const auto at = script.find(from);
    if (at == std::string::npos) {
      ADD_FAILURE() << "not in the session: " << from;
    } else {
      script.replace(at, from.size(), to);
    }
  }
  return transcriptOf(script);
}

Finding findingOf(const char* name, const Transcript& transcript) {
  const std::vector<Rule> rules = allRules();
  const auto rule = std::find_if(rules.begin(), rules.end(),
                                 [&](const Rule& r) { return std::string_view(r.name) == name; });
  if (rule == rules.end()) return {};
  Finding finding = judge(std::span(&*rule, 1), std::span(&transcript, 1)).front();
  finding.rule = nullptr;
  return finding;
}

TEST(Rules, HoldForSessionsThatKeepTheProtocol) {
  const std::vector<Transcript> sessions{transcriptOf(kPlay), transcriptOf(kCommands), transcriptOf(kStop)};
  const std::vector<Rule> rules = allRules();
  for (const Finding& finding : judge(rules, sessions)) {
    EXPECT_EQ(finding.outcome, Outcome::Ok)
        << finding.rule->name << ": " << (finding.seen.empty() ? "" : finding.seen.front());
  }
}

TEST(Rules, AreSkippedWithoutEvidence) {
  Transcript nothing = transcriptOf("0.2 loaded function\n0.5 end");
  const std::vector<Rule> rules = allRules();
  for (const Finding& finding : judge(rules, std::span(&nothing, 1))) {
    const std::string name = finding.rule->name;
    const bool isOfThePage = name == "page-loads" || name == "page-stays" || name == "bridge-exists";
    EXPECT_EQ(finding.outcome, isOfThePage ? Outcome::Ok : Outcome::Skip) << name;
    EXPECT_EQ(finding.seen.empty(), isOfThePage) << name;
  }
}

TEST(Rules, HaveUniqueNames) {
  std::vector<std::string> names;
  for (const Rule& rule : allRules()) names.emplace_back(rule.name);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

class BrokenSession : public testing::TestWithParam<Broken> {};

TEST_P(BrokenSession, FailsTheRule) {
  const Broken& broken = GetParam();
  ASSERT_EQ(findingOf(broken.rule, edited(broken.session, {})).outcome, Outcome::Ok);
  const Finding finding = findingOf(broken.rule, edited(broken.session, broken.edits));
  ASSERT_EQ(finding.outcome, Outcome::Fail);
  EXPECT_NE(finding.seen.front().find(broken.seen), std::string::npos) << finding.seen.front();
}

INSTANTIATE_TEST_SUITE_P(
    Messages, BrokenSession,
    testing::Values(
        Broken{"page-loads", kPlay, {{"0.2 loaded", "15.2 loaded"}}, "15.2 s"},
        Broken{"page-loads", kPlay, {{"0.2 loaded function", ""}}, "not loaded after 11.5 s"},
        Broken{
            "page-stays", kPlay, {{"11.5 end", "3.0 gone"}}, "the process of the page ended while it plays"},
        Broken{
            "page-stays",
            kPlay,
            {{"11.5 end", "5 post {\"method\":\"ping\",\"params\":{\"shutdown\":true,\"message\":\"no\"}}"}},
            "\"no\""},
        Broken{"bridge-exists", kPlay, {{"loaded function", "loaded undefined"}}, "onMessage is undefined"},
        Broken{"config-answered", kPlay, {{"\"id\":\"1\"", "\"id\":\"x\""}}, "get.config was not answered"},
        Broken{"config-answered", kPlay, {{"0.4 post", "5.4 post"}}, "after 5.1 s"},
        Broken{"config-data", kPlay, {{R"("data":{"x":1})", R"("data":[1])"}}, "\"data\" is [1]"},
        Broken{"ads-answered", kPlay, {{"0.6 post", "5.6 post"}}, "after 5.1 s"},
        Broken{"ads-list", kPlay, {{R"("id":"b",)", R"("id":"a",)"}}, "\"a\" is there twice"},
        Broken{"ads-list", kPlay, {{R"("id":"b",)", R"("id":"",)"}}, "an \"id\" is \"\""},
        Broken{"ads-list", kPlay, {{R"("index":1)", R"("index":true)"}}, "\"index\" of the ad \"b\" is true"},
        Broken{"ads-list", kPlay, {{R"("duration":4.5)", R"("duration":"4")"}}, "is \"4\""},
        Broken{"ads-list", kPlay, {{R"("ads":[)", R"("ads":{},"x":[)"}}, "\"ads\" is {}"},
        Broken{
            "ads-given",
            kPlay,
            {{R"({"id":"a","index":0,"duration":4,"clickthru":"https://a.example/"},{"id":"b","index":1,"duration":4.5})",
              ""}},
            "there was none"},
        Broken{"controls-answered",
               kCommands,
               {{"2.1 post", "7.2 post"}},
               "control.pause was answered after 5.1 s"},
        Broken{"reply-id", kPlay, {{R"("id":"3")", R"("id":3)"}}, "the id 3, which is no text"},
        Broken{"reply-id", kPlay, {{R"("id":"3")", R"("id":"33")"}}, "\"33\", which no request had"},
        Broken{"reply-id", kPlay, {{R"("id":"3",)", ""}}, "no id"},
        Broken{"reply-form", kPlay, {{R"({"state":"playing"})", "{}"}}, "\"result\" is {}"},
        Broken{"reply-form", kPlay, {{R"({"state":"playing"})", "true"}}, "\"result\" is true"},
        Broken{"reply-form",
               kPlay,
               {{R"("result":{"state":"playing"})", R"("error":"no")"}},
               "\"error\" is \"no\""},
        Broken{"reply-form", kPlay, {{R"("id":"3",)", R"("id":"3","error":{"code":1},)"}}, "has both"},
        Broken{"unknown-method",
               kCommands,
               {{R"("error":{"code":-32601})", R"("result":{"ok":true})"}},
               "check.unknown has the result"},
        Broken{"lives-after-unknown-method",
               kCommands,
               {{"1.1 post {\"id\":\"4\"", "1.1 post {\"id\":\"x\""}},
               "control.start was not answered afterwards"},
        Broken{"lives-after-malformed",
               kCommands,
               {{"1.1 post {\"id\":\"4\"", "1.1 post {\"id\":\"x\""}},
               "control.start was not answered afterwards"},
        Broken{"odd-text", kCommands, {{"0.4 post", "5.4 post"}}, "get.config was answered after 5.1 s"},
        Broken{"posts-objects", kPlay, {{"11.5 end", "1.2 text \"{}\""}}, "of the type text"},
        Broken{"logs-text", kPlay, {{"log \"text\"", "log {}"}}, "it posted a value"},
        Broken{"messages-valid", kPlay, {{R"("jsonrpc":"2.0")", R"("jsonrpc":2)"}}, "\"jsonrpc\" is 2"},
        Broken{"messages-valid", kPlay, {{R"("id":"1")", R"("id":1)"}}, "\"id\" is 1"},
        Broken{"messages-valid",
               kPlay,
               {{R"("params":{"event":"beacon")", R"("params":[],"x":{"event":"beacon")"}},
               "\"params\" is []"},
        Broken{
            "messages-valid", kPlay, {{"11.5 end", "1.2 post {\"params\":{}}"}}, "neither method nor result"},
        Broken{"known-methods", kPlay, {{"\"method\":\"window\"", "\"method\":\"windows\""}}, "\"windows\""},
        Broken{"macros-filled", kPlay, {{"x=1", "x=[CACHEBUSTING]"}}, "\"[CACHEBUSTING]\" in"},
        Broken{"macros-filled", kPlay, {{"x=1", "x=%5BAD_TYPE%5D"}}, "\"%5BAD_TYPE%5D\" in"},
        Broken{"click-throughs",
               kPlay,
               {{"https://a.example/", "javascript:alert(1)"}},
               "of the ad \"a\" is \"javascript:"},
        Broken{"click-throughs",
               kPlay,
               {{"AdLoaded", "AdClickThru \"data:text/html,x\""}},
               "AdClickThru brings \"data:"},
        Broken{"window-form", kPlay, {{"\"beacon\"", "\"Beacon\""}}, "\"event\" is \"Beacon\""},
        Broken{"window-form", kPlay, {{"https://t.example/i", "/i"}}, "\"url\" of a beacon is \"/i"},
        Broken{"window-form", kPlay, {{"https://t.example/i", "ftp://t.example/i"}}, "ftp://"},
        Broken{"beacons-in-time", kPlay, {{"1.4 post", "10.9 post"}}, "it came later"},
        Broken{"no-early-ping", kPlay, {{"1.6 pings", "0.5 pings"}}, "one came before the start"},
        Broken{"no-early-ping", kPlay, {{"1.6 pings", "0.65 pings"}}, "right behind the answer"},
        Broken{"pings",
               kPlay,
               {{"1.6 pings 10.9", "1.6 pings 3.7"}},
               "none for 7.2 s, beginning while it plays"},
        Broken{"pings", kPlay, {{"1.6 pings", "4.7 pings"}}, "none for 4.1 s, beginning before the start"},
        Broken{"pings", kPlay, {{"1.6 pings 10.9", ""}}, "none for 10.2 s"}));

INSTANTIATE_TEST_SUITE_P(
    Playback, BrokenSession,
    testing::Values(
        Broken{"event-names", kPlay, {{"AdLoaded", "AdReady"}}, "\"AdReady\" is no event"},
        Broken{"event-names", kPlay, {{"AdLoaded", "AdUnknown"}}, "\"AdUnknown\" is no event"},
        Broken{"event-ids", kPlay, {{"ad a AdLoaded", "ad c AdLoaded"}}, "AdLoaded has the id \"c\""},
        Broken{"ads-play",
               kPlay,
               {{"ad a AdStarted", "ad a AdLog"}, {"ad b AdStarted", "ad b AdLog"}},
               "no ad was started"},
        Broken{"group-start-first",
               kPlay,
               {{"1.1 ad a AdGroupStart", "1.6 ad a AdGroupStart"}},
               "AdLoaded of \"a\" came first"},
        Broken{"group-start-first", kPlay, {{"1.1 ad a", "0.9 ad a"}}, "came before control.start"},
        Broken{"group-start-first", kPlay, {{"AdLoaded", "AdGroupStart"}}, "twice"},
        Broken{"group-ends", kPlay, {{"10.8 ad b AdGroupEnd", ""}}, "neither"},
        Broken{"group-ends", kPlay, {{"AdGroupEnd", "AdError \"gone\""}}, "AdError: \"gone\""},
        Broken{
            "group-end-last", kPlay, {{"10.6 ad b AdStopped", "10.9 ad b AdStopped"}}, "AdStopped of \"b\""},
        Broken{"group-end-last",
               kPlay,
               {{"10.6 ad b AdStopped", "10.9 ad b AdGroupEnd"}},
               "AdGroupEnd of \"b\""},
        Broken{"play-order", kPlay, {{"\"index\":1", "\"index\":-1"}}, "AdStarted of \"b\""},
        Broken{"events-once",
               kPlay,
               {{"5.5 ad a AdStopped", "5.5 ad a AdVideoComplete"}},
               "AdVideoComplete of \"a\""},
        Broken{
            "started-first", kPlay, {{"1.5 ad a AdStarted", "2.55 ad a AdStarted"}}, "AdTimeChange of \"a\""},
        Broken{"started-first", kPlay, {{"6.0 ad b AdStarted", ""}}, "of \"b\" came before AdStarted"},
        Broken{"quartiles",
               kPlay,
               {{"3.6 ad a AdVideoMidpoint", ""}},
               "\"a\" was completed without AdVideoMidpoint"},
        Broken{"quartiles",
               kPlay,
               {{"3.6 ad", "4.7 ad"}},
               "AdVideoThirdQuartile of \"a\" came before AdVideoMidpoint"},
        Broken{"quartiles", kPlay, {{"10.5 ad", "9.0 ad"}}, "AdVideoComplete of \"b\""},
        Broken{"quartiles-in-time",
               kPlay,
               {{"7.1 ad b", "10.4 ad b"}, {"8.1 ad b", "10.4 ad b"}, {"9.1 ad b", "10.45 ad b"}},
               "0.1 s after its first quartile, in an ad of 4.5 s"},
        Broken{"impression", kPlay, {{"6.0 ad b AdImpression", ""}}, "AdImpression of \"b\" was missing"},
        Broken{"ad-stopped", kPlay, {{"5.5 ad a AdStopped", ""}}, "missing when AdStarted of \"b\" came"},
        Broken{"ad-stopped", kCommands, {{"15.2 ad a AdStopped", ""}}, "missing when AdGroupEnd"},
        Broken{"time-rises",
               kPlay,
               {{"AdTimeChange 2.9", "AdTimeChange 2900"}},
               "2900.0 s in \"a\", an ad of 4.0 s"},
        Broken{"time-rises", kPlay, {{"AdTimeChange 2.9", "AdTimeChange 0.9"}}, "fell from 1.0 s to 0.9 s"},
        Broken{"time-rises", kPlay, {{"AdTimeChange 1", "AdTimeChange \"1\""}}, "is \"1\""},
        Broken{"time-rises", kPlay, {{"7.0 ad b AdTimeChange 1", ""}}, "did not move in \"b\""},
        Broken{"pause", kCommands, {{"2.2 ad a AdPaused", ""}}, "no AdPaused followed control.pause"},
        Broken{"pause", kCommands, {{"16.0 end", "3.5 ad a AdTimeChange 0.9"}}, "moved on by 0.4 s"},
        Broken{"resume", kCommands, {{"4.2 ad a AdPlaying", ""}}, "no AdPlaying followed control.resume"},
        Broken{"resume", kCommands, {{"4.7 ad a AdTimeChange 1", ""}}, "did not move"},
        Broken{"background-pause", kCommands, {{"6.4 ad a AdPaused", ""}}, "no AdPaused"},
        Broken{"background-resume", kCommands, {{"8.4 ad a AdPlaying", ""}}, "no AdPlaying"},
        Broken{"background-resume",
               kCommands,
               {{"16.0 end", "10.7 ad a AdPlaying"}},
               "paused before the background"},
        Broken{"background-resume",
               kCommands,
               {{"16.0 end", "11 ad a AdTimeChange 1.7"}},
               "paused before the background"},
        Broken{"skip", kStop, {{"2.2 ad a AdSkipped", ""}}, "neither AdSkipped nor an error"},
        Broken{"skip", kStop, {{"2.5 ad b AdStarted", "4 ad a AdTimeChange 2.5"}}, "\"a\" played on"},
        Broken{"stop", kStop, {{"6.2 ad b", "11.1 ad b"}}, "no AdGroupEnd followed"},
        Broken{"close",
               kCommands,
               {{"15.3 ad a AdGroupEnd", "25 end"}, {"16.0 end", ""}},
               "no AdGroupEnd followed"}));

TEST(Rules, ReportWhatAScriptDidInsteadOfReturningNothing) {
  Transcript t = transcriptOf(kPlay);
  t.calls[1].outcome = "returned a promise, a function or a node";
  const Finding finding = findingOf("bridge-returns-nothing", t);
  ASSERT_EQ(finding.outcome, Outcome::Fail);
  EXPECT_EQ(finding.seen.front(), "test: for get.ads it returned a promise, a function or a node");
}

TEST(Rules, DoNotMissAnAnswerAfterTheEndOfTheSession) {
  // The host closes the page when the group has ended, so a reply may never have been on its way.
  const Transcript t = edited(kCommands, {{"15.0 post {\"id\":\"14\",\"result\":{\"ok\":true}}", ""}});
  EXPECT_EQ(findingOf("controls-answered", t).outcome, Outcome::Ok);
}

TEST(Rules, ExpectOnlyStillnessOfAPlainPauseInTheBackground) {
  const Transcript t = edited(
      kCommands, {{"10.4 call 9 control.pause", "10.55 call 9 control.pause"}, {"10.4 post", "10.55 post"}});
  EXPECT_EQ(findingOf("pause", t).outcome, Outcome::Ok);
  EXPECT_EQ(findingOf("background-resume", t).outcome, Outcome::Ok);
}

TEST(Rules, JudgeTheRestOfAPageWhoseDurationsAreText) {
  const Transcript t = edited(kPlay, {{R"("duration":4.5)", R"("duration":"00:00:04.5")"},
                                      {R"("duration":4,)", R"("duration":"4",)"},
                                      {"AdTimeChange 2.9", "AdTimeChange 2900"}});
  EXPECT_EQ(totalDuration(t), 8.5);
  EXPECT_EQ(findingOf("ads-list", t).outcome, Outcome::Fail);
  EXPECT_EQ(findingOf("time-rises", t).outcome, Outcome::Fail);
}

TEST(Rules, DoNotPassWithoutEvidence) {
  // The session that sends the commands was run, and the page came to no ad.
  Transcript t = transcriptOf("0.2 loaded function\n0.5 end");
  t.session = "controls";
  const std::vector<Rule> rules = allRules();
  std::vector<Finding> findings = judge(rules, std::span(&t, 1));
  EXPECT_EQ(resultOf(findings), Result::Unjudged);
  EXPECT_NE(reportAsText(findings, 1).find("\nNOT JUDGED  pause: no ad was playing\n"), std::string::npos);
  const auto stop = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
    return std::string_view(finding.rule->name) == "stop";
  });
  EXPECT_FALSE(stop->isUnjudged) << "its session was not run";

  t.posts.push_back({0.4, Post::Handler::Messages, "text", "text"});
  EXPECT_EQ(resultOf(judge(rules, std::span(&t, 1))), Result::Broken) << "a broken rule is the worse news";
}

TEST(Report, RepeatsFailuresWithAdviceAtTheEnd) {
  const Transcript t = edited(kPlay, {{"1.6 pings 10.9", "1.6 pings 3.7"}});
  const std::vector<Rule> rules = allRules();
  const std::vector<Finding> findings = judge(rules, std::span(&t, 1));
  EXPECT_EQ(resultOf(findings), Result::Broken);
  const std::string text = reportAsText(findings, 1.25);
  EXPECT_NE(text.find("FAIL  pings "), std::string::npos) << text;
  EXPECT_NE(text.find(": test: none for 7.2 s, beginning while it plays\n"), std::string::npos) << text;
  const std::string last = text.substr(text.rfind('\n', text.size() - 2) + 1);
  EXPECT_TRUE(last.starts_with("FAIL  pings: test: none for 7.2 s")) << last;
  EXPECT_NE(last.find("To do: ping once a second"), std::string::npos) << last;

  const JsonValue json = JsonValue::parse(reportAsJson(findings, "https://x/", 1.25)).value_or(nullptr);
  EXPECT_EQ(json["holds"], JsonValue(false));
  EXPECT_EQ(json["counts"]["fail"], JsonValue(1));
  ASSERT_EQ(json["rules"].count(), rules.size());
  const auto pings = std::find_if(json["rules"].elements().begin(), json["rules"].elements().end(),
                                  [](const JsonValue& rule) { return rule["name"] == JsonValue("pings"); });
  EXPECT_EQ((*pings)["outcome"], JsonValue("fail"));
  EXPECT_EQ((*pings)["seen"].count(), 1U);
}

}  // namespace
}  // namespace vemora::check
