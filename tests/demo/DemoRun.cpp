#include "DemoRun.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace vemora::test {
namespace {

namespace fs = std::filesystem;

/// Longer than any session of the tests takes, so that no run is endless.
constexpr const char* kTimeout = "45";

std::vector<std::string> commandLine(const fs::path& folder, const std::vector<std::string>& arguments) {
  std::vector<std::string> all{
      VEMORA_DEMO_PROGRAM, "--events", folder / "events.jsonl", "--beacons", folder / "beacons.json",
      "--timeout",         kTimeout};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return all;
}

std::map<std::string, std::string> environment(const fs::path& folder) {
  return {{"HOME", folder},
          {"TMPDIR", folder},
          {"XDG_CONFIG_HOME", folder / "config"},
          {"XDG_DATA_HOME", folder / "data"},
          {"XDG_CACHE_HOME", folder / "cache"},
          {"LC_ALL", "C.UTF-8"},
          {"TZ", "UTC"},
          {"GTK_A11Y", "none"}};
}

/// "adStart" of "vemora:adStart:", "requestForPlayer" of "requestForPlayer:".
std::string shortName(std::string name) {
  const std::string sender = "vemora:";
  if (name.compare(0, sender.size(), sender) == 0) name.erase(0, sender.size());
  return name.substr(0, name.find(':'));
}

}  // namespace

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

DemoRun::DemoRun(const std::vector<std::string>& arguments)
    : process_(commandLine(folder_.path(), arguments), environment(folder_.path())) {}

int DemoRun::finish() {
  outputs_ = process_.outputs();
  std::istringstream lines(contentOf(folder_.path() / "events.jsonl"));
  for (std::string line; std::getline(lines, line);) {
    events_.push_back(JsonValue::parse(line).value_or(JsonValue("not JSON: " + line)));
  }
  return process_.wait();
}

std::string DemoRun::criticals() const {
  std::istringstream lines(outputs_.errors);
  std::string found;
  for (std::string line; std::getline(lines, line);) {
    const bool isOurs = line.find("(vemora-demo:") != std::string::npos;
    if (isOurs && line.find("-CRITICAL **") != std::string::npos) found += line + "\n";
  }
  return found;
}

std::vector<std::string> DemoRun::callbacks() const {
  std::vector<std::string> names;
  for (const JsonValue& event : events_) {
    if (!event["timeElapsed"].isNull()) continue;
    const auto id = event["ad"]["id"].asString();
    names.push_back(shortName(event["callback"].stringValue().value_or("")) +
                    (id ? " " + std::string(*id) : ""));
  }
  return names;
}

std::string DemoRun::lastCallback() const {
  const std::vector<std::string> all = callbacks();
  return all.empty() ? "" : all.back();
}

JsonValue DemoRun::event(const std::string& name) const {
  for (const JsonValue& event : events_) {
    if (shortName(event["callback"].stringValue().value_or("")) == name) return event;
  }
  return nullptr;
}

std::vector<std::string> DemoRun::beacons() const {
  const JsonValue list = JsonValue::parse(contentOf(folder_.path() / "beacons.json")).value_or(nullptr);
  std::vector<std::string> result;
  for (const JsonValue& beacon : list["beacons"].elements()) {
    const std::string query = beacon["query"].stringValue().value_or("");
    result.push_back(beacon["path"].stringValue().value_or("") + (query.empty() ? "" : "?" + query));
  }
  return result;
}

testing::AssertionResult haveArrived(const std::vector<std::string>& beacons,
                                     std::vector<std::string> expected) {
  // The first frame of an ad behind two wrappers fires seven beacons at once.
  constexpr std::ptrdiff_t kMostOvertaken = 6;
  const testing::AssertionResult failure = testing::AssertionFailure()
                                           << testing::PrintToString(beacons) << "\nrather than\n"
                                           << testing::PrintToString(expected);
  if (beacons.size() != expected.size()) return failure;
  for (auto at = expected.begin(); const std::string& beacon : beacons) {
    const auto first = at - std::min(kMostOvertaken, at - expected.begin());
    const auto end = at + std::min(kMostOvertaken + 1, expected.end() - at);
    const auto found = std::find(first, end, beacon);
    if (found == end) return failure;
    found->clear();
    ++at;
  }
  return testing::AssertionSuccess();
}

}  // namespace vemora::test
