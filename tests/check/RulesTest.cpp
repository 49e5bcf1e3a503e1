#include "check/Report.h"
#include "check/Rules.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
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

std::string readFile(const std::string& name) {
  std::ifstream file(std::string(VEMORA_CHECK_SESSIONS) + name);
  if (!file) throw std::runtime_error("no test file " + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// A session that keeps the protocol: "play", "commands" or "stop".
std::string session(const std::string& name) {
  return readFile(name + ".txt");
}

using Edit = std::pair<std::string, std::string>;  ///< The text to replace, and its replacement.

/// A good session with one thing wrong.
struct Broken {
  std::string rule;
  std::string session;
  std::string seen;  ///< A part of the rule's finding.
  std::vector<Edit> edits;
};

void PrintTo(const Broken& broken, std::ostream* out) {
  *out << broken.rule << " (" << broken.seen << ")";
}

/// broken.txt says how it is written.
std::vector<Broken> brokenSessions() {
  std::vector<Broken> all;
  std::istringstream lines(readFile("broken.txt"));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (line.starts_with("- ")) {
      all.back().edits.push_back({line.substr(2), ""});
    } else if (line.starts_with("+ ")) {
      all.back().edits.back().second = line.substr(2);
    } else {
      const auto first = line.find(" | ");
      const auto second = line.find(" | ", first + 3);
      all.push_back(
          {line.substr(0, first), line.substr(first + 3, second - first - 3), line.substr(second + 3), {}});
    }
  }
  return all;
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

Finding findingOf(std::string_view name, const Transcript& transcript) {
  const std::vector<Rule> rules = allRules();
  const auto rule = std::find_if(rules.begin(), rules.end(), [&](const Rule& r) { return r.name == name; });
  if (rule == rules.end()) return {};
  Finding finding = judge(std::span(&*rule, 1), std::span(&transcript, 1)).front();
  finding.rule = nullptr;
  return finding;
}

TEST(Rules, HoldForSessionsThatKeepTheProtocol) {
  const std::vector<Transcript> sessions{transcriptOf(session("play")), transcriptOf(session("commands")),
                                         transcriptOf(session("stop"))};
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
  ASSERT_EQ(findingOf(broken.rule, transcriptOf(session(broken.session))).outcome, Outcome::Ok);
  const Finding finding = findingOf(broken.rule, edited(session(broken.session), broken.edits));
  ASSERT_EQ(finding.outcome, Outcome::Fail);
  EXPECT_NE(finding.seen.front().find(broken.seen), std::string::npos) << finding.seen.front();
}

INSTANTIATE_TEST_SUITE_P(All, BrokenSession, testing::ValuesIn(brokenSessions()));

TEST(Rules, ReportWhatAScriptDidInsteadOfReturningNothing) {
  Transcript t = transcriptOf(session("play"));
  t.calls[1].outcome = "returned a promise, a function or a node";
  const Finding finding = findingOf("bridge-returns-nothing", t);
  ASSERT_EQ(finding.outcome, Outcome::Fail);
  EXPECT_EQ(finding.seen.front(), "test: for get.ads it returned a promise, a function or a node");
}

TEST(Rules, DoNotMissAnAnswerAfterTheEndOfTheSession) {
  // The host closes the page when the group has ended, so a reply may never have been on its way.
  const Transcript t =
      edited(session("commands"), {{"15.0 post {\"id\":\"14\",\"result\":{\"ok\":true}}", ""}});
  EXPECT_EQ(findingOf("controls-answered", t).outcome, Outcome::Ok);
}

TEST(Rules, ExpectOnlyStillnessOfAPlainPauseInTheBackground) {
  const Transcript t =
      edited(session("commands"),
             {{"10.4 call 9 control.pause", "10.55 call 9 control.pause"}, {"10.4 post", "10.55 post"}});
  EXPECT_EQ(findingOf("pause", t).outcome, Outcome::Ok);
  EXPECT_EQ(findingOf("background-resume", t).outcome, Outcome::Ok);
}

TEST(Rules, JudgeTheRestOfAPageWhoseDurationsAreText) {
  const Transcript t = edited(session("play"), {{R"("duration":4.5)", R"("duration":"00:00:04.5")"},
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
  const Transcript t = edited(session("play"), {{"1.6 pings 10.9", "1.6 pings 3.7"}});
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
