#include "Replay.h"

#include "ReplayHost.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string_view>

namespace vemora {

namespace {

constexpr double kMicrosecondsPerSecond = 1e6;

double secondsOf(const Record& record) {
  return static_cast<double>(record.time) / kMicrosecondsPerSecond;
}

/// What the SDK does by itself when it is given the rest.
bool isInput(const Record& record) {
  if (record.is("host") || record.is("application") || record.is("audioRoute") || record.is("visibility"))
    return true;
  if (record.is("message")) return record.text("direction") == "fromPage";
  if (record.is("page"))
    return std::set<std::string>{"finished", "failedProvisional", "failed", "terminated", "window", "alert"}
        .contains(record.text("event"));
  if (record.is("window")) return record.text("state") == "closed";
  if (record.is("stage")) return record.text("state") == "presented" || record.text("state") == "closed";
  if (record.is("beacon")) return record.text("state") != "sent";
  return false;
}

/// What the SDK only does on other threads or on the main queue: all that was given to them before has run.
/// The rest may belong to the call of the host or of the page itself.
bool showsProgress(const Record& record) {
  for (const char* kind :
       {"message", "call", "request", "facts", "start", "unhandled", "ending", "window", "stage", "beacon"})
    if (record.is(kind)) return true;
  return record.is("page", "event", "closed") || record.is("heartbeat", "event", "due");
}

class Replay {
 public:
  Replay(const Recording& recording, testing::ScheduledDispatch& scheduler)
      : recording_(recording), scheduler_(scheduler), host_(recording, scheduler) {}

  ReplayResult run() {
    for (const Record& record : recording_.records) follow(record);
    if (!recording_.records.empty()) settleAt(secondsOf(recording_.records.back()));
    ReplayResult result;
    result.recorded = std::move(recorded_);
    for (const auto& [text, time] : host_.callbacks()) result.replayed.push_back({text, time, 0});
    return result;
  }

 private:
  void follow(const Record& record) {
    if (record.is("page", "event", "noView"))
      throw CannotReplay("line " + std::to_string(record.line) +
                         ": the platform made no web view, which cannot be repeated here");
    if (record.is("callback") && record["delivered"].boolValue()) {
      followCallback(record);
    } else if (!isInput(record)) {
      mustSettle_ = mustSettle_ || showsProgress(record);
    } else if (isRepeated(record)) {
      return;
    } else if (!host_.hasDone(record)) {
      // Also a call from inside a callback that did not come, or nothing after it could be compared.
      apply(record);
    }
  }

  void followCallback(const Record& record) {
    approach(record);
    recorded_.push_back({describeCallback(record.members), secondsOf(record), record.line});
    while (host_.callbacks().size() < recorded_.size() && scheduler_.step()) {
    }
    // It may be a timer's doing that comes due now.
    if (host_.callbacks().size() < recorded_.size()) settleAt(secondsOf(record));
    mustSettle_ = false;
  }

  void apply(const Record& record) {
    approach(record);
    if (mustSettle_) settleAt(secondsOf(record));
    mustSettle_ = false;
    host_.apply(record);
  }

  /// What is due at the very moment of a record comes after it, unless the records before it say otherwise.
  void approach(const Record& record) {
    const double ahead = secondsOf(record) - scheduler_.now();
    if (ahead <= 0) return;
    scheduler_.approach(ahead);
  }

  void settleAt(double moment) { scheduler_.advance(std::max(moment - scheduler_.now(), 0.0)); }

  /// Each session of a process records one change of the whole application.
  bool isRepeated(const Record& record) {
    if (record.is("application"))
      return std::exchange(applicationState_, record.text("state")) == record.text("state");
    if (!record.is("audioRoute")) return false;
    const bool isSame =
        lastRoute_ && lastRoute_->time == record.time && lastRoute_->session != record.session;
    lastRoute_ = record;
    return isSame;
  }

  const Recording& recording_;
  testing::ScheduledDispatch& scheduler_;
  ReplayHost host_;
  std::vector<ReplayResult::Callback> recorded_;
  bool mustSettle_ = false;
  std::string applicationState_;
  std::optional<Record> lastRoute_;
};

}  // namespace

std::optional<std::size_t> ReplayResult::difference() const {
  const std::size_t common = std::min(recorded.size(), replayed.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (recorded[i].text != replayed[i].text) return i;
  }
  return recorded.size() == replayed.size() ? std::nullopt : std::optional(common);
}

ReplayResult replay(const Recording& recording, testing::ScheduledDispatch& scheduler) {
  return Replay(recording, scheduler).run();
}

}  // namespace vemora
