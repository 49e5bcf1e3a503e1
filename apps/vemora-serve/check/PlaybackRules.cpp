#include "Rules.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <map>
#include <set>

namespace vemora::check {

namespace {

/// The limit for the event that follows a command, and for its media to react.
constexpr double kReporting = 2;
constexpr double kSettling = 1;
/// The limit for a command that ends an ad or the group.
constexpr double kEnding = 5;
/// How far the time of a paused ad may still advance.
constexpr double kStill = 0.05;

constexpr char kNotStarted[] = "the group was not started";
constexpr char kNotPlaying[] = "no ad was playing";

bool startWasSent(const Transcript& t) {
  return callOf(t, "control.start") != nullptr;
}

/// True for events of one ad; the others belong to the group.
bool isOfAnAd(VemoraAdEvent event) {
  return event != AdUnknown && event != AdGroupStart && event != AdGroupEnd && event != AdError &&
         event != AdLog;
}

std::string nameOf(const Event& event) {
  return event.name + " of " + shown(event.id);
}

// What the page reports

Verdict eventNames(const Transcript& t) {
  Findings findings;
  for (const Event& event : eventsOf(t)) {
    findings.look();
    if (event.value == AdUnknown) findings.add(shown(JsonValue(event.name)) + " is not a known event");
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

Verdict quartilesInTime(const Transcript& t) {
  // From the first quartile to the end it takes three quarters of the duration. Late events are common; half
  // of that is not.
  constexpr double kSmallestShare = 0.375;
  Findings findings;
  const std::vector<Event> events = eventsOf(t);
  for (const auto& [id, places] : placesByAd(events)) {
    const auto first = places.find(AdVideoFirstQuartile);
    const auto last = places.find(AdVideoComplete);
    if (first == places.end() || last == places.end()) continue;
    const double duration = durationOf(t, events[first->second].id.asString().value_or(""));
    if (duration < 1) continue;
    findings.look();
    const double span = events[last->second].at - events[first->second].at;
    if (span < kSmallestShare * duration) {
      findings.add("AdVideoComplete of " + id + " came " + inSeconds(span) +
                   " after its first quartile, in an ad of " + inSeconds(duration));
    }
  }
  return findings.verdict("no ad was completed");
}

/// AdImpression comes while the ad is on, and AdStopped before the next one, however it ended.
void judgeLife(std::span<const Event> events, std::size_t started, VemoraAdEvent what, Findings& findings) {
  const std::string id = shown(events[started].id);
  for (const Event& event : events.subspan(started + 1)) {
    // An ad that fails at the end of its group reports the error instead.
    if (event.value == AdError) return;
    if (event.value == what && shown(event.id) == id) return findings.look();
    if (event.value == AdStarted || event.value == AdGroupEnd) {
      return findings.add(NSStringFromVemoraAdEvent(what) + " of " + id + " was missing when " +
                          nameOf(event) + " came");
    }
  }
}

Verdict judgeLives(const Transcript& t, VemoraAdEvent what) {
  Findings findings;
  const std::vector<Event> events = eventsOf(t);
  for (std::size_t i = 0; i < events.size(); ++i) {
    if (events[i].value == AdStarted) judgeLife(events, i, what, findings);
  }
  return findings.verdict("no ad was played to its end");
}

Verdict impressions(const Transcript& t) {
  return judgeLives(t, AdImpression);
}

Verdict stops(const Transcript& t) {
  return judgeLives(t, AdStopped);
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

/// The time of the current ad.
struct AdTime {
  std::string id;
  double startedAt = 0;
  double duration = 0;  ///< 0 when it is not known.
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
  // Containers and clocks round differently.
  const double most = ad.duration + std::max(1.0, 0.1 * ad.duration);
  if (ad.duration > 0 && time > most) {
    findings.add("it is " + inSeconds(time) + " in " + ad.id + ", an ad of " + inSeconds(ad.duration));
  }
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
      if (ad.isStuck && event.at - ad.startedAt > kReporting) findings.add("it did not move in " + ad.id);
      ad = {shown(event.id), event.at, durationOf(t, event.id.asString().value_or("")), 0, begins};
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

/// When the first ad began to play.
std::optional<double> firstStartOf(const std::vector<Event>& events) {
  const auto started =
      std::find_if(events.begin(), events.end(), [](const Event& event) { return event.value == AdStarted; });
  return started == events.end() ? std::nullopt : std::optional(started->at);
}

/// A command without "background" sets the state of the ad; the background pair restores the state before.
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

bool wasSent(const std::vector<Event>& events, VemoraAdEvent what, double from, double to) {
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
      // An ad without an earlier time has just begun.
      moved = std::max(moved, isFirst ? kSettling : event.data.doubleValue() - start->second);
    }
  }
  return moved;
}

void judgePause(const std::vector<Event>& events, const Command& command, const std::string& name,
                Findings& findings) {
  findings.look();
  const double from = command.call->at;
  const double within = std::min(from + kReporting, command.until);
  if (command.playedBefore && !wasSent(events, AdPaused, from, within)) {
    findings.add("no AdPaused followed " + name);
  }
  const double moved = movement(events, from + kSettling, command.until);
  if (moved > kStill) findings.add("the time moved on by " + inSeconds(moved) + " after " + name);
}

void judgeResume(const std::vector<Event>& events, const Command& command, const std::string& name,
                 Findings& findings) {
  findings.look();
  const double from = command.call->at;
  if (!wasSent(events, AdPlaying, from, std::min(from + kReporting, command.until))) {
    findings.add("no AdPlaying followed " + name);
  }
  if (command.until - from >= kReporting && movement(events, from, command.until) <= kStill) {
    findings.add("the time did not move after " + name);
  }
}

void judgeStillness(const std::vector<Event>& events, const Command& command, Findings& findings) {
  findings.look();
  const bool played = wasSent(events, AdPlaying, command.call->at, command.until) ||
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
    {"event-names", "Event names are known ones, in any letter case", eventNames,
     "use the event names of the protocol"},
    {"event-ids", "Events of an ad carry an id from the list of ads", eventIds,
     "copy the \"id\" from the list of ads"},
    {"ads-play", "An ad begins after \"control.start\"", adsPlay,
     "start the first ad on \"control.start\"; look for media errors in the log (--verbose)", nullptr},
    {"group-start-first", "AdGroupStart is the first event after \"control.start\", once", groupStartFirst,
     "send AdGroupStart once, before all other events"},
    {"group-ends", "The group ends with AdGroupEnd, without AdError", groupEnds,
     "send AdGroupEnd after the last ad, also when ads fail"},
    {"group-end-last", "Nothing follows AdGroupEnd or AdError, which comes once", groupEndLast,
     "send all other events before AdGroupEnd, and stop timers there"},
    {"play-order", "Ads start in the order of their indexes", playOrder,
     "sort the ads by \"index\" before they play"},
    {"events-once", "AdStarted, AdVideoComplete and similar events come once for each ad", onceEach,
     "remember which events each ad has sent"},
    {"started-first", "AdStarted comes before all that happens in its ad", startedFirst,
     "send AdStarted with the first frame, before all others"},
    {"quartiles", "An ad that completes has sent its quartiles, in order", quartiles,
     "derive the quartiles from the playback position, and send those that a jump passed over", "play"},
    {"quartiles-in-time", "The quartiles of an ad come while it plays, not all at its end", quartilesInTime,
     "send each quartile when the position reaches it", "play"},
    {"impression", "Each ad that starts sends AdImpression", impressions, "send AdImpression with AdStarted"},
    {"ad-stopped", "Each ad that starts sends AdStopped before the next one or the end", stops,
     "send AdStopped after an ad completes, is skipped, is closed, is stopped or fails"},
    {"time-rises", "AdTimeChange brings seconds that rise while an ad plays, up to its duration", timeRises,
     "send the position in seconds, a JSON number from 0 to the ad's duration, about four times a second"},
    {"pause", "\"control.pause\" sends AdPaused, and the time stops", pauses,
     "pause the media, then send AdPaused", "controls"},
    {"resume", "\"control.resume\" sends AdPlaying, and the time advances", resumes,
     "play the media, then send AdPlaying", "controls"},
    {"background-pause", "A pause for the background sends AdPaused, and the time stops", backgroundPauses,
     "treat \"data\".\"background\" as a pause, and remember whether the ad played", "controls"},
    {"background-resume", "A resume from the background restores what the ad did before", backgroundResumes,
     "resume only if the ad played before the background pause", "controls"},
    {"skip", "\"control.skip\" ends the ad with AdSkipped, or gets an error", skips,
     "leave the ad and send AdSkipped, or answer with an error", "controls"},
    {"stop", "\"control.stop\" ends the group within 5 seconds", stopEnds,
     "stop the media, then send AdStopped and AdGroupEnd", "robustness"},
    {"close", "\"control.close\" ends the group within 5 seconds", closeEnds,
     "send AdUserClose, AdStopped and AdGroupEnd", "controls"},
};

}  // namespace

std::span<const Rule> playbackRules() {
  return kRules;
}

}  // namespace vemora::check
