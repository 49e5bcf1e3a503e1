#include "../common/TestFolder.h"
#include "PlayerTest.h"
#include "core/inspect/Inspection.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

namespace vemora {
namespace {

using inspect::Recorder;

struct Recording {
  JsonValue header;
  std::vector<JsonValue> records;

  /// The records of a kind; with a member and its value, those that have it.
  std::vector<JsonValue> of(std::string_view kind, std::string_view member = {},
                            const JsonValue& value = {}) const {
    std::vector<JsonValue> found;
    std::copy_if(records.begin(), records.end(), std::back_inserter(found), [&](const JsonValue& record) {
      return record["kind"] == JsonValue(kind) && (member.empty() || record[member] == value);
    });
    return found;
  }
};

/// Fails for a line that is no JSON object.
Recording recordingIn(const std::string& text) {
  Recording read;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    const JsonValue value = JsonValue::parse(line).value_or(nullptr);
    EXPECT_TRUE(value.isObject()) << line;
    if (read.header.isNull()) {
      read.header = value;
    } else {
      read.records.push_back(value);
    }
  }
  return read;
}

class RecordingTest : public PlayerTest {
 protected:
  ~RecordingTest() override { Vemora::stopRecording(); }

  void record(VemoraRecordingDetail detail = VemoraRecordingRedacted) {
    ASSERT_TRUE(Vemora::startRecording(file_, detail));
  }
  std::string text() {
    Vemora::stopRecording();
    return folder_.read("session.jsonl");
  }
  Recording recorded() { return recordingIn(text()); }

  /// Loads, starts where the ad can be seen, and lets the first ad begin.
  void play() {
    load(player_);
    player_->start();
    settle();
    application().window()->layoutIfNeeded();
    advance(1);
    page_->event("AdStarted", "a");
    settle();
  }

