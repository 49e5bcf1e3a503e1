#include "../common/ChildProcess.h"
#include "../common/TestFolder.h"
#include "HttpsClient.h"

#include <Vemora/JsonValue.h>

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vemora::test {
namespace {

namespace fs = std::filesystem;

/// A running vemora-serve.
class ServeProcess : public ChildProcess {
 public:
  explicit ServeProcess(std::vector<std::string> arguments)
      : ChildProcess(withProgram(std::move(arguments))) {}

 private:
  static std::vector<std::string> withProgram(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), VEMORA_SERVE_PROGRAM);
    return arguments;
  }
};

class ServeProgramTest : public testing::Test {
 protected:
  ServeProgramTest() : page(folder.write("page.html", "page").string()) {}

  /// The origin in the ready line of a program that was not asked for its certificate.
  static std::string originOf(ServeProcess& process) {
    const JsonValue ready = JsonValue::parse(process.line().value_or("")).value_or(nullptr);
    EXPECT_TRUE(ready["ca"].isNull());
    return ready["origin"].stringValue().value_or("");
  }

  TestFolder folder;
  std::string page;
};

TEST_F(ServeProgramTest, HelpAndVersionGoToTheStandardOutput) {
  for (const char* option : {"-h", "--help", "--version"}) {
    ServeProcess process({option});
    EXPECT_NE(process.output().find("vemora-serve"), std::string::npos) << option;
    EXPECT_EQ(process.errors(), "") << option;
    EXPECT_EQ(process.wait(), 0) << option;
  }
}

TEST_F(ServeProgramTest, BadArgumentsExitWithTwoAndAreNamed) {
  struct Case {
    std::vector<std::string> arguments;
    const char* named;
  };
  for (const Case& c :
       {Case{{"--nonsense"}, "--nonsense"}, Case{{"--port"}, "--port"}, Case{{"--port", "http"}, "http"},
        Case{{"--port", "65536"}, "65536"}, Case{{"--port", "-1"}, "-1"}, Case{{"--port", "80 "}, "80 "},
        Case{{"--port", ""}, "--port"}, Case{{"stray"}, "stray"}, Case{{"--json"}, "--json"},
        Case{{"--check", "http://a/"}, "http://a/"}, Case{{"--check", "https:page"}, "https:page"},
        Case{{"--check", "https://a/", "stray"}, "stray"}, Case{{"--check", "--session", "plays"}, "plays"},
        Case{{"--check", "--timeout", "0"}, "'0'"}, Case{{"--check", "--timeout", "1 s"}, "1 s"},
        Case{{"--check", "--timeout", "nan"}, "nan"}, Case{{"--check", "--list-beacons"}, "--list-beacons"},
        Case{{"--check", "https://a/", "--ads", "a.json"}, "--ads"}}) {
    ServeProcess process(c.arguments);
    EXPECT_EQ(process.output(), "");
    EXPECT_NE(process.errors().find(c.named), std::string::npos) << c.named;
    EXPECT_EQ(process.wait(), 2) << c.named;
  }
}

TEST_F(ServeProgramTest, UnusableFilesExitWithTwoAndAReason) {
  const std::string folderPath = folder.path().string();
  const std::string missing = folderPath + "/missing";
  const std::string broken = folder.write("broken.json", R"({"a":1,})");
  const std::string array = folder.write("array.json", "[]");
  const std::string misspelt = folder.write("misspelt.json", R"({"faults":{"noAd":true}})");
  const std::string noAds = folder.write("no-ads.json", R"({"ad":[]})");
  const std::string hollowAd = folder.write("hollow-ad.json", R"({"ads":[{"id":"a"}]})");
  const std::string cut = folder.write("cut.xml", "<VAST version=\"4.2\">\n<Ad>");
  const std::string other = folder.write("other.xml", "<html/>");
  struct Case {
    std::vector<std::string> arguments;
    const char* why;
  };
  for (const Case& c :
       {Case{{"--page", missing}, "No such file"}, Case{{"--page", folderPath}, "is a folder"},
        Case{{"--page", ""}, "--page: the value is empty"},
        Case{{"--page", page, "--ads", missing}, "No such file"},
        Case{{"--page", page, "--ads", broken}, "not valid JSON"},
        Case{{"--page", page, "--ads", noAds}, "no array \"ads\""},
        Case{{"--page", page, "--ads", hollowAd}, "ads[0] has no \"media\""},
        Case{{"--page", page, "--config", missing}, "No such file"},
        Case{{"--page", page, "--config", broken}, "not valid JSON"},
        Case{{"--page", page, "--config", array}, "not a JSON object"},
        Case{{"--page", page, "--config", misspelt}, "nothing reads 'faults.noAd'"},
        Case{{"--page", page, "--document", cut}, "line 2"},
        Case{{"--page", page, "--document", other}, "its root is <html>"},
        Case{{"--page", page, "--media", missing}, "No such file"},
        Case{{"--page", page, "--root", page}, "not a folder"},
        Case{{"--check", "https://a/", "--ca", missing}, "No such file"},
        Case{{"--check", "https://a/", "--ca", page}, "certificate"},
        Case{{"--check", "--page", page, "--request", broken}, "not valid JSON"},
        Case{{"--page", page, "--ca-out", missing + "/ca.pem"}, "cannot write"}}) {
    ServeProcess process(c.arguments);
    const ChildProcess::Outputs outputs = process.outputs();
    EXPECT_EQ(outputs.output, "") << c.why;
    EXPECT_NE(outputs.errors.find(c.why), std::string::npos) << c.why << " in: " << outputs.errors;
    EXPECT_NE(outputs.errors.find(c.arguments.back()), std::string::npos) << outputs.errors;
    EXPECT_EQ(process.wait(), 2) << c.why;
  }
}

