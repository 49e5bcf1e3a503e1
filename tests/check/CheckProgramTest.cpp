#include "../common/ChildProcess.h"
#include "../common/HeadlessDesktop.h"
#include "../common/TestFolder.h"

#include <Vemora/JsonValue.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vemora::test {
namespace {

namespace fs = std::filesystem;

const fs::path kPages(VEMORA_CHECK_PAGES);

/// A conformance check in another process.
class CheckProcess : public ChildProcess {
 public:
  explicit CheckProcess(std::vector<std::string> arguments,
                        const std::map<std::string, std::string>& environment = {})
      : ChildProcess(withProgram(std::move(arguments)), environment) {}

 private:
  static std::vector<std::string> withProgram(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {VEMORA_SERVE_PROGRAM, "--check"});
    return arguments;
  }
};

std::vector<std::string> ownPage(const std::string& name) {
  return {"--json", "--page", (kPages / (name + ".html")).string(), "--root", kPages.string()};
}

/// The names of the rules with this outcome.
std::vector<std::string> rulesWith(const JsonValue& report, const char* outcome) {
  std::vector<std::string> names;
  for (const JsonValue& rule : report["rules"].elements()) {
    if (rule["outcome"] == JsonValue(outcome)) names.emplace_back(rule["name"].asString().value_or(""));
  }
  return names;
}

std::string joined(const std::vector<std::string>& texts) {
  std::string all;
  for (const std::string& text : texts) all += text + " ";
  return all;
}

class CheckProgramTest : public testing::Test {
 protected:
  HeadlessDesktop desktop;
};

TEST_F(CheckProgramTest, EveryRuleHoldsForTheReferencePage) {
  CheckProcess process({});
  const ChildProcess::Outputs outputs = process.outputs();
  EXPECT_EQ(process.wait(), 0) << outputs.output << outputs.errors;
  EXPECT_EQ(outputs.output.find("FAIL"), std::string::npos);
  EXPECT_NE(outputs.output.find(" 0 do not, 0 skipped; "), std::string::npos) << outputs.output;
}

TEST_F(CheckProgramTest, NamesTheRulesThatAPageBreaks) {
  struct Case {
    const char* page;
    const char* session;
    std::vector<std::string> rules;
  };
  const std::vector<Case> cases{
      {"milliseconds", "controls", {"time-rises"}},
      {"careless-ads",
       "play",
       {"impression", "ad-stopped", "quartiles-in-time", "macros-filled", "click-throughs"}},
      {"several-faults", "controls", {"ads-list", "background-resume"}},
      {"several-faults", "waiting", {"ads-list", "pings"}},
      {"never-plays", "controls", {"ads-play"}},
      {"no-pings", "robustness", {"pings"}},
      {"numeric-ids", "play", {"config-answered", "ads-answered", "reply-id", "messages-valid"}},
      {"wrong-reply-id", "play", {"config-answered", "ads-answered", "reply-id"}},
      {"text-posts", "play", {"config-answered", "ads-answered", "posts-objects"}},
      {"events-out-of-order", "play", {"started-first", "quartiles"}},
      {"no-bridge", "play", {"bridge-exists"}},
      {"late-reply", "play", {"ads-answered"}},
      {"promise", "play", {"bridge-returns-nothing"}},
      {"deaf-to-pause", "controls", {"pause"}},
      {"breaks-on-unknown", "robustness", {"controls-answered", "lives-after-unknown-method"}},
  };
  std::vector<std::unique_ptr<CheckProcess>> processes;
  for (const Case& c : cases) {
    std::vector<std::string> arguments = ownPage(c.page);
    arguments.insert(arguments.end(), {"--session", c.session});
    processes.push_back(std::make_unique<CheckProcess>(arguments));
  }
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const ChildProcess::Outputs outputs = processes[i]->outputs();
    const JsonValue report = JsonValue::parse(outputs.output).value_or(nullptr);
    const std::vector<std::string> failed = rulesWith(report, "fail");
    SCOPED_TRACE(cases[i].page + (": " + joined(failed)) + outputs.errors);
    if (std::string_view(cases[i].session) == "controls" &&
        std::string_view(cases[i].page) != "never-plays") {
      const std::vector<std::string> skipped = rulesWith(report, "skip");
      EXPECT_EQ(std::find(skipped.begin(), skipped.end(), "pause"), skipped.end()) << "commands are judged";
    }
    EXPECT_EQ(processes[i]->wait(), 1);
    EXPECT_EQ(report["holds"], JsonValue(false));
    for (const std::string& rule : cases[i].rules) {
      EXPECT_NE(std::find(failed.begin(), failed.end(), rule), failed.end()) << rule;
    }
  }
}