  test::TestFolder folder_;
  const std::string file_ = folder_.path("session.jsonl");
  std::shared_ptr<testing::FakeView> container_ = [] {
    auto made = std::make_shared<testing::FakeView>(Rect{0, 0, 300, 200});
    application().rootViewController()->fakeView()->addSubview(made);
    return made;
  }();
  std::shared_ptr<VemoraInlineAdPlayer> player_ = VemoraInlineAdPlayer::initInView(container_, delegate_);
};

TEST_F(RecordingTest, WritesAHeaderAndTheRecordsOfASession) {
  record();
  play();
  page_->post(R"({"method":"window","params":{"event":"beacon","url":"https://beacons.example/b"}})");
  page_->post(R"({"method":"nobody"})");
  settle();
  advance(0.25);
  system().completeDownload(0, VMRError{"FakeNetwork", 1, "refused", {}, {}, nullptr});
  page_->event("AdGroupEnd");
  settle();
  const Recording read = recorded();

  EXPECT_EQ(read.header["format"], JsonValue("vemora-inspect"));
  EXPECT_EQ(read.header["version"], JsonValue(1));
  EXPECT_EQ(read.header["redacted"], JsonValue(true));
  EXPECT_TRUE(read.header["startedAt"].isNumber());
  for (const JsonValue& each : read.records) EXPECT_TRUE(each["t"].isNumber() && each["kind"].isString());
  ASSERT_EQ(read.of("host", "call", "load").size(), 1u);
  EXPECT_EQ(read.of("host", "call", "load")[0]["placement"], JsonValue("inline"));
  const JsonValue session = read.of("host", "call", "load")[0]["session"];
  ASSERT_EQ(read.of("page", "event", "finished").size(), 1u);
  EXPECT_EQ(read.of("page", "event", "finished")[0]["session"], session);
  EXPECT_EQ(read.of("request", "given", true).size(), 1u);
  EXPECT_EQ(read.of("facts").size(), 2u) << "for each of the two calls of a load";
  EXPECT_EQ(read.of("message", "direction", "toPage").size(), 3u);
  EXPECT_EQ(read.of("call", "state", "replied").size(), 3u);
  EXPECT_EQ(read.of("unhandled", "method", "nobody").size(), 1u);
  EXPECT_EQ(read.of("start", "state", "deferred").size(), 1u);
  EXPECT_EQ(read.of("start", "state", "sent").size(), 1u);
  EXPECT_EQ(read.of("visibility", "visible", true).size(), 1u);
  EXPECT_EQ(read.of("layout", "inWindow", true).back()["frame"], json("[0,0,300,200]"));
  EXPECT_EQ(read.of("beacon", "state", "sent")[0]["url"], JsonValue("https://beacons.example/b"));
  EXPECT_EQ(read.of("beacon", "state", "failed")[0]["latency"], JsonValue(250000));
  EXPECT_EQ(read.of("beacon", "state", "failed")[0]["error"]["description"], JsonValue("refused"));
  ASSERT_EQ(read.of("callback").size(), 3u);
  EXPECT_EQ(read.of("callback")[0]["name"], JsonValue("vemoraDidLoadAds"));
  EXPECT_EQ(read.of("callback")[0]["ads"], JsonValue(2));
  EXPECT_EQ(read.of("callback")[1]["ad"], JsonValue("a"));
  EXPECT_EQ(read.of("ending").size(), 1u);
  EXPECT_EQ(read.records.back()["kind"], JsonValue("end"));
}

TEST_F(RecordingTest, RecordsWhatTheHeartbeatDoes) {
  record();
  play();
  inner(*player_)._heartbeatMonitor();
  page_->ping();
  settle();
  application().resignActive();
  settle();
  application().becomeActive();
  settle();
  advance(5);
  const Recording read = recorded();
  const auto stale = read.of("heartbeat", "event", "arm")[1];
  EXPECT_EQ(stale["stale"], JsonValue(1)) << "armed by the load, and armed again without a cancel";
  EXPECT_EQ(stale["check"], JsonValue(2));
  EXPECT_EQ(read.of("heartbeat", "event", "arm")[2]["cancelled"], JsonValue(2)) << "by the ping";
  EXPECT_EQ(read.of("heartbeat", "event", "suspend")[0]["depth"], JsonValue(1));
  EXPECT_EQ(read.of("heartbeat", "event", "resume")[0]["depth"], JsonValue(0));
  EXPECT_EQ(read.of("heartbeat", "event", "due")[0]["check"], JsonValue(1)) << "the stale one";
  EXPECT_EQ(read.of("ending")[0]["error"]["code"], JsonValue(5005));
}

TEST_F(RecordingTest, RecordsLostStartDataTimeOutsAndTheHostsTime) {
  record();
  load(player_);
  std::thread([this] { inner(*player_).dumper()->start(json(R"({"muted":true})")); }).join();
  page_->answer("control.skip", "");
  delegate_->onCallback = [this](const std::string& callback) {
    if (callback != "adPaused a") return;
    player_->skip();
    advance(0.2);  // The host takes its time.
  };
  page_->event("AdPaused", "a");
  settle();
  advance(5);
  const Recording read = recorded();
  EXPECT_EQ(read.of("start", "state", "deferred")[0]["data"], JsonValue(true));
  const auto timedOut = read.of("call", "state", "timedOut");
  ASSERT_EQ(timedOut.size(), 1u);
  EXPECT_EQ(timedOut[0]["method"], JsonValue("control.skip"));
  EXPECT_EQ(timedOut[0]["latency"], JsonValue(5000000));
  EXPECT_EQ(read.of("host", "call", "skip")[0]["within"], JsonValue("vemoraAdPaused"));
  EXPECT_EQ(read.of("held", "by", "host")[0]["duration"], JsonValue(200000));
}

TEST_F(RecordingTest, AHostWithoutDelegateIsNotCalled) {
  record();
  load(player_);
  delegate_ = nullptr;
  page_->event("AdPaused", "a");
  settle();
  EXPECT_EQ(recorded().of("callback", "delivered", false).size(), 1u);
}

// Redaction.

constexpr char kAdvertisingId[] = "AB12CD34-0000-4111-8222-ABCDEFABCDEF";
constexpr char kConsent[] = "BOprivateConsent+/=AAAA";
constexpr char kParam[] = "very private \"param\" text";

class RedactionTest : public RecordingTest {
 protected:
  /// A session in which everybody repeats the private values.
  void playWithPrivateValues(VemoraRecordingDetail detail) {
    platform().fakeDevice().advertisingId = kAdvertisingId;
    platform().fakeUserDefaults().setObject("1", "IABConsent_SubjectToGDPR");
    platform().fakeUserDefaults().setObject(kConsent, "IABConsent_ConsentString");
    platform().fakeLocation().allow(LocationAuthorizationStatus::AuthorizedWhenInUse);
    delegate_->request = VemoraAdRequest::initWithApiKey("private-api-key");
    delegate_->request->setParam("section", kParam);
    delegate_->request->setParam("list", {"first private entry", 987654321});
    delegate_->request->setCustom("segment", "private segment");
    delegate_->request->setPlaybackOption("option", "private option");
    record(detail);
    player_->load();
    openPage();
    page_->failScripts(VMRError{"FakeWebKit", 1, std::string("bad script near ") + kParam, {}, {}, nullptr});
    platform().fakeLocation().report({{38.722252, -9.139337}});
    settle();
    page_->view()->finishNavigation();
    settle();
    page_->failScripts(std::nullopt);
    page_->event("AdLog", "a", JsonValue(std::string("seen ") + kConsent + kParam).serialized().value());
    page_->post(
        R"({"method":"x","params":{"geo":{"lat":38.722252},"echo":[38.722252,"PRIVATE SEGMENT",1]}})");
    page_->post(
        std::string(R"({"method":"window","params":{"event":"beacon","url":"https://b.example/?ifa=)") +
        "ab12cd34-0000-4111-8222-abcdefabcdef&c=BOprivateConsent%2B%2F%3DAAAA&gdpr=1&x=very%20private%20" +
        R"(%22param%22%20text&n=987654321"}})");
    page_->view()->post("VemoraLog", std::string("page says ") + kAdvertisingId + " and private option");
    settle();
  }
};

TEST_F(RedactionTest, NoPrivateValueReachesTheFileUnasked) {
  playWithPrivateValues(VemoraRecordingRedacted);
  std::string all = text();
  std::transform(all.begin(), all.end(), all.begin(),
                 [](char c) { return static_cast<char>(std::tolower(c)); });
  for (const char* secret :
       {"ab12cd34", "privateconsent", "very private", "very%20private", "first private entry", "987654321",
        "private segment", "private option", "private-api-key", "38.72", "9.139", "gdpr=1"})
    EXPECT_EQ(all.find(secret), std::string::npos) << secret << "\n" << all;
  const Recording read = recordingIn(all);
  const auto calls = read.of("message", "direction", "topage");
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls[0]["body"]["params"]["params"], JsonValue("[redacted]"));
  EXPECT_EQ(calls[0]["body"]["params"]["device"]["make"], JsonValue("apple")) << "the rest can be read";
  EXPECT_EQ(read.of("message", "direction", "frompage")[0]["body"]["params"]["event"], JsonValue("adlog"));
  EXPECT_EQ(
      read.of("beacon")[0]["url"],
      JsonValue("https://b.example/?ifa=[redacted]&c=[redacted]&gdpr=[redacted]&x=[redacted]&n=[redacted]"));
}