TEST_F(ServeProgramTest, KnowsEveryMemberOfTheConfigurationThatThePageHas) {
  std::ifstream source(VEMORA_PAGE_CONFIGURATION);
  std::string members;
  std::string line;
  while (std::getline(source, line) && line.find("const defaults = {") == std::string::npos) continue;
  while (std::getline(source, line) && line[0] != '}') {
    const std::size_t begin = line.find_first_not_of(' ');
    members += "\"" + line.substr(begin, line.find(':') - begin) + "\":1,";
  }
  ASSERT_NE(members, "");
  const fs::path file = folder.write(
      "config.json", "{" + members + R"("faults":{"noAds":true,"adError":"x","stopPingAfter":1}})");
  ServeProcess process({"--page", page, "--config", file.string()});
  EXPECT_NE(originOf(process), "") << process.errors();
}

TEST_F(ServeProgramTest, APortInUseExitsWithOne) {
  ServeProcess first({"--page", page});
  const std::string origin = originOf(first);
  const std::string port = origin.substr(origin.rfind(':') + 1);
  ServeProcess second({"--page", page, "--port", port});
  EXPECT_NE(second.errors().find(port), std::string::npos);
  EXPECT_EQ(second.wait(), 1);

  first.signal(SIGTERM);
  EXPECT_EQ(first.wait(), 0);
  ServeProcess third({"--page", page, "--port", port});
  EXPECT_EQ(originOf(third), origin) << "the port is free again at once";
}

TEST_F(ServeProgramTest, ServesFromTheReadyLineUntilASignalAndListsTheBeacons) {
  const std::string certificate = (folder.path() / "ca.pem").string();
  ServeProcess process({"--page", page, "--ca-out", certificate, "--list-beacons", "--verbose"});
  const JsonValue ready = JsonValue::parse(process.line().value_or("")).value_or(nullptr);
  ASSERT_TRUE(ready.isObject());
  EXPECT_EQ(ready["ca"], JsonValue(certificate));
  const std::string origin = ready["origin"].stringValue().value_or("");
  HttpsClient client(folder.read("ca.pem"));
  EXPECT_EQ(client.send(origin + "/mobile/sdk/v4/native/VMRWebViewRuntime.html").body, "page");
  EXPECT_EQ(client.send(origin + "/beacon/x?n=1").status, 204u);

  process.signal(SIGINT);
  EXPECT_EQ(process.wait(), 0);
  const std::string list = process.output();
  EXPECT_NE(list.find(R"("count":1)"), std::string::npos) << list;
  EXPECT_NE(list.find(R"("query":"n=1")"), std::string::npos) << list;
  EXPECT_NE(process.errors().find("GET /beacon/x?n=1 204"), std::string::npos);
}

TEST_F(ServeProgramTest, ExitsWithItsParentOnRequest) {
  ServeProcess process({"--page", page, "--exit-with-parent"});
  EXPECT_NE(originOf(process), "");
  process.closeInput();
  EXPECT_EQ(process.wait(), 0);

  ServeProcess independent({"--page", page});
  EXPECT_NE(originOf(independent), "");
  independent.closeInput();
  independent.signal(SIGTERM);
  EXPECT_EQ(independent.wait(), 0);
}

}  // namespace
}  // namespace vemora::test
