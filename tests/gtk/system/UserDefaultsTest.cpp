#include "../../common/TestFolder.h"
#include "backends/gtk/base/PrivateFile.h"
#include "backends/gtk/system/KeyFileUserDefaults.h"
#include "ports/Platform.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vemora::gtk {

namespace {

constexpr char kFile[] = "/vemora/org.example.App.ini";

class UserDefaultsTest : public testing::Test {
 protected:
  KeyFileUserDefaults open() {
    return KeyFileUserDefaults(
        path(), [this](double, std::function<void()> work) { scheduled_.push_back(std::move(work)); });
  }
  std::string path() const { return folder_.path(kFile); }

  test::TestFolder folder_;
  std::vector<std::function<void()>> scheduled_;
};

TEST_F(UserDefaultsTest, KeepsValuesAndTheirTypes) {
  const std::vector<std::pair<std::string, JsonValue>> values = {
      {"plain", "text"},
      {"empty", ""},
      {"blanks", "  two before, two after  "},
      {"lines", "a\nb\r\n\tc\\d;e=f#[g]"},
      {"umlaut=[de] \xC3\xBC", "\xC3\xBC\xE2\x82\xAC"},
      {"#comment", std::string_view("zero\0inside", 11)},
      {"%41", "escapes are not decoded"},
      {"digits", "42"},
      {"smallest", std::numeric_limits<std::int64_t>::min()},
      {"largest", std::numeric_limits<std::uint64_t>::max()},
      {"tenth", 0.1},
      {"five", 5.0},
      {"infinite", -std::numeric_limits<double>::infinity()},
      {"yes", true},
      {"list", std::vector<JsonValue>{"a", 1, nullptr}},
      {"object", JsonDictionary{{"key", std::vector<JsonValue>{2.5}}}},
  };
  {
    KeyFileUserDefaults defaults = open();
    for (const auto& [key, value] : values) {
      defaults.setObject(value, key);
      EXPECT_EQ(defaults.objectForKey(key), value) << key;
    }
    EXPECT_TRUE(defaults.synchronize());
  }
  KeyFileUserDefaults defaults = open();
  for (const auto& [key, value] : values) {
    EXPECT_EQ(defaults.objectForKey(key), value) << key;
    EXPECT_EQ(defaults.objectForKey(key).type(), value.type()) << key;
  }
  EXPECT_TRUE(defaults.objectForKey("absent").isNull());
}

TEST_F(UserDefaultsTest, ReturnsNumbersAsText) {
  KeyFileUserDefaults defaults = open();
  defaults.setObject(1, "number");
  defaults.setObject(2.5, "real");
  defaults.setObject("consent", "text");
  defaults.setObject(std::vector<JsonValue>{1}, "list");
  EXPECT_EQ(defaults.stringForKey("number"), "1");
  EXPECT_EQ(defaults.stringForKey("real"), "2.5");
  EXPECT_EQ(defaults.stringForKey("text"), "consent");
  EXPECT_EQ(defaults.stringForKey("list"), std::nullopt);
  EXPECT_EQ(defaults.stringForKey("absent"), std::nullopt);
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(open().stringForKey("number"), "1");
}

TEST_F(UserDefaultsTest, SavesByItself) {
  KeyFileUserDefaults defaults = open();
  defaults.setObject("a", "first");
  defaults.setObject("b", "second");
  ASSERT_EQ(scheduled_.size(), 1u);
  scheduled_.front()();
  EXPECT_EQ(open().stringForKey("first"), "a");
  EXPECT_EQ(open().stringForKey("second"), "b");
  defaults.setObject("c", "third");
  EXPECT_EQ(scheduled_.size(), 2u);
}

TEST_F(UserDefaultsTest, ReadsWhatAnotherProgramWrites) {
  KeyFileUserDefaults defaults = open();
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), std::nullopt);
  folder_.write(kFile, "# By hand\n[Defaults]\nIABConsent_SubjectToGDPR=1\n\n[Other]\nx=y\n");
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), "1");
  // Of the same size, within the same tick of the clock.
  folder_.write(kFile, "# By hand\n[Defaults]\nIABConsent_SubjectToGDPR=0\n\n[Other]\nx=y\n");
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), "0");

  defaults.setObject("mine", "own");
  EXPECT_TRUE(defaults.synchronize());
  const std::string text = folder_.read(kFile);
  EXPECT_NE(text.find("# By hand\n"), std::string::npos);
  EXPECT_NE(text.find("[Other]\nx=y\n"), std::string::npos);
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), "0");
}