/// A page on another server.
class CheckOfAnAddressTest : public CheckProgramTest {
 protected:
  CheckOfAnAddressTest()
      : certificate((folder.path() / "ca.pem").string()),
        server({VEMORA_SERVE_PROGRAM, "--page", (kPages / "good.html").string(), "--root", kPages.string(),
                "--ca-out", certificate}),
        origin(JsonValue::parse(server.line().value_or(""))
                   .value_or(nullptr)["origin"]
                   .stringValue()
                   .value_or("no server")) {}

  TestFolder folder;
  std::string certificate;
  ChildProcess server;
  std::string origin;
};

TEST_F(CheckOfAnAddressTest, ATrustedPageThatKeepsTheProtocolPasses) {
  CheckProcess process({origin + "/good.html", "--ca", certificate, "--json"});
  const ChildProcess::Outputs outputs = process.outputs();
  const JsonValue report = JsonValue::parse(outputs.output).value_or(nullptr);
  EXPECT_EQ(process.wait(), 0) << joined(rulesWith(report, "fail")) << outputs.errors;
  EXPECT_EQ(joined(rulesWith(report, "skip")), "logs-text ");
  EXPECT_EQ(report["url"], JsonValue(origin + "/good.html"));
}

TEST_F(CheckOfAnAddressTest, DistinguishesAPageThatCannotBeLoadedFromOneThatBreaksARule) {
  struct Case {
    std::vector<std::string> arguments;
    const char* why;
  };
  const std::vector<Case> cases{
      {{origin + "/good.html"}, "not trusted"},
      {{origin + "/missing.html", "--ca", certificate}, "status 404"},
      {{"https://127.0.0.1:1/"}, "cannot load https://127.0.0.1:1/"},
      {{"https://missing.invalid/"}, "cannot load https://missing.invalid/"},
  };
  std::vector<std::unique_ptr<CheckProcess>> processes;
  for (const Case& c : cases) {
    std::vector<std::string> arguments = c.arguments;
    arguments.insert(arguments.end(), {"--session", "play"});
    processes.push_back(std::make_unique<CheckProcess>(arguments));
  }
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const ChildProcess::Outputs outputs = processes[i]->outputs();
    EXPECT_EQ(processes[i]->wait(), 1) << cases[i].why;
    EXPECT_EQ(outputs.output, "") << cases[i].why;
    EXPECT_NE(outputs.errors.find(cases[i].why), std::string::npos) << outputs.errors;
  }
}

TEST(CheckWithoutADisplay, ReportsIt) {
  CheckProcess process(ownPage("good"), {{"DISPLAY", ""}, {"WAYLAND_DISPLAY", ""}, {"GDK_BACKEND", "x11"}});
  const ChildProcess::Outputs outputs = process.outputs();
  EXPECT_EQ(process.wait(), 1);
  EXPECT_NE(outputs.errors.find("xvfb-run"), std::string::npos) << outputs.errors;
  EXPECT_EQ(JsonValue::parse(outputs.output).value_or(nullptr)["holds"], JsonValue(false));
}

}  // namespace
}  // namespace vemora::test
