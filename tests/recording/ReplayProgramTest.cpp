#include "../common/ChildProcess.h"
#include "../common/TestFolder.h"

#include <gtest/gtest.h>

namespace vemora {
namespace {

/// A session in which the page loads, answers, and sends one event.
constexpr char kSession[] =
    R"({"format":"vemora-inspect","version":1}
{"t":1000,"kind":"host","player":1,"session":1,"call":"load","placement":"inline"}
{"t":1500,"kind":"request","session":1,"delegate":true,"given":true}
{"t":200000,"kind":"page","session":1,"event":"finished"}
{"t":201000,"kind":"message","session":1,"direction":"toPage","body":{"id":"17","method":"get.config"}}
{"t":210000,"kind":"message","session":1,"direction":"fromPage","body":{"id":"17","result":{"data":{}}}}
{"t":211000,"kind":"message","session":1,"direction":"toPage","body":{"id":"18","method":"get.ads"}}
{"t":290000,"kind":"message","session":1,"direction":"fromPage","body":{"id":"18","result":{"data":{"adgroup":{"ads":[{"id":"a"}]}}}}}
{"t":300000,"kind":"callback","player":1,"session":1,"name":"vemoraDidLoadAds","delivered":true,"ads":1}
{"t":900000,"kind":"message","session":1,"direction":"fromPage","body":{"method":"event","params":{"event":"AdPaused","id":"a"}}}
{"t":901000,"kind":"callback","player":1,"session":1,"name":"vemoraAdPaused","delivered":true,"ad":"a"}
{"t":5300000,"kind":"callback","player":1,"session":1,"name":"vemoraAdError","delivered":true,"error":{"code":5005}}
)";

class ReplayProgramTest : public ::testing::Test {
 protected:
  struct Run {
    std::string output, errors;
    int status;
  };
  Run run(const std::vector<std::string>& arguments) {
    std::vector<std::string> line = {VEMORA_REPLAY};
    line.insert(line.end(), arguments.begin(), arguments.end());
    test::ChildProcess child(line, {{"LC_ALL", "C.UTF-8"}});
    auto [output, errors] = child.outputs();
    return {output, errors, child.wait()};
  }
  std::string session(const std::string& text) { return folder_.write("session.jsonl", text).string(); }

  static std::string with(const std::string& from, const std::string& to) {
    std::string text = kSession;
    const std::size_t place = text.find(from);
    if (place == std::string::npos) throw std::invalid_argument(from);
    return text.replace(place, from.size(), to);
  }

  test::TestFolder folder_;
};

TEST_F(ReplayProgramTest, FindsTheSameCallbacks) {
  const std::string file = session(kSession);
  const Run same = run({file});
  EXPECT_EQ(same.output, file + ": the same 3 callbacks in the same order\n");
  EXPECT_EQ(same.status, 0);
}

TEST_F(ReplayProgramTest, SaysWhereTheCallbacksPart) {
  const std::string file = session(with(R"("name":"vemoraAdPaused","delivered":true,"ad":"a")",
                                        R"("name":"vemoraAdPlaying","delivered":true,"ad":"a")"));
  const Run parted = run({file});
  EXPECT_EQ(parted.status, 1);
  EXPECT_EQ(parted.output, file + ": the replay parts from the recording at callback 2\n" +
                               "    both         0.300 s  vemoraDidLoadAds, 1 ad, line 9\n"
                               "  - recorded     0.901 s  vemoraAdPlaying a, line 11\n"
                               "  + replayed     0.900 s  vemoraAdPaused a\n");
  const Run missing = run({session(with(R"("params":{"event":"AdPaused","id":"a"})", R"("params":{})"))});
  EXPECT_EQ(missing.status, 1);
  const Run pinged = run({session(with("\"method\":\"event\"", "\"method\":\"ping\""))});
  EXPECT_NE(pinged.output.find("no further callback"), std::string::npos) << pinged.output;
}

TEST_F(ReplayProgramTest, RefusesWhatItCannotReplay) {
  const Run none = run({folder_.path("none.jsonl")});
  EXPECT_EQ(none.status, 2);
  EXPECT_EQ(none.errors, "vemora-replay: " + folder_.path("none.jsonl") + ": No such file or directory\n");
  EXPECT_EQ(run({}).status, 2);
  EXPECT_EQ(run({session("text\n")}).status, 2);
  const Run noView = run({session(with("\"event\":\"finished\"", "\"event\":\"noView\""))});
  EXPECT_EQ(noView.status, 2);
  EXPECT_EQ(noView.errors,
            "vemora-replay: this recording cannot be replayed: line 4: the platform made no web view, "
            "which cannot be repeated here\n");
}

}  // namespace
}  // namespace vemora
