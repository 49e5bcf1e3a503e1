#include "Scenario.h"

#include <iterator>

namespace vemora::scenarios {

const std::vector<Scenario>& allScenarios() {
  static const std::vector<Scenario> all = [] {
    std::vector<Scenario> joined;
    for (const auto table : {loadingScenarios, replyScenarios, valueScenarios, eventScenarios,
                             heartbeatScenarios, windowScenarios, hostScenarios, placementScenarios}) {
      auto part = table();
      std::move(part.begin(), part.end(), std::back_inserter(joined));
    }
    return joined;
  }();
  return all;
}

const std::vector<std::string>& wholeGroup() {
  static const std::vector<std::string> callbacks = {
      "didLoadAds 2",       "adGroupStart 2", "adStart a",     "adPlaying a",
      "adTimeUpdate a 0.5", "adClicked a",    "adPaused a",    "adComplete a",
      "adStart b",          "adSkipped b",    "adUserClose b", "adGroupComplete 2"};
  return callbacks;
}

void playWholeGroup(Session& session) {
  session.load();
  session.page().finish();
  session.run();
  if (session.isReleased()) return;
  session.start();
  session.advance(1);
  const auto happen = [&](const char* event, const char* ad, const char* data = "null") {
    session.page().event(event, ad, data);
    session.run();
  };
  happen("AdGroupStart", "");
  happen("AdStarted", "a");
  happen("AdPlaying", "a");
  happen("AdTimeChange", "a", "0.5");
  happen("AdClickThru", "a");
  happen("AdPaused", "a");
  happen("AdVideoComplete", "a");
  happen("AdStarted", "b");
  happen("AdSkipped", "b");
  happen("AdUserClose", "b");
  happen("AdGroupEnd", "");
}

}  // namespace vemora::scenarios
