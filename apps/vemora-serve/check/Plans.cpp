#include "Plans.h"

#include <algorithm>

namespace vemora::check {

namespace {

using Condition = std::function<bool(const Transcript&)>;

/// A little longer than the limit, to distinguish a late reply from a missing one.
constexpr double kLoading = 16;
constexpr double kAnswer = 6.5;
/// Time for the media of an ad to load.
constexpr double kMedia = 10;
/// Longer than the largest gap that is allowed between two pings.
constexpr double kLongWait = 4.3;
constexpr double kPaused = 2;
constexpr double kMoment = 0.3;

std::function<double(const Transcript&)> seconds(double value) {
  return [value](const Transcript&) { return value; };
}

JsonValue background() {
  return JsonValue::object({{"data", JsonValue::object({{"background", true}})}});
}

JsonValue backgroundPause() {
  return JsonValue::object(
      {{"data", JsonValue::object({{"background", true}, {"ignorePreviousState", false}})}});
}

bool isOver(const Transcript& t) {
  return endedAt(t).has_value();
}

bool isLastAnswered(const Transcript& t) {
  return !t.calls.empty() && replyTo(t, t.calls.back()) != nullptr;
}

/// The last event of a kind since the last call; null when there was none.
const Event* lastOf(const std::vector<Event>& events, VemoraAdEvent value) {
  const auto found =
      std::find_if(events.rbegin(), events.rend(), [&](const Event& event) { return event.value == value; });
  return found == events.rend() ? nullptr : &*found;
}

bool wasSentSinceLastCall(const Transcript& t, VemoraAdEvent value) {
  const std::vector<Event> events = eventsOf(t);
  const Event* const last = lastOf(events, value);
  return last && last->at >= t.calls.back().at;
}

/// An ad plays on since the last call, and does not end at once.
bool isWellInsideAnAd(const Transcript& t) {
  const std::vector<Event> events = eventsOf(t);
  const Event* const time = lastOf(events, AdTimeChange);
  if (!time || time->at < t.calls.back().at) return isOver(t);
  const double duration = durationOf(t, time->id.asString().value_or(""));
  const double left = duration - time->data.doubleValue();
  // A page with wrong times still gets its commands.
  const bool isNonsense = duration <= 0 || left < -1;
  return isNonsense || left > std::min(1.5, duration / 2) || isOver(t);
}

Condition either(Condition condition) {
  return [condition = std::move(condition)](const Transcript& t) { return condition(t) || isOver(t); };
}

Step command(const char* phase, const char* method, JsonValue params, Condition done, double atMost) {
  return {phase, [method, params = std::move(params)](Conversation& page) { page.send(method, params); },
          std::move(done), seconds(atMost)};
}

Step wait(const char* phase, double atMost) {
  return {phase, {}, isOver, seconds(atMost)};
}

std::vector<Step> loading() {
  return {
      {"while it loads", [](Conversation& page) { page.load(); },
       [](const Transcript& t) { return t.loadedAt.has_value(); }, seconds(kLoading), true},
      {"", [](Conversation& page) { page.probeBridge(); },
       [](const Transcript& t) { return !t.bridgeType.empty(); }, seconds(kAnswer), true},
  };
}

Step askForConfig(Purpose purpose = Purpose::Ordinary) {
  return {"before the ads are requested",
          [purpose](Conversation& page) { page.sendAdRequest("get.config", purpose); }, isLastAnswered,
          seconds(kAnswer)};
}

Step askForAds() {
  return {"before the start", [](Conversation& page) { page.sendAdRequest("get.ads"); }, isLastAnswered,
          seconds(kAnswer), true};
}

Step goOnWithAds() {
  return {"", [](Conversation& page) { page.requireAds(); }, {}, seconds(0)};
}

Step startGroup(Condition done, std::function<double(const Transcript&)> atMost) {
  return {"after the start",
          [](Conversation& page) {
            page.place();
            page.send("control.start");
          },
          either(std::move(done)), std::move(atMost)};
}

Step startAd() {
  return startGroup(
      [](const Transcript& t) { return isLastAnswered(t) && wasSentSinceLastCall(t, AdStarted); },
      seconds(kMedia));
}

Step playOn() {
  return {"while it plays", {}, isWellInsideAnAd, seconds(kMedia)};
}

Step resume(const char* phase, const JsonValue& params = nullptr) {
  return command(phase, "control.resume", params, either([](const Transcript& t) {
                   return isLastAnswered(t) && wasSentSinceLastCall(t, AdPlaying);
                 }),
                 kAnswer);
}

Step endGroup(const char* phase, const char* method) {
  return command(
      phase, method, nullptr, [](const Transcript& t) { return isLastAnswered(t) && isOver(t); }, kAnswer);
}

Plan plan(const char* session, std::vector<std::vector<Step>> parts) {
  Plan result{session, {}};
  for (std::vector<Step>& part : parts) {
    std::move(part.begin(), part.end(), std::back_inserter(result.steps));
  }
  return result;
}

Plan play() {
  const auto wholeGroup = [](const Transcript& t) {
    return totalDuration(t) + kMedia * static_cast<double>(adList(t).count().value_or(0));
  };
  return plan("play",
              {loading(), {askForConfig(), askForAds(), goOnWithAds(), startGroup(isOver, wholeGroup)}});
}

Plan controls() {
  const auto isPausedAgain = [](const Transcript& t) { return isLastAnswered(t) || isOver(t); };
  const auto isSkipped = [](const Transcript& t) {
    if (!isLastAnswered(t)) return false;
    const bool refused = !replyTo(t, t.calls.back())->body["error"].isNull();
    return refused || isOver(t) || (wasSentSinceLastCall(t, AdSkipped) && wasSentSinceLastCall(t, AdStarted));
  };
  return plan("controls",
              {loading(),
               {askForConfig(), askForAds(), goOnWithAds(), startAd(), playOn(),
                command("while it is paused", "control.pause", nullptr, isOver, kPaused),
                resume("after a resume"), playOn(),
                command("while it is in the background", "control.pause", backgroundPause(), isOver, kPaused),
                resume("after the background", background()), playOn(),
                command("while it is paused again", "control.pause", nullptr, isPausedAgain, kAnswer),
                command("while it is paused in the background", "control.pause", backgroundPause(),
                        isPausedAgain, kAnswer),
                command("while it is paused, back from the background", "control.resume", background(),
                        isOver, kPaused),
                resume("after a resume"), playOn(),
                command("after a skip", "control.skip", nullptr, isSkipped, kMedia),
                endGroup("after a close", "control.close")}});
}

Plan waiting() {
  return plan(
      "waiting",
      {loading(),
       {askForConfig(),
        askForAds(),
        goOnWithAds(),
        wait("while it waits for the start", kLongWait),
        startAd(),
        playOn(),
        command("while it is paused", "control.pause", nullptr, either(isLastAnswered), kAnswer),
        {"while it is hidden", [](Conversation& page) { page.setShown(false); }, isOver, seconds(kLongWait)},
        {"while it is shown again", [](Conversation& page) { page.setShown(true); }, isOver,
         seconds(kMoment)},
        resume("after a resume"),
        playOn(),
        endGroup("after a close", "control.close")}});
}

Plan robustness() {
  const auto sendNonsense = [](Conversation& page) {
    for (const char* text : {"", "no message", "null", "[]", "\"text\"", "{\"id\":7,\"method\":[]}"}) {
      page.sendMalformed(text);
    }
  };
  const Step beforeConfig =
      command("before the first request", "control.resume", nullptr, isLastAnswered, kAnswer);
  const Step unknown{"after an unknown method",
                     [](Conversation& page) {
                       page.send("check.unknown", JsonValue::object({{"x", 1}}), Purpose::UnknownMethod);
                     },
                     isLastAnswered, seconds(1)};
  // With a page that does not answer here, every later step would only time out.
  const auto lives = [](const char* method) {
    Step step = command("", method, nullptr, isLastAnswered, kAnswer);
    step.isEssential = true;
    return step;
  };
  return plan("robustness", {loading(),
                             {beforeConfig,
                              askForConfig(Purpose::OddText),
                              askForAds(),
                              goOnWithAds(),
                              unknown,
                              lives("control.pause"),
                              {"after texts that are not messages", sendNonsense, isOver, seconds(kLongWait)},
                              lives("control.resume"),
                              startAd(),
                              endGroup("after a stop", "control.stop")}});
}

}  // namespace

std::vector<Plan> allPlans() {
  return {play(), controls(), waiting(), robustness()};
}

}  // namespace vemora::check
