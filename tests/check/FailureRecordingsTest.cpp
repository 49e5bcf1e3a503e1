#include "../common/TestFolder.h"
#include "check/FailureRecordings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace vemora::check {
namespace {

constexpr char kAddress[] = "https://page.example/";

JsonValue json(const char* text) {
  return JsonValue::parse(text).value_or(nullptr);
}

Rule ruleNamed(const std::string& name) {
  for (const Rule& rule : allRules()) {
    if (rule.name == name) return rule;
  }
  throw std::invalid_argument(name);
}

/// The page answers, and later posts a reply that nobody asked for.
Transcript session() {
  Transcript t;
  t.session = "play";
  t.loadedAt = 0.5;
  t.bridgeType = "function";
  t.calls.push_back({1, Purpose::Ordinary, "1", "get.config", json("{}"), "undefined"});
  t.posts.push_back({1.25, Post::Handler::Messages, "object", json(R"({"id":"1","result":{"data":{}}})")});
  t.posts.push_back({2, Post::Handler::Log, "text", JsonValue("a line")});
  t.posts.push_back({3, Post::Handler::Messages, "object", json(R"({"id":"7","result":{}})")});
  t.posts.push_back({4, Post::Handler::Messages, "object", json(R"({"method":"ping"})")});
  t.end = 9;
  return t;
}

TEST(FailureRecordingsTest, WritesASessionAsARecording) {
  const SessionRecording recording = recordingOf(session(), kAddress);
  std::istringstream lines(recording.text);
  std::vector<std::string> all;
  for (std::string line; std::getline(lines, line);) all.push_back(line);
  ASSERT_EQ(all.size(), 9u);
  EXPECT_EQ(all[0], R"({"format":"vemora-inspect","version":1,"redacted":false})");
  EXPECT_EQ(all[1], R"({"t":0,"kind":"page","session":1,"event":"loading","url":"https://page.example/"})");
  EXPECT_EQ(all[3], R"({"t":1000000,"kind":"message","session":1,"direction":"toPage",)"
                    R"("body":{"jsonrpc":"2.0","id":"1","method":"get.config","params":{}}})");
  EXPECT_EQ(recording.lineAt(3), 7u);
  EXPECT_EQ(
      all[6],
      R"({"t":3000000,"kind":"message","session":1,"direction":"fromPage","body":{"id":"7","result":{}}})");
  EXPECT_EQ(all[8], R"({"t":9000000,"kind":"end"})");
}

TEST(FailureRecordingsTest, FindsWhatBrokeARule) {
  EXPECT_EQ(brokenAt(ruleNamed("reply-id"), session()), 3);
  Transcript silent = session();
  silent.posts.erase(silent.posts.begin());
  EXPECT_EQ(brokenAt(ruleNamed("config-answered"), silent), silent.end) << "its time was over then";
}

TEST(FailureRecordingsTest, NamesFileAndLineAndWritesBrokenSessionsOnly) {
  const test::TestFolder folder;
  Transcript good = session();
  good.session = "waiting";
  good.posts.erase(good.posts.begin() + 2);
  const std::vector<Transcript> transcripts = {good, session()};
  const std::vector<Rule> rules = {ruleNamed("reply-id")};
  std::vector<Finding> findings = judge(rules, transcripts);
  recordFailures(transcripts, kAddress, folder.path("new"), findings);
  EXPECT_EQ(findings[0].places, std::vector<std::string>{folder.path("new/play.jsonl") + ":7"});
  EXPECT_EQ(folder.read("new/play.jsonl"), recordingOf(session(), kAddress).text);
  EXPECT_FALSE(std::filesystem::exists(folder.path("new/waiting.jsonl")));
  folder.write("file", "");
  EXPECT_THROW(recordFailures(transcripts, kAddress, folder.path("file"), findings), std::exception);
}

}  // namespace
}  // namespace vemora::check