TEST_F(UserDefaultsTest, RemovesKeys) {
  KeyFileUserDefaults defaults = open();
  defaults.setObject(1, "gone");
  EXPECT_TRUE(defaults.synchronize());
  defaults.removeObjectForKey("gone");
  EXPECT_TRUE(defaults.objectForKey("gone").isNull());
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_TRUE(open().objectForKey("gone").isNull());
  EXPECT_EQ(folder_.read(kFile).find("gone"), std::string::npos);
}

TEST_F(UserDefaultsTest, PrefersUnsavedValuesToThoseOfOtherProcesses) {
  KeyFileUserDefaults ours = open();
  KeyFileUserDefaults theirs = open();
  ours.setObject("ours", "shared");
  ours.setObject("ours", "a");
  theirs.setObject("theirs", "shared");
  theirs.setObject("theirs", "b");
  EXPECT_TRUE(theirs.synchronize());
  EXPECT_EQ(ours.stringForKey("shared"), "ours");
  EXPECT_EQ(ours.stringForKey("b"), "theirs");
  EXPECT_TRUE(ours.synchronize());
  EXPECT_EQ(theirs.stringForKey("shared"), "ours");
  EXPECT_EQ(theirs.stringForKey("a"), "ours");
  EXPECT_EQ(theirs.stringForKey("b"), "theirs");
}

TEST_F(UserDefaultsTest, KeepsACorruptFileAside) {
  const std::string corrupt = "vemora.app.guid=without a group\n\xFF";
  folder_.write(kFile, corrupt);
  KeyFileUserDefaults defaults = open();
  EXPECT_TRUE(defaults.objectForKey("vemora.app.guid").isNull());
  EXPECT_EQ(folder_.read(kFile), corrupt);
  defaults.setObject("new", "vemora.app.guid");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(open().stringForKey("vemora.app.guid"), "new");
  EXPECT_EQ(folder_.read(std::string(kFile) + ".corrupt"), corrupt);
}

TEST_F(UserDefaultsTest, KeepsValuesInMemoryWhenTheFileCannotBeWritten) {
  folder_.write("/vemora", "a file where the folder should be");
  KeyFileUserDefaults defaults = open();
  defaults.setObject("value", "key");
  EXPECT_FALSE(defaults.synchronize());
  EXPECT_EQ(defaults.stringForKey("key"), "value");
  std::filesystem::remove(folder_.path("/vemora"));
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(open().stringForKey("key"), "value");
}

TEST_F(UserDefaultsTest, KeepsValuesInMemoryThatHaveNoText) {
  KeyFileUserDefaults defaults = open();
  defaults.setObject("\xFF", "bytes");
  defaults.setObject("fine", "text");
  EXPECT_FALSE(defaults.synchronize());
  EXPECT_EQ(defaults.stringForKey("bytes"), "\xFF");
  EXPECT_EQ(open().stringForKey("text"), "fine");
}

/// Runs `work` in a child process.
pid_t startProcess(const std::function<void()>& work) {
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no process could be started");  // -1 would mean all processes.
  if (child == 0) {
    work();
    _exit(0);
  }
  return child;
}

TEST_F(UserDefaultsTest, LosesNothingWhenProcessesWriteTogether) {
  constexpr int kProcesses = 3;
  constexpr int kKeys = 15;
  std::vector<pid_t> children;
  children.reserve(kProcesses);
  for (int process = 0; process < kProcesses; ++process) {
    children.push_back(startProcess([&] {
      KeyFileUserDefaults defaults = open();
      for (int key = 0; key < kKeys; ++key) {
        defaults.setObject(key, std::to_string(process) + "." + std::to_string(key));
        // Waiting for the file's lock is bounded: on a busy disk it may take another attempt.
        int attempts = 0;
        while (!defaults.synchronize()) {
          if (++attempts == 20) _exit(1);
        }
      }
    }));
  }
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  KeyFileUserDefaults defaults = open();
  for (int process = 0; process < kProcesses; ++process) {
    for (int key = 0; key < kKeys; ++key) {
      EXPECT_EQ(defaults.objectForKey(std::to_string(process) + "." + std::to_string(key)), JsonValue(key));
    }
  }
}

