#include "Rules.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <map>
#include <set>

namespace vemora::check {

namespace {

/// How soon a page tells of what a command did, and how long its media may take to obey.
constexpr double kTelling = 2;
constexpr double kSettling = 1;
/// How soon a command that ends an ad or the group has done so.
constexpr double kEnding = 5;
/// What the time may still move by in an ad that counts as paused.
constexpr double kStill = 0.05;

constexpr char kNotStarted[] = "the group was not started";
constexpr char kNotPlaying[] = "no ad was playing";

bool startWasSent(const Transcript& t) {
  return callOf(t, "control.start") != nullptr;
}

/// The events that tell of one ad; the rest tell of the group.
bool isOfAnAd(VemoraAdEvent event) {
  return event != AdUnknown && event != AdGroupStart && event != AdGroupEnd && event != AdError &&
         event != AdLog;
}

std::string nameOf(const Event& event) {
  return event.name + " of " + shown(event.id);
}

// What the page tells

Verdict eventNames(const Transcript& t) {
  Findings findings;
  for (const Event& event : eventsOf(t)) {
    findings.look();
    if (event.value == AdUnknown) findings.add(shown(JsonValue(event.name)) + " is no event");
  }
  return findings.verdict("there was no event");
}

Verdict eventIds(const Transcript& t) {
  Findings findings;
  const JsonValue ads = adList(t);
  for (const Event& event : eventsOf(t)) {
    if (!isOfAnAd(event.value)) continue;
    findings.look();
    const bool known = std::any_of(ads.elements().begin(), ads.elements().end(), [&](const JsonValue& ad) {
      return event.id.isString() && ad["id"] == event.id;
    });
    if (!known) findings.add(event.name + " has the id " + shown(event.id));
  }
  return findings.verdict("there was no event of an ad");
}

Verdict groupStartFirst(const Transcript& t) {
  if (!startWasSent(t)) return {Outcome::Skip, kNotStarted};
  const std::vector<Event> events = eventsOf(t);
  if (events.empty()) return {Outcome::Fail, "there was no event after control.start"};
  if (events.front().value == AdError)
    return {Outcome::Skip, "the group failed: " + shown(events.front().data)};
  if (events.front().at < callOf(t, "control.start")->at) {
    return {Outcome::Fail, nameOf(events.front()) + " came before control.start"};
  }
  if (events.front().value != AdGroupStart) return {Outcome::Fail, nameOf(events.front()) + " came first"};
  const auto again = std::find_if(std::next(events.begin()), events.end(),
                                  [](const Event& event) { return event.value == AdGroupStart; });
  return again == events.end() ? Verdict{} : Verdict{Outcome::Fail, "it came twice"};
}

Verdict groupEnds(const Transcript& t) {
  if (!startWasSent(t)) return {Outcome::Skip, kNotStarted};
  if (!endedAt(t))
    return {Outcome::Fail, "there was neither AdGroupEnd nor AdError within " + inSeconds(t.end)};
  for (const Event& event : eventsOf(t)) {
    if (event.value == AdError) return {Outcome::Fail, "AdError: " + shown(event.data)};
    if (event.value == AdGroupEnd) break;
  }
  return {};
}

Verdict groupEndLast(const Transcript& t) {
  const std::optional<double> ended = endedAt(t);
  if (!ended) return {Outcome::Skip, "the group did not end"};
  const std::vector<Event> events = eventsOf(t);
  const auto end = std::find_if(events.begin(), events.end(), [](const Event& event) {
    return event.value == AdGroupEnd || event.value == AdError;
  });
  const auto after = std::next(end);
  return after == events.end() ? Verdict{} : Verdict{Outcome::Fail, nameOf(*after) + " came after it"};
}

/// The events of each ad that may come once.
std::map<std::string, std::map<VemoraAdEvent, std::size_t>> placesByAd(const std::vector<Event>& events) {
  std::map<std::string, std::map<VemoraAdEvent, std::size_t>> places;
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (isOfAnAd(events[i].value)) places[shown(events[i].id)].try_emplace(events[i].value, i);
  }
  return places;
}

Verdict onceEach(const Transcript& t) {
  Findings findings;
  std::set<std::pair<std::string, VemoraAdEvent>> seen;
  for (const Event& event : eventsOf(t)) {
    switch (event.value) {
      case AdStarted:
      case AdImpression:
      case AdVideoStart:
      case AdVideoFirstQuartile:
      case AdVideoMidpoint:
      case AdVideoThirdQuartile:
      case AdVideoComplete:
      case AdSkipped:
      case AdStopped:
        findings.look();
        if (!seen.emplace(shown(event.id), event.value).second) findings.add(nameOf(event) + " came twice");
        break;
      default:
        break;
    }
  }
  return findings.verdict("no ad was started");
}

Verdict startedFirst(const Transcript& t) {
  Findings findings;
  for (const auto& [id, places] : placesByAd(eventsOf(t))) {
    const auto started = places.find(AdStarted);
    if (started != places.end()) findings.look();
    for (const VemoraAdEvent event : {AdVideoFirstQuartile, AdVideoMidpoint, AdVideoThirdQuartile,
                                      AdVideoComplete, AdTimeChange, AdPaused, AdPlaying, AdStopped}) {
      const auto place = places.find(event);
      if (place == places.end()) continue;
      if (started == places.end() || place->second < started->second) {
        findings.add(NSStringFromVemoraAdEvent(event) + " of " + id + " came before AdStarted");
      }
    }
  }
  return findings.verdict("no ad was started");
}

Verdict quartiles(const Transcript& t) {
  constexpr std::array kOrder{AdVideoFirstQuartile, AdVideoMidpoint, AdVideoThirdQuartile, AdVideoComplete};
  Findings findings;
  for (const auto& [id, places] : placesByAd(eventsOf(t))) {
    if (!places.contains(AdVideoComplete)) continue;
    findings.look();
    for (std::size_t i = 0; i + 1 < kOrder.size(); ++i) {
      const auto place = places.find(kOrder[i]);
      const auto next = places.find(kOrder[i + 1]);
      if (place == places.end()) {
        findings.add(id + " was completed without " + NSStringFromVemoraAdEvent(kOrder[i]));
      } else if (next != places.end() && next->second < place->second) {
        findings.add(NSStringFromVemoraAdEvent(kOrder[i + 1]) + " of " + id + " came before " +
                     NSStringFromVemoraAdEvent(kOrder[i]));
      }
    }
  }
  return findings.verdict("no ad was completed");
}

Verdict playOrder(const Transcript& t) {
  std::map<std::string, double> indexes;
  const JsonValue ads = adList(t);
  for (const JsonValue& ad : ads.elements()) indexes[shown(ad["id"])] = ad["index"].doubleValue();
  Findings findings;
  double before = -std::numeric_limits<double>::infinity();
  for (const Event& event : eventsOf(t)) {
    const auto index = indexes.find(shown(event.id));
    if (event.value != AdStarted || index == indexes.end()) continue;
    findings.look();
    if (index->second < before) findings.add(nameOf(event) + " came after one of a later index");
    before = index->second;
  }
  return findings.verdict("no ad was started");
}

Verdict adsPlay(const Transcript& t) {
  if (!startWasSent(t)) return {Outcome::Skip, kNotStarted};
  const std::vector<Event> events = eventsOf(t);
  const bool started =
      std::any_of(events.begin(), events.end(), [](const Event& event) { return event.value == AdStarted; });
  return started ? Verdict{} : Verdict{Outcome::Fail, "no ad was started after control.start"};
}

/// The time of the ad that is on.
struct AdTime {
  std::string id;
  double startedAt = 0;
  double last = 0;
  bool isStuck = false;
};

void judgeTime(const Event& event, AdTime& ad, Findings& findings) {
  if (!event.data.isNull() && !isNumber(event.data)) {
    findings.add("\"data\" of " + nameOf(event) + " is " + shown(event.data));
    ad.isStuck = false;
    return;
  }
  const double time = event.data.doubleValue();
  if (time < ad.last) {
    findings.add("it fell from " + inSeconds(ad.last) + " to " + inSeconds(time) + " in " + ad.id);
  }
  if (time > 0) ad.isStuck = false;
  ad.last = time;
}

Verdict timeRises(const Transcript& t) {
  Findings findings;
  AdTime ad;
  for (const Event& event : eventsOf(t)) {
    const bool begins = event.value == AdStarted;
    if (begins || event.value == AdStopped || event.value == AdGroupEnd) {
      if (ad.isStuck && event.at - ad.startedAt > kTelling) findings.add("it did not move in " + ad.id);
      ad = {shown(event.id), event.at, 0, begins};
    }
    if (begins) findings.look();
    if (event.value == AdTimeChange) judgeTime(event, ad, findings);
  }
  return findings.verdict("no ad was started");
}

// What commands do

/// A pause or a resume that came while an ad was on, with what it should have done.
struct Command {
  const Call* call = nullptr;
  bool playedBefore = false;
  bool playsAfter = false;
  double until = 0;  ///< The next command, or the end.

