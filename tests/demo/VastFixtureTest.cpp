#include "../common/HeadlessDesktop.h"
#include "DemoRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace vemora::test {
namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

constexpr const char* kSuffix = ".expected.json";

Strings fixtures() {
  Strings names;
  for (const auto& entry : fs::directory_iterator(VEMORA_FIXTURES)) {
    const std::string name = entry.path().filename().string();
    const std::size_t at = name.find(kSuffix);
    if (at != std::string::npos) names.push_back(name.substr(0, at));
  }
  std::sort(names.begin(), names.end());
  return names;
}

Strings stringsOf(const JsonValue& list) {
  Strings result;
  for (const JsonValue& text : list.elements()) result.push_back(text.stringValue().value_or(""));
  return result;
}

/// What the host app does in a fixture, as options of the demo: a delegate is not notified of every event,
/// but of the time.
Strings commandsFor(const JsonValue& controls) {
  const std::map<std::string, std::string> moments{{"AdStarted", "adStart"},
                                                   {"AdVideoFirstQuartile", "1.3"},
                                                   {"AdVideoMidpoint", "2.3"},
                                                   {"AdSkippableStateChange", "2.4"},
                                                   {"AdPaused", "adPaused"}};
  Strings arguments;
  for (const JsonValue& control : controls.elements()) {
    const std::string sent = control["send"].stringValue().value_or("");
    const auto moment = moments.find(control["after"].stringValue().value_or(""));
    if (moment == moments.end()) {
      ADD_FAILURE() << "when is " << control["after"].stringValue().value_or("") << "?";
      continue;
    }
    arguments.insert(arguments.end(), {"--do", sent.substr(sent.find('.') + 1) + "@" + moment->second});
  }
  return arguments;
}

/// The callbacks that follow from the events.
Strings callbacksFor(const JsonValue& expected) {
  const std::map<std::string, std::string> ofAnAd{
      {"AdStarted", "adStart"},         {"AdPlaying", "adPlaying"},   {"AdPaused", "adPaused"},
      {"AdSkipped", "adSkipped"},       {"AdClickThru", "adClicked"}, {"AdUserClose", "adUserClose"},
      {"AdVideoComplete", "adComplete"}};
  const std::map<std::string, std::string> ofTheGroup{{"AdGroupStart", "adGroupStart"},
                                                      {"AdGroupEnd", "adGroupComplete"}};
  Strings callbacks{"requestForPlayer", "didLoadAds"};
  for (const std::string& event : stringsOf(expected["events"])) {
    if (const auto found = ofAnAd.find(event); found != ofAnAd.end()) callbacks.push_back(found->second);
    if (const auto found = ofTheGroup.find(event); found != ofTheGroup.end())
      callbacks.push_back(found->second);
    if (event == "AdError") callbacks.emplace_back("adError");
  }
  return callbacks;
}

Strings withoutAds(Strings callbacks) {
  for (std::string& callback : callbacks) callback = callback.substr(0, callback.find(' '));
  return callbacks;
}

class VastFixtureTest : public testing::TestWithParam<std::string> {
 protected:
  HeadlessDesktop desktop;
};

TEST_P(VastFixtureTest, PlaysAndFiresExactlyItsBeacons) {
  const std::string file = std::string(VEMORA_FIXTURES) + "/" + GetParam();
  const JsonValue expected = JsonValue::parse(contentOf(file + kSuffix)).value_or(nullptr);
  ASSERT_TRUE(expected.isObject());
  Strings arguments{"--vast", file + ".xml"};
  const Strings commands = commandsFor(expected["controls"]);
  arguments.insert(arguments.end(), commands.begin(), commands.end());

  DemoRun run(arguments);
  const int status = run.finish();
  // The demo refuses a document that is not XML; the tests of the page play it.
  if (GetParam() == "malformed") {
    EXPECT_EQ(status, 2) << run.output();
    return;
  }
  EXPECT_TRUE(haveArrived(run.beacons(), stringsOf(expected["beacons"]))) << run.output();
  EXPECT_EQ(withoutAds(run.callbacks()), callbacksFor(expected)) << run.output();
  Strings ads;
  for (const JsonValue& ad : run.event("didLoadAds")["group"]["ads"].elements()) {
    ads.push_back(ad["id"].stringValue().value_or(""));
  }
  EXPECT_EQ(ads, stringsOf(expected["ads"]));

  const bool completes = run.lastCallback() == "adGroupComplete";
  EXPECT_EQ(status, completes ? 0 : 1) << run.output();
  EXPECT_EQ(run.event("didLoadAds")["error"]["code"].integerValue(), ads.empty() ? 5003 : 0);
  if (!expected["error"].isNull()) {
    const std::string reason = run.event("adError")["error"]["reason"].stringValue().value_or("");
    EXPECT_NE(reason.find("VAST error " + *expected["error"].stringValue()), std::string::npos) << reason;
  }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, VastFixtureTest, testing::ValuesIn(fixtures()), [](const auto& info) {
  std::string name = info.param;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
});

}  // namespace
}  // namespace vemora::test