TEST_F(UserDefaultsTest, AgreesWithOtherProcessesOnAValueThatAllOfThemSetFirst) {
  constexpr int kProcesses = 4;
  for (int round = 0; round < 20; ++round) {
    std::filesystem::remove_all(folder_.path("/vemora"));
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process) {
      children.push_back(startProcess([&] {
        KeyFileUserDefaults defaults = open();
        const JsonValue got = defaults.setObjectIfAbsent(std::to_string(process), "vemora.app.guid");
        if (process % 2 == 0) defaults.synchronize();
        if (write(ends[1], got.asString()->data(), 1) != 1) _exit(1);
      }));
    }
    for (const pid_t child : children) waitpid(child, nullptr, 0);
    std::string got(kProcesses, ' ');
    ASSERT_EQ(read(ends[0], got.data(), got.size()), kProcesses);
    close(ends[0]);
    close(ends[1]);
    EXPECT_EQ(got, std::string(kProcesses, got.front())) << "round " << round;
    KeyFileUserDefaults defaults = open();
    EXPECT_EQ(defaults.setObjectIfAbsent("late", "vemora.app.guid"), JsonValue(got.substr(0, 1)));
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_EQ(open().stringForKey("vemora.app.guid"), got.substr(0, 1));
  }
}

TEST_F(UserDefaultsTest, RemovesTheClaimOnceTheValueIsSaved) {
  KeyFileUserDefaults defaults = open();
  EXPECT_EQ(defaults.setObjectIfAbsent("mine", "vemora.app.guid"), JsonValue("mine"));
  EXPECT_TRUE(std::filesystem::exists(path() + ".vemora.app.guid.claim"));
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_FALSE(std::filesystem::exists(path() + ".vemora.app.guid.claim"));
  // A process that was killed before it saved leaves a claim, and the next one takes its value.
  folder_.write(std::string(kFile) + ".other.claim", "\"of a killed process\"");
  EXPECT_EQ(defaults.setObjectIfAbsent("new", "other"), JsonValue("of a killed process"));
  folder_.write(std::string(kFile) + ".empty.claim", "");
  EXPECT_EQ(defaults.setObjectIfAbsent("new", "empty"), JsonValue("new"));
}

TEST_F(UserDefaultsTest, NeverWaitsForAnotherProcessOnTheMainThread) {
  folder_.write(kFile, "");
  const std::string lockPath = path() + ".lock";
  const int lock = ::open(lockPath.c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);
  KeyFileUserDefaults defaults(
      path(), [this](double, std::function<void()> work) { scheduled_.push_back(std::move(work)); },
      [] { return false; });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(defaults.setObjectIfAbsent("mine", "vemora.app.guid"), JsonValue("mine"));
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(defaults.stringForKey("vemora.app.guid"), "mine");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
  close(lock);
  ASSERT_EQ(scheduled_.size(), 2u);
  for (const auto& save : scheduled_) save();
  EXPECT_EQ(open().stringForKey("vemora.app.guid"), "mine");
}

TEST_F(UserDefaultsTest, LosesNothingAtTheEndOfAProcessWhileAnotherOneWrites) {
  const auto leftBeside = [this] {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path("/vemora")))
      count += entry.path().string().find(".unsaved-") != std::string::npos;
    return count;
  };
  folder_.write(kFile, "[Defaults]\nremoved=old\nchanged=old\nkept=old\n");
  const int lock = ::open((path() + ".lock").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);
  const auto begin = std::chrono::steady_clock::now();
  for (const int process : {1, 2}) {
    KeyFileUserDefaults defaults = open();
    defaults.setObject(process, "changed");
    if (process == 1) {
      defaults.removeObjectForKey("removed");
      defaults.setObject("a", "added");
      EXPECT_EQ(defaults.setObjectIfAbsent("mine", "vemora.app.guid"), JsonValue("mine"));
    }
    EXPECT_TRUE(defaults.saveWithoutWaiting());
  }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
  const auto expectAll = [this] {
    KeyFileUserDefaults defaults = open();
    EXPECT_EQ(defaults.objectForKey("changed"), JsonValue(2));
    EXPECT_EQ(defaults.objectForKey("removed"), JsonValue());
    EXPECT_EQ(defaults.stringForKey("added"), "a");
    EXPECT_EQ(defaults.stringForKey("kept"), "old");
    EXPECT_EQ(defaults.setObjectIfAbsent("other", "vemora.app.guid"), JsonValue("mine"));
  };
  expectAll();
  EXPECT_EQ(leftBeside(), 2);
  close(lock);
  KeyFileUserDefaults next = open();
  next.setObject("b", "added");
  next.setObject("a", "added");
  EXPECT_TRUE(next.saveWithoutWaiting());
  EXPECT_EQ(leftBeside(), 0);
  expectAll();
}

