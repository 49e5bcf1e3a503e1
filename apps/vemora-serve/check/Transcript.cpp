#include "Transcript.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

namespace vemora::check {

namespace {

constexpr std::size_t kShownLength = 80;

/// Cuts before a byte that continues a character.
std::string cut(std::string text) {
  if (text.size() <= kShownLength) return text;
  std::size_t end = kShownLength;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "...";
}

/// Also from text, "4.5" or "00:00:04.5": a page that sends text breaks one rule and is still judged by the
/// others.
double secondsIn(const JsonValue& duration) {
  if (isNumber(duration)) return std::max(duration.doubleValue(), 0.0);
  double seconds = 0;
  std::istringstream parts(duration.stringValue().value_or(""));
  for (std::string part; std::getline(parts, part, ':');)
    seconds = seconds * 60 + JsonValue(part).doubleValue();
  return std::isfinite(seconds) ? std::max(seconds, 0.0) : 0;
}

}  // namespace

bool isMessage(const Post& post) {
  return post.handler == Post::Handler::Messages && post.body.isObject();
}

bool isReply(const Post& post) {
  return isMessage(post) && (!post.body["result"].isNull() || !post.body["error"].isNull());
}

bool isControl(const Call& call) {
  return call.method.starts_with("control.");
}

std::vector<Notification> notificationsOf(const Transcript& transcript, std::string_view method) {
  std::vector<Notification> found;
  for (const Post& post : transcript.posts) {
    if (isMessage(post) && post.body["method"].asString() == method && !isReply(post)) {
      found.push_back({post.at, post.body["params"]});
    }
  }
  return found;
}

std::vector<Event> eventsOf(const Transcript& transcript) {
  std::vector<Event> events;
  for (const Notification& message : notificationsOf(transcript, "event")) {
    const JsonValue name = message.params["event"];
    events.push_back({message.at, VemoraAdEventFromNSString(name.asString().value_or("")),
                      name.isString() ? std::string(*name.asString()) : shown(name), message.params["id"],
                      message.params["data"]});
  }
  return events;
}

const Post* replyTo(const Transcript& transcript, const Call& call) {
  if (call.id.empty()) return nullptr;
  const auto found = std::find_if(transcript.posts.begin(), transcript.posts.end(), [&](const Post& post) {
    return post.at >= call.at && isReply(post) && post.body["id"].asString() == std::string_view(call.id);
  });
  return found == transcript.posts.end() ? nullptr : &*found;
}

const Call* callOf(const Transcript& transcript, std::string_view method) {
  const auto found = std::find_if(transcript.calls.begin(), transcript.calls.end(),
                                  [&](const Call& call) { return call.method == method; });
  return found == transcript.calls.end() ? nullptr : &*found;
}

JsonValue adList(const Transcript& transcript) {
  const Call* const call = callOf(transcript, "get.ads");
  const Post* const reply = call ? replyTo(transcript, *call) : nullptr;
  return reply ? reply->body["result"]["data"]["adgroup"]["ads"] : JsonValue();
}

std::optional<double> adsAnsweredAt(const Transcript& transcript) {
  const Call* const call = callOf(transcript, "get.ads");
  const Post* const reply = call ? replyTo(transcript, *call) : nullptr;
  return reply ? std::optional(reply->at) : std::nullopt;
}

double durationOf(const Transcript& transcript, std::string_view adId) {
  const JsonValue ads = adList(transcript);
  for (const JsonValue& ad : ads.elements()) {
    if (ad["id"].asString() == adId) return secondsIn(ad["duration"]);
  }
  return 0;
}

double totalDuration(const Transcript& transcript) {
  double total = 0;
  const JsonValue ads = adList(transcript);
  for (const JsonValue& ad : ads.elements()) total += secondsIn(ad["duration"]);
  return total;
}

std::optional<double> endedAt(const Transcript& transcript) {
  for (const Event& event : eventsOf(transcript)) {
    if (event.value == AdGroupEnd || event.value == AdError) return event.at;
  }
  return std::nullopt;
}

std::string phaseAt(const Transcript& transcript, double at) {
  const auto next = std::find_if(transcript.phases.begin(), transcript.phases.end(),
                                 [&](const Phase& phase) { return phase.at > at; });
  return next == transcript.phases.begin() ? std::string() : " " + std::prev(next)->name;
}

bool isNumber(const JsonValue& value) {
  return value.isNumber() && value.type() != JsonValue::Type::Boolean;
}

std::string shown(const JsonValue& value) {
  return cut(value.serialized().value_or("a value that JSON cannot represent"));
}

std::string inSeconds(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f s", seconds);
  return text;
}

}  // namespace vemora::check
