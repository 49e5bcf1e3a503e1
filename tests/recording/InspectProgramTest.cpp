#include "../common/ChildProcess.h"
#include "../common/TestFolder.h"

#include <Vemora/JsonValue.h>

#include <gtest/gtest.h>

namespace vemora {
namespace {

constexpr char kSession[] =
    "{\"format\":\"vemora-inspect\",\"version\":1}\n"
    "{\"t\":1500,\"kind\":\"host\",\"player\":1,\"session\":1,\"call\":\"load\",\"placement\":\"inline\"}\n"
    "{\"t\":200000,\"kind\":\"log\",\"level\":\"log\",\"text\":\"a \\u001b[31m\\u009b red \\nline é\"}\n"
    "{\"t\":12300000,\"kind\":\"unhandled\",\"session\":1,\"method\":\"evnet\"}\n"
    "{\"t\":12400000,\"ki";

class InspectProgramTest : public ::testing::Test {
 protected:
  struct Run {
    std::string output, errors;
    int status;
  };
  Run run(const std::vector<std::string>& arguments) {
    std::vector<std::string> line = {VEMORA_INSPECT};
    line.insert(line.end(), arguments.begin(), arguments.end());
    test::ChildProcess child(line, {{"LC_ALL", "C.UTF-8"}});
    auto [output, errors] = child.outputs();
    return {output, errors, child.wait()};
  }

  test::TestFolder folder_;
  const std::string file_ = folder_.write("session.jsonl", kSession).string();
};

TEST_F(InspectProgramTest, PrintsTheTimelineWithoutWritingToTheTerminalForThePage) {
  const Run shown = run({"--text", file_});
  EXPECT_EQ(shown.status, 0);
  EXPECT_EQ(
      shown.output,
      file_ +
          "\nsession 1\n"
          "     0.002  host     load inline\n"
          "     0.200  log      a ?[31m? red  line é\n"
          "    12.300  bridge   nobody handles evnet\n"
          "         ! unhandled-message: The page sent \"evnet\", which nothing in the SDK handles.\n"
          "           To do: The messages of a page are ping, event and window. Check the spelling of the "
          "method.\n"
          "The last line is cut off and was left out.\n"
          "3 records, 1 hazard\n");
  const Run hazards = run({"--text", "--hazards", file_});
  EXPECT_EQ(hazards.output.find("load"), std::string::npos);
  EXPECT_NE(hazards.output.find("unhandled-message"), std::string::npos);
}

TEST_F(InspectProgramTest, GivesTheSameToPrograms) {
  const Run shown = run({"--json", file_});
  const JsonValue all = JsonValue::parse(shown.output.substr(0, shown.output.find('\n'))).value_or(nullptr);
  EXPECT_EQ(all["records"].count(), 3u);
  EXPECT_EQ(all["records"][2]["lane"], JsonValue("bridge"));
  EXPECT_EQ(all["records"][2]["record"]["method"], JsonValue("evnet"));
  EXPECT_EQ(all["hazards"][0]["line"], JsonValue(4));
  EXPECT_EQ(all["isCutOff"], JsonValue(true));
}

TEST_F(InspectProgramTest, RefusesWhatItCannotUse) {
  EXPECT_EQ(run({"--text"}).status, 2);
  EXPECT_EQ(run({file_}).status, 2);
  EXPECT_EQ(run({"--json", "--hazards", file_}).status, 2);
  const Run none = run({"--text", folder_.path("none")});
  EXPECT_EQ(none.status, 2);
  EXPECT_EQ(none.errors, "vemora-inspect: " + folder_.path("none") + ": No such file or directory\n");
}

}  // namespace
}  // namespace vemora