TEST_F(RedactionTest, EverythingIsThereWhenAskedFor) {
  playWithPrivateValues(VemoraRecordingUnredacted);
  const std::string all = text();
  EXPECT_EQ(recordingIn(all).header["redacted"], JsonValue(false));
  for (const char* secret : {kAdvertisingId, "BOprivateConsent", "private segment", "private option",
                             "private-api-key", "38.722252", "gdpr=1"})
    EXPECT_NE(all.find(secret), std::string::npos) << secret;
}

TEST_F(RedactionTest, ARecordingThatBeginsLaterKnowsThePrivateValues) {
  playWithPrivateValues(VemoraRecordingUnredacted);
  record();
  page_->event("AdLog", "a", JsonValue(kConsent).serialized().value());
  settle();
  EXPECT_EQ(recorded().of("message")[0]["body"]["params"]["data"], JsonValue("[redacted]"));
}

TEST_F(RedactionTest, NamesOfTheProtocolSurviveParamsOfTheSameText) {
  delegate_->request->setParam("kind", "event");
  delegate_->request->setParam("other", "AdStarted");
  record();
  play();
  const auto messages = recorded().of("message", "direction", "fromPage");
  EXPECT_EQ(messages.back()["body"]["method"], JsonValue("event"));
  EXPECT_EQ(messages.back()["body"]["params"]["event"], JsonValue("AdStarted"));
}

// The file and the process.

TEST_F(RecordingTest, RefusesAFileThatCannotBeWritten) {
  EXPECT_FALSE(Vemora::startRecording(folder_.path("none/session.jsonl")));
  EXPECT_TRUE(loggedError("No recording is made, since \"" + folder_.path("none/session.jsonl") +
                          "\" cannot be written: No such file or directory"));
  EXPECT_FALSE(Vemora::startRecording("/dev/full"));
  EXPECT_FALSE(Recorder::isOn());
}

