#include "../common/ChildProcess.h"
#include "../common/TestFolder.h"
#include "HttpsClient.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <csignal>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vemora::test {
namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

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

  /// The origin that the ready line of a program names that was not asked for its certificate.
  static std::string originOf(ServeProcess& process) {
    rapidjson::Document ready;
    ready.Parse(process.line().value_or("").c_str());
    if (!ready.IsObject()) return "";
    EXPECT_TRUE(ready["ca"].IsNull());
    return ready["origin"].GetString();
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

TEST_F(ServeProgramTest, BadArgumentsEndWithTwoAndSayWhich) {
  struct Case {
    std::vector<std::string> arguments;
    const char* named;
  };
  for (const Case& c :
       {Case{{"--nonsense"}, "--nonsense"}, Case{{"--port"}, "--port"}, Case{{"--port", "http"}, "http"},
        Case{{"--port", "65536"}, "65536"}, Case{{"--port", "-1"}, "-1"}, Case{{"--port", "80 "}, "80 "},
        Case{{"--port", ""}, "port"}, Case{{"stray"}, "stray"}, Case{{"--json"}, "--json"},
        Case{{"--check", "http://a/"}, "http://a/"}, Case{{"--check", "https:page"}, "https:page"},
        Case{{"--check", "https://a/", "stray"}, "stray"}, Case{{"--check", "--session", "plays"}, "plays"},
        Case{{"--check", "--timeout", "0"}, "seconds: 0"}, Case{{"--check", "--timeout", "1 s"}, "1 s"},
        Case{{"--check", "--list-beacons"}, "--list-beacons"},
        Case{{"--check", "https://a/", "--ads", "a.json"}, "--ads"}}) {
    ServeProcess process(c.arguments);
    EXPECT_EQ(process.output(), "");
    EXPECT_NE(process.errors().find(c.named), std::string::npos) << c.named;
    EXPECT_EQ(process.wait(), 2) << c.named;
  }
}

TEST_F(ServeProgramTest, FilesThatCannotBeUsedEndWithOneAndAreNamed) {
  const std::string folderPath = folder.path().string();
  const std::string missing = folderPath + "/missing";
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--page", missing}, std::vector<std::string>{"--page", folderPath},
        std::vector<std::string>{"--page", page, "--ads", missing},
        std::vector<std::string>{"--page", page, "--config", missing},
        std::vector<std::string>{"--page", page, "--media", missing},
        std::vector<std::string>{"--page", page, "--root", page},
        std::vector<std::string>{"--check", "https://a/", "--ca", missing},
        std::vector<std::string>{"--check", "https://a/", "--ca", page},
        std::vector<std::string>{"--check", "--page", page, "--request", missing},
        std::vector<std::string>{"--page", page, "--ca-out", missing + "/ca.pem"}}) {
    ServeProcess process(arguments);
    EXPECT_EQ(process.output(), "") << arguments.back();
    EXPECT_NE(process.errors().find(arguments.back()), std::string::npos) << arguments.back();
    EXPECT_EQ(process.wait(), 1) << arguments.back();
  }
}

TEST_F(ServeProgramTest, APortInUseEndsWithOne) {
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
  rapidjson::Document ready;
  ready.Parse(process.line().value_or("").c_str());
  ASSERT_TRUE(ready.IsObject());
  EXPECT_EQ(ready["ca"].GetString(), certificate);
  const std::string origin = ready["origin"].GetString();
  HttpsClient client(contentOf(certificate));
  EXPECT_EQ(client.send(origin + "/mobile/sdk/v4/native/VMRWebViewRuntime.html").body, "page");
  EXPECT_EQ(client.send(origin + "/beacon/x?n=1").status, 204u);

  process.signal(SIGINT);
  EXPECT_EQ(process.wait(), 0);
  const std::string list = process.output();
  EXPECT_NE(list.find(R"("count":1)"), std::string::npos) << list;
  EXPECT_NE(list.find(R"("query":"n=1")"), std::string::npos) << list;
  EXPECT_NE(process.errors().find("GET /beacon/x?n=1 204"), std::string::npos);
}

TEST_F(ServeProgramTest, EndsWithItsParentWhenToldTo) {
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
