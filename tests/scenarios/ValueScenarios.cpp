#include "Scenario.h"

namespace vemora::scenarios {

namespace {

constexpr const char* kValues[] = {"null",  "true", "5",   "-1e308", R"("text")",
                                   R"("")", "[]",   "[1]", "{}",     R"({"x":1})"};

/// `template_` with "@" replaced.
std::string filled(const std::string& pattern, const std::string& value) {
  std::string text = pattern;
  return text.replace(text.find('@'), 1, value);
}

void add(std::vector<Scenario>& table, const std::string& place, const std::string& value,
         std::function<void(Session&)> act, Outcome outcome) {
  const char* group = "Values of the wrong type";
  table.push_back({group, "value-of-" + place, "`" + place + "` is null or of a wrong type.", std::move(act),
                   std::move(outcome)});
  table.back().variant = value;
}

std::function<void(Session&)> loadWith(const char* method, const std::string& members) {
  return [=](Session& s) {
    s.load();
    s.page().answer(method, {.members = members});
    s.page().finish();
    s.advance(12);
  };
}

bool isNull(const std::string& value) {
  return value == "null";
}

void addConfiguration(std::vector<Scenario>& table) {
  const std::pair<const char*, const char*> places[] = {
      {"config.result.data", R"("result":{"data":@})"},
      {"config.result.data.features", R"("result":{"data":{"features":@,"moat_partner_code":"c"}})"},
      {"config.result.data.features.moat", R"("result":{"data":{"features":{"moat":@}}})"},
      {"config.result.data.moat_partner_code",
       R"("result":{"data":{"features":{"moat":0},"moat_partner_code":@}})"}};
  for (const auto& [place, pattern] : places) {
    for (const std::string value : kValues)
      add(table, place, value, loadWith("get.config", filled(pattern, value)), {{"didLoadAds 2"}});
  }
  for (const std::string value : kValues) {
    // No result at all is no reply, as the protocol has it.
    const Outcome outcome =
        isNull(value) ? Outcome{{"didLoadAds 2"}, {"Failed to send get.config"}} : Outcome{{"didLoadAds 2"}};
    add(table, "config.result", value, loadWith("get.config", R"("result":)" + value), outcome);
  }
}

void addAds(std::vector<Scenario>& table) {
  const Outcome none = {{"didLoadAds - 5003"}, {"get.ads: No ads available"}};
  const Outcome empty = {{"didLoadAds 0 5003"}, {"get.ads: No ads available"}};
  const auto places = {std::pair("ads.result.data", R"("result":{"data":@})"),
                       std::pair("ads.result.data.adgroup", R"("result":{"data":{"adgroup":@}})")};
  for (const auto& [place, pattern] : places) {
    for (const std::string value : kValues)
      add(table, place, value, loadWith("get.ads", filled(pattern, value)), none);
  }
  for (const std::string value : kValues) {
    const Outcome silence = {{"didLoadAds - 5002"}, {}, {"Failed to send get.ads"}};
    add(table, "ads.result", value, loadWith("get.ads", R"("result":)" + value),
        isNull(value) ? silence : none);
    const bool isAd = value == "[1]";
    add(table, "ads.result.data.adgroup.ads", value,
        loadWith("get.ads", filled(R"("result":{"data":{"adgroup":{"ads":@}}})", value)),
        isAd            ? Outcome{{"didLoadAds 1"}}
        : isNull(value) ? none
                        : empty);
    add(table, "ads[0]", value,
        loadWith("get.ads", filled(R"("result":{"data":{"adgroup":{"ads":[@,{"id":"b"}]}}})", value)),
        {{"didLoadAds 2"}});
    for (const char* field : {"id", "index", "duration", "vpi", "title", "price", "url", "clickthru"}) {
      const std::string ad = R"("result":{"data":{"adgroup":{"ads":[{")" + std::string(field) + R"(":)" +
                             value + R"(},{"id":"b"}]}}})";
      auto load = loadWith("get.ads", ad);
      add(table, std::string("ads[0].") + field, value,
          [=](Session& s) {
            load(s);
            s.player()->adGroup()->totalDuration();
            s.page().event("AdStarted", "b");
            s.run();
          },
          {{"didLoadAds 2", "adStart b"}});
    }
  }
}

std::function<void(Session&)> playAndPost(const std::string& text) {
  return [=](Session& s) {
    s.play();
    s.page().post(text);
    s.advance(2);
  };
}

void addMessages(std::vector<Scenario>& table) {
  const std::vector<std::string> playing = {"didLoadAds 2", "adGroupStart 2", "adStart a"};
  const auto playingThen = [&](const std::string& callback) {
    auto callbacks = playing;
    callbacks.push_back(callback);
    return callbacks;
  };
  const std::pair<const char*, const char*> ignored[] = {
      {"event.params", R"({"method":"event","params":@})"},
      {"event.params.event", R"({"method":"event","params":{"event":@,"id":"a"}})"},
      {"window.params", R"({"method":"window","params":@})"},
      {"window.params.event", R"({"method":"window","params":{"event":@,"url":"https://a.example/"}})"},
      {"window.params.url", R"({"method":"window","params":{"event":"beacon","url":@}})"},
      {"ping.params", R"({"method":"ping","params":@})"}};
  for (const std::string value : kValues) {
    for (const auto& [place, pattern] : ignored)
      add(table, place, value, playAndPost(filled(pattern, value)),
          {playing, {}, {}, "The session goes on."});
    add(table, "event.params.id", value,
        playAndPost(filled(R"({"method":"event","params":{"event":"AdPaused","id":@}})", value)),
        {playingThen("adPaused -")});
    // A text counts as true when it begins like "true", "yes" or a number other than 0.
    const bool isTrue = value == "true" || value == "5" || value == "-1e308" || value == R"("text")";
    add(table, "ping.params.shutdown", value,
        playAndPost(filled(R"({"method":"ping","params":{"shutdown":@,"message":"bye"}})", value)),
        isTrue ? Outcome{playingThen("adError - 5004"), {}, {"Heartbeat SHUTDOWN!"}} : Outcome{playing});
    add(table, "ping.params.message", value,
        playAndPost(filled(R"({"method":"ping","params":{"shutdown":true,"message":@}})", value)),
        {playingThen("adError - 5004"), {}, {"Heartbeat SHUTDOWN!"}});
    add(table, "event.params.data (AdError)", value,
        playAndPost(filled(R"({"method":"event","params":{"event":"AdError","id":"a","data":@}})", value)),
        {playingThen("adError a 5004")});
    std::string time = "0";
    if (value == "true") time = "1";
    if (value == "5") time = "5";
    if (value == "-1e308") time = "-1e+308";
    add(table, "event.params.data (AdTimeChange)", value,
        playAndPost(
            filled(R"({"method":"event","params":{"event":"AdTimeChange","id":"a","data":@}})", value)),
        {playingThen("adTimeUpdate a " + time)});
  }
}

}  // namespace

std::vector<Scenario> valueScenarios() {
  std::vector<Scenario> table;
  addConfiguration(table);
  addAds(table);
  addMessages(table);
  // A whole session is the same for every placement here; one of them runs.
  for (Scenario& scenario : table) scenario.placements = {Placement::Inline};
  return table;
}

}  // namespace vemora::scenarios
