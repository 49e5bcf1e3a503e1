#include "FailureRecordings.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <utility>

namespace vemora::check {

namespace {

constexpr double kMicrosecondsPerSecond = 1e6;

using Members = std::vector<JsonValue::Entry>;

/// One thing that happened, as the members of its record.
struct Happening {
  double at;
  Members members;
};

Members message(const char* direction, JsonValue body) {
  return {{"kind", "message"}, {"session", 1}, {"direction", direction}, {"body", std::move(body)}};
}

Members pageEvent(const char* event, const JsonValue& url = {}) {
  Members members = {{"kind", "page"}, {"session", 1}, {"event", event}};
  if (!url.isNull()) members.push_back({"url", url});
  return members;
}

Members logLine(const std::string& text) {
  return {{"kind", "log"}, {"level", "log"}, {"text", text}};
}

JsonValue bodyOf(const Call& call) {
  Members body = {{"jsonrpc", "2.0"}};
  if (!call.id.empty()) body.push_back({"id", call.id});
  if (!call.method.empty()) body.push_back({"method", call.method});
  if (!call.params.isNull()) body.push_back({"params", call.params});
  return JsonValue::object(std::move(body));
}

std::vector<Happening> happeningsOf(const Transcript& transcript, const std::string& address) {
  std::vector<Happening> all = {{0, pageEvent("loading", address)}};
  if (transcript.loadedAt) all.push_back({*transcript.loadedAt, pageEvent("finished")});
  for (const Phase& phase : transcript.phases) all.push_back({phase.at, logLine("the check: " + phase.name)});
  for (const Call& call : transcript.calls) all.push_back({call.at, message("toPage", bodyOf(call))});
  for (const Post& post : transcript.posts) {
    const bool isLine = post.handler == Post::Handler::Log;
    all.push_back(
        {post.at, isLine ? logLine("JS LOG - " + shown(post.body)) : message("fromPage", post.body)});
  }
  if (!transcript.gone.empty()) all.push_back({transcript.end, pageEvent("terminated")});
  std::stable_sort(all.begin(), all.end(),
                   [](const Happening& a, const Happening& b) { return a.at < b.at; });
  all.push_back({transcript.end, {{"kind", "end"}}});
  return all;
}

/// The session as it was up to a time.
Transcript upTo(const Transcript& transcript, double time) {
  Transcript part = transcript;
  const auto isLater = [time](const auto& each) { return each.at > time; };
  std::erase_if(part.phases, isLater);
  std::erase_if(part.calls, isLater);
  std::erase_if(part.posts, isLater);
  if (part.loadedAt && *part.loadedAt > time) part.loadedAt.reset();
  if (time < part.end) part.gone.clear();
  part.end = std::min(part.end, time);
  return part;
}

bool fails(const Rule& rule, const Transcript& transcript) {
  return rule.judge(transcript).outcome == Outcome::Fail;
}

void write(const std::filesystem::path& file, const std::string& text) {
  std::ofstream stream(file, std::ios::binary);
  stream << text;
  stream.close();
  if (!stream) throw std::runtime_error("cannot write '" + file.string() + "'");
}

}  // namespace

std::size_t SessionRecording::lineAt(double at) const {
  std::size_t number = 1;
  for (const Line& line : lines) {
    if (line.at > at) break;
    number = line.number;
    if (line.at == at) break;
  }
  return number;
}

SessionRecording recordingOf(const Transcript& transcript, const std::string& address) {
  SessionRecording recording;
  // The ad request is the check's own or comes from a file of the developer's: nothing is left out.
  recording.text = R"({"format":"vemora-inspect","version":1,"redacted":false})";
  recording.text += '\n';
  for (Happening& happening : happeningsOf(transcript, address)) {
    Members members = {{"t", std::llround(happening.at * kMicrosecondsPerSecond)}};
    std::move(happening.members.begin(), happening.members.end(), std::back_inserter(members));
    recording.text += JsonValue::object(std::move(members)).serialized().value_or("{}") + "\n";
    recording.lines.push_back({happening.at, recording.lines.size() + 2});
  }
  return recording;
}

std::optional<double> brokenAt(const Rule& rule, const Transcript& transcript) {
  std::set<double> times;
  for (const Call& call : transcript.calls) times.insert(call.at);
  for (const Post& post : transcript.posts) times.insert(post.at);
  std::optional<double> broken;
  for (auto time = times.rbegin(); time != times.rend(); ++time) {
    if (!fails(rule, upTo(transcript, *time))) return broken.value_or(transcript.end);
    broken = *time;
  }
  return std::nullopt;
}

void recordFailures(std::span<const Transcript> transcripts, const std::string& address,
                    const std::filesystem::path& folder, std::vector<Finding>& findings) {
  std::filesystem::create_directories(folder);
  for (const Transcript& transcript : transcripts) {
    const SessionRecording recording = recordingOf(transcript, address);
    const std::filesystem::path file = folder / (transcript.session + ".jsonl");
    bool isBroken = false;
    for (Finding& finding : findings) {
      if (finding.outcome != Outcome::Fail || !fails(*finding.rule, transcript)) continue;
      isBroken = true;
      const auto moment = brokenAt(*finding.rule, transcript);
      const std::string line = moment ? ":" + std::to_string(recording.lineAt(*moment)) : "";
      finding.places.push_back(file.string() + line);
    }
    if (isBroken) write(file, recording.text);
  }
}

}  // namespace vemora::check