TEST_F(UserDefaultsTest, RemovesTemporaryFilesOfKilledWriters) {
  const std::vector<std::string> names = {"abandoned.A1b2C3", "org.example.App.ini.A1b2C3",
                                          "org.example.App.ini.D4e5F6", "org.example.App.ini.corrupt"};
  for (const std::string& name : names) folder_.write("/vemora/" + name, "partial");
  const auto old = std::filesystem::file_time_type::clock::now() - std::chrono::minutes(10);
  for (const std::string& name : names) {
    if (name != names[2]) std::filesystem::last_write_time(folder_.path("/vemora/" + name), old);
  }
  KeyFileUserDefaults defaults = open();
  defaults.setObject("value", "key");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_FALSE(std::filesystem::exists(folder_.path("/vemora/" + names[1])));
  for (const std::size_t kept : {0u, 2u, 3u}) {
    EXPECT_TRUE(std::filesystem::exists(folder_.path("/vemora/" + names[kept]))) << names[kept];
  }
}

TEST_F(UserDefaultsTest, LogsOnceThatTheFileCannotBeWritten) {
  folder_.write("/vemora", "a file where the folder should be");
  KeyFileUserDefaults defaults = open();
  defaults.setObject("secret consent", "IABConsent_ConsentString");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(defaults.synchronize());
  const std::string first = testing::internal::GetCapturedStderr();
  EXPECT_NE(first.find("The settings cannot be written to " + path()), std::string::npos) << first;
  EXPECT_EQ(first.find("secret consent"), std::string::npos);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(defaults.synchronize());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ConsentTest, IsStoredWhereAdRequestsLookForIt) {
  UserDefaults& defaults = Platform::shared().userDefaults();
  setConsent(true, "BOEFEAyOEFEAyAHABDENAI4AAAB9vABAASA");
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), "1");
  EXPECT_EQ(defaults.stringForKey("IABConsent_ConsentString"), "BOEFEAyOEFEAyAHABDENAI4AAAB9vABAASA");
  testing::internal::CaptureStderr();
  setConsent(false, "\xff");
  EXPECT_NE(testing::internal::GetCapturedStderr().find("The consent was not stored"), std::string::npos);
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), "1");
  setConsent(false, std::nullopt);
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), "0");
  EXPECT_EQ(defaults.stringForKey("IABConsent_ConsentString"), std::nullopt);
  setConsent(std::nullopt, std::nullopt);
  EXPECT_EQ(defaults.stringForKey("IABConsent_SubjectToGDPR"), std::nullopt);
}

TEST(ApplicationFileTest, IsNamedAfterTheApplicationOrElseItsExecutable) {
  setInfoDictionaryEntry("CFBundleIdentifier", std::nullopt);
  EXPECT_TRUE(applicationFilePath(".ini").ends_with("/vemora/vemora-system-tests.ini"));
  setInfoDictionaryEntry("CFBundleIdentifier", "org.example/../App");
  EXPECT_TRUE(applicationFilePath(".ini").ends_with("/vemora/org.example%2F..%2FApp.ini"));
  setInfoDictionaryEntry("CFBundleIdentifier", std::nullopt);
}

TEST_F(UserDefaultsTest, SurvivesACrashInAnyWrite) {
  const std::string text(100'000, 'x');
  for (int round = 0; round < 25; ++round) {
    std::filesystem::remove_all(folder_.path("/vemora"));
    const pid_t child = startProcess([&] {
      KeyFileUserDefaults defaults = open();
      for (int write = 0;; ++write) {
        defaults.setObject(text + std::to_string(write), "vemora.app.guid");
        defaults.synchronize();
      }
    });
    usleep(static_cast<useconds_t>(round * 300));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);

    KeyFileUserDefaults defaults = open();
    const std::optional<std::string> found = defaults.stringForKey("vemora.app.guid");
    EXPECT_TRUE(!found || found->starts_with(text)) << round;
    defaults.setObject("next", "other");
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_EQ(defaults.stringForKey("vemora.app.guid"), found);
    EXPECT_FALSE(std::filesystem::exists(path() + ".corrupt"));
  }
}

}  // namespace

}  // namespace vemora::gtk