  [[nodiscard]] bool isBackground() const { return call->params["data"]["background"].boolValue(); }
  [[nodiscard]] bool isPause() const { return call->method == "control.pause"; }
};

/// When the first ad was seen to play.
std::optional<double> firstStartOf(const std::vector<Event>& events) {
  const auto started =
      std::find_if(events.begin(), events.end(), [](const Event& event) { return event.value == AdStarted; });
  return started == events.end() ? std::nullopt : std::optional(started->at);
}

/// Follows the rule that a plain command says what the ad does, and that the background pair gives back what
/// it did before.
std::vector<Command> pausesAndResumes(const Transcript& t) {
  std::vector<Command> commands;
  const std::vector<Event> events = eventsOf(t);
  const std::optional<double> started = firstStartOf(events);
  const double last = endedAt(t).value_or(t.end);
  bool plays = true;
  bool isInBackground = false;
  bool playsAfterBackground = false;
  for (const Call& call : t.calls) {
    if (!isControl(call) || !started || call.at < *started || call.at > last) continue;
    if (!commands.empty() && commands.back().until > call.at) commands.back().until = call.at;
    if (call.method != "control.pause" && call.method != "control.resume") continue;
    Command command{&call, plays, plays, last};
    if (command.isPause()) {
      if (!command.isBackground()) {
        playsAfterBackground = false;
      } else if (!isInBackground) {
        playsAfterBackground = plays;
        isInBackground = true;
      }
      command.playsAfter = false;
    } else {
      if (!command.isBackground()) {
        command.playsAfter = true;
      } else if (isInBackground) {
        command.playsAfter = playsAfterBackground;
      }
      isInBackground = false;
    }
    plays = command.playsAfter;
    commands.push_back(command);
  }
  return commands;
}

bool isTold(const std::vector<Event>& events, VemoraAdEvent what, double from, double to) {
  return std::any_of(events.begin(), events.end(), [&](const Event& event) {
    return event.value == what && event.at >= from && event.at <= to;
  });
}

/// The largest step that the time of an ad took within a span, counted from its last value before.
double movement(const std::vector<Event>& events, double from, double to) {
  std::map<std::string, double> base;
  double moved = 0;
  for (const Event& event : events) {
    if (event.value != AdTimeChange || event.at > to) continue;
    const auto [start, isFirst] = base.try_emplace(shown(event.id), event.data.doubleValue());
    if (event.at <= from) {
      start->second = event.data.doubleValue();
    } else {
      // An ad of which nothing was heard before has begun, whatever its time.
      moved = std::max(moved, isFirst ? kSettling : event.data.doubleValue() - start->second);
    }
  }
  return moved;
}

void judgePause(const std::vector<Event>& events, const Command& command, const std::string& name,
                Findings& findings) {
  findings.look();
  const double from = command.call->at;
  const double within = std::min(from + kTelling, command.until);
  if (command.playedBefore && !isTold(events, AdPaused, from, within)) {
    findings.add("no AdPaused followed " + name);
  }
  const double moved = movement(events, from + kSettling, command.until);
  if (moved > kStill) findings.add("the time moved on by " + inSeconds(moved) + " after " + name);
}

void judgeResume(const std::vector<Event>& events, const Command& command, const std::string& name,
                 Findings& findings) {
  findings.look();
  const double from = command.call->at;
  if (!isTold(events, AdPlaying, from, std::min(from + kTelling, command.until))) {
    findings.add("no AdPlaying followed " + name);
  }
  if (command.until - from >= kTelling && movement(events, from, command.until) <= kStill) {
    findings.add("the time did not move after " + name);
  }
}

void judgeStillness(const std::vector<Event>& events, const Command& command, Findings& findings) {
  findings.look();
  const bool played = isTold(events, AdPlaying, command.call->at, command.until) ||
                      movement(events, command.call->at, command.until) > kStill;
  if (played) findings.add("an ad that was paused before the background pause was resumed");
}

Verdict pauses(const Transcript& t) {
  Findings findings;
  const std::vector<Event> events = eventsOf(t);
  for (const Command& command : pausesAndResumes(t)) {
    if (command.isPause() && !command.isBackground()) judgePause(events, command, "control.pause", findings);
  }
  return findings.verdict(kNotPlaying);
}

Verdict resumes(const Transcript& t) {
  Findings findings;
  const std::vector<Event> events = eventsOf(t);
  for (const Command& command : pausesAndResumes(t)) {
    if (command.isPause() || command.isBackground() || command.playedBefore) continue;
    judgeResume(events, command, "control.resume", findings);
  }
  return findings.verdict(kNotPlaying);
}

Verdict backgroundPauses(const Transcript& t) {
  Findings findings;
  const std::vector<Event> events = eventsOf(t);
  for (const Command& command : pausesAndResumes(t)) {
    if (command.isPause() && command.isBackground()) judgePause(events, command, "the pause", findings);
  }
  return findings.verdict(kNotPlaying);
}

Verdict backgroundResumes(const Transcript& t) {
  Findings findings;
  const std::vector<Event> events = eventsOf(t);
  for (const Command& command : pausesAndResumes(t)) {
    if (command.isPause() || !command.isBackground()) continue;
    if (command.playsAfter) {
      judgeResume(events, command, "the resume", findings);
    } else {
      judgeStillness(events, command, findings);
    }
  }
  return findings.verdict(kNotPlaying);
}

Verdict skips(const Transcript& t) {
  Findings findings;
  const std::vector<Event> events = eventsOf(t);
  for (const Call& call : t.calls) {
    if (call.method != "control.skip" || endedAt(t).value_or(t.end) < call.at) continue;
    findings.look();
    const Post* const reply = replyTo(t, call);
    if (reply && !reply->body["error"].isNull()) continue;
    const auto skipped = std::find_if(events.begin(), events.end(), [&](const Event& event) {
      return event.value == AdSkipped && event.at >= call.at && event.at <= call.at + kEnding;
    });
    if (skipped == events.end()) {
      findings.add("neither AdSkipped nor an error followed");
      continue;
    }
    const bool goesOn = std::any_of(events.begin(), events.end(), [&](const Event& event) {
      return event.value == AdTimeChange && event.id == skipped->id && event.at > skipped->at + kSettling;
    });
    if (goesOn) findings.add(shown(skipped->id) + " played on after AdSkipped");
  }
  return findings.verdict(kNotPlaying);
}

Verdict endsAfter(const Transcript& t, std::string_view method) {
  const Call* const call = callOf(t, method);
  const std::optional<double> ended = endedAt(t);
  if (!call || (ended && *ended < call->at)) return {Outcome::Skip, kNotPlaying};
  if (!ended && t.end - call->at < kEnding) return {Outcome::Skip, "the session was cut short"};
  if (!ended || *ended - call->at > kEnding) {
    return {Outcome::Fail, "no AdGroupEnd followed within " + inSeconds(kEnding)};
  }
  return {};
}

Verdict stopEnds(const Transcript& t) {
  return endsAfter(t, "control.stop");
}

Verdict closeEnds(const Transcript& t) {
  return endsAfter(t, "control.close");
}

constexpr Rule kRules[] = {
    {"event-names", "Event names are known ones, in any letter case", eventNames},
    {"event-ids", "Events of an ad carry an id from the list of ads", eventIds},
    {"ads-play", "An ad begins after \"control.start\"", adsPlay},
    {"group-start-first", "AdGroupStart is the first event after \"control.start\", once", groupStartFirst},
    {"group-ends", "The group comes to its AdGroupEnd, without AdError", groupEnds},
    {"group-end-last", "Nothing follows AdGroupEnd or AdError, which comes once", groupEndLast},
    {"play-order", "Ads start in the order of their indexes", playOrder},
    {"events-once", "AdStarted, AdVideoComplete and their like come once for each ad", onceEach},
    {"started-first", "AdStarted comes before all that happens in its ad", startedFirst},
    {"quartiles", "An ad that completes has told its quartiles, in order", quartiles},
    {"time-rises", "AdTimeChange brings numbers that rise while an ad plays", timeRises},
    {"pause", "\"control.pause\" sends AdPaused, and the time stops", pauses},
    {"resume", "\"control.resume\" sends AdPlaying, and the time goes on", resumes},
    {"background-pause", "A pause for the background sends AdPaused, and the time stops", backgroundPauses},
    {"background-resume", "A resume from the background restores what the ad did before", backgroundResumes},
    {"skip", "\"control.skip\" ends the ad with AdSkipped, or gets an error", skips},
    {"stop", "\"control.stop\" ends the group within 5 seconds", stopEnds},
    {"close", "\"control.close\" ends the group within 5 seconds", closeEnds},
};

}  // namespace

std::span<const Rule> playbackRules() {
  return kRules;
}

}  // namespace vemora::check