TEST_F(RecordingTest, OnlyTheOwnerMayReadIt) {
  record();
  struct stat status {};
  ASSERT_EQ(::stat(file_.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(RecordingTest, ASecondRecordingEndsTheFirst) {
  record();
  Vemora::log("first");
  const std::string second = folder_.path("second.jsonl");
  ASSERT_TRUE(Vemora::startRecording(second));
  Vemora::log("second");
  Vemora::stopRecording();
  Vemora::log("after the end");
  EXPECT_EQ(recordingIn(folder_.read("session.jsonl")).of("log").size(), 1u);
  EXPECT_EQ(recordingIn(folder_.read("second.jsonl")).of("log")[0]["text"], JsonValue("second"));
}

TEST_F(RecordingTest, WritesTextThatIsNotUtf8) {
  record();
  Vemora::log("caf\xe9");
  EXPECT_EQ(recorded().of("log")[0]["text"], JsonValue("caf?"));
}

TEST_F(RecordingTest, DebugModeStartsTheRecordingOfTheEnvironment) {
  ::setenv("VEMORA_INSPECT", file_.c_str(), 1);
  Vemora::debugMode(false);
  EXPECT_FALSE(Recorder::isOn()) << "outside debug mode";
  Vemora::debugMode(true);
  ::unsetenv("VEMORA_INSPECT");
  EXPECT_TRUE(Recorder::isOn());
  EXPECT_EQ(recorded().header["redacted"], JsonValue(true));
}

/// A reader that does not read: a pipe, which is full after a few hundred records.
TEST_F(RecordingTest, CountsWhatComesFasterThanItCanBeWrittenAndNeverWaits) {
  constexpr std::size_t kRecords = 3 * Recorder::kCapacity;
  ASSERT_EQ(::mkfifo(file_.c_str(), 0600), 0);
  const int reader = ::open(file_.c_str(), O_RDWR);
  ASSERT_GE(reader, 0);
  record();
  for (std::size_t i = 0; i < kRecords; ++i) inspect::logLine("log", "record");
  std::thread writer([] { Vemora::stopRecording(); });
  std::string text;
  while (text.find(R"("kind":"end")") == std::string::npos) {
    char buffer[65536];
    const ssize_t size = ::read(reader, buffer, sizeof buffer);
    ASSERT_GT(size, 0);
    text.append(buffer, static_cast<std::size_t>(size));
  }
  writer.join();
  ::close(reader);
  const Recording read = recordingIn(text);
  std::uint64_t missing = 0;
  for (const JsonValue& gap : read.of("gap")) missing += gap["count"].unsignedValue();
  EXPECT_GT(missing, 0u);
  EXPECT_EQ(read.of("log").size() + missing, kRecords);
}

/// What the test below kills. It counts until then.
TEST(RecordingProcess, DISABLED_RecordsUntilItIsKilled) {
  testing::TestingPlatform::current().reset();
  ASSERT_TRUE(Vemora::startRecording(std::getenv("VEMORA_TEST_RECORDING")));
  for (std::uint64_t i = 0;; ++i) {
    inspect::record("count", 0, {{"number", i}});
    std::this_thread::yield();
  }
}

TEST_F(RecordingTest, AKilledProcessLeavesWholeLinesInOrder) {
  std::vector<std::string> arguments = {"/proc/self/exe", "--gtest_also_run_disabled_tests",
                                        "--gtest_filter=RecordingProcess.*"};
  std::vector<std::string> environment = {"VEMORA_TEST_RECORDING=" + file_};
  const auto pointers = [](std::vector<std::string>& texts) {
    std::vector<char*> made;
    for (std::string& each : texts) made.push_back(each.data());
    made.push_back(nullptr);
    return made;
  };
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  ASSERT_EQ(::posix_spawn(&child, "/proc/self/exe", &quiet, nullptr, pointers(arguments).data(),
                          pointers(environment).data()),
            0);
  posix_spawn_file_actions_destroy(&quiet);
  const auto size = [&] {
    struct stat status {};
    return ::stat(file_.c_str(), &status) == 0 ? status.st_size : 0;
  };
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  constexpr off_t kEnough = 200000;
  while (size() < kEnough && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  ::kill(child, SIGKILL);
  ::waitpid(child, nullptr, 0);

  std::string text = folder_.read("session.jsonl");
  ASSERT_GE(text.size(), static_cast<std::size_t>(kEnough));
  text.resize(text.rfind('\n') + 1);  // Only the last line may be cut off.
  const Recording read = recordingIn(text);
  std::uint64_t next = 0;
  for (const JsonValue& record : read.records) {
    if (record["kind"] == JsonValue("gap")) {
      next += record["count"].unsignedValue();
    } else {
      EXPECT_EQ(record["number"], JsonValue(next++));
    }
  }
  EXPECT_TRUE(read.of("end").empty());
}

}  // namespace
}  // namespace vemora
