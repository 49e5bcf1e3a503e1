#include "recording/Hazards.h"

#include "recording/Timeline.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace vemora {

namespace {

constexpr std::int64_t kSecond = 1'000'000;
constexpr std::int64_t kSlowReply = kSecond;
/// The SDK waits for 5 s; a page that pings as it should does so several times in that.
constexpr std::int64_t kPingsLate = 3 * kSecond;
constexpr std::int64_t kHostIsSilent = 5 * kSecond;
constexpr std::int64_t kNotResponding = 5005;

constexpr char kPingAdvice[] =
    "The page has to post {\"method\":\"ping\"} every second or so from the reply to get.ads to its end. See "
    "in its "
    "log whether a script threw an exception, and in the lines before whether its process has ended.";

/// What is known of a session so far.
struct SessionState {
  bool hasAds = false;
  std::set<std::string> ads;
  std::optional<Record> lastPing;
  std::optional<Record> pingsDue;  ///< From here on pings are expected.
  bool isPingReported = false;
  std::optional<Record> loaded;  ///< The load was reported, and the host has not started yet.
  std::map<std::uint64_t, Record> stale;
  std::optional<Record> crash;
  std::string lastPageError;
  bool isOver = false;
};

class Detector {
 public:
  std::vector<Hazard> run(const Recording& recording) {
    for (const Record& record : recording.records) {
      watchClock(record);
      see(record);
    }
    std::stable_sort(hazards_.begin(), hazards_.end(),
                     [](const Hazard& a, const Hazard& b) { return a.line < b.line; });
    return std::move(hazards_);
  }

 private:
  void add(const Record& record, const char* name, std::string says, std::string advice) {
    hazards_.push_back({record.line, record.time, record.session, name, std::move(says), std::move(advice)});
  }

  void see(const Record& record) {
    SessionState& session = sessions_[record.session];
    if (record.is("heartbeat")) return heartbeat(record, session);
    if (record.is("message")) return message(record, session);
    if (record.is("call")) return call(record);
    if (record.is("callback")) return callback(record, session);
    if (record.is("host")) return host(record, session);
    if (record.is("page")) return page(record, session);
    if (record.is("ending")) return ending(record, session);
    if (record.is("beacon", "state", "failed"))
      return add(record, "beacon-failed", "A beacon failed: " + describeError(record["error"]),
                 "The line of the beacon that was sent has its address. Its server has to be reachable from "
                 "this device, with a certificate that the device trusts.");
    if (record.is("start", "state", "deferred") && record["data"].boolValue())
      return add(
          record, "start-data-lost",
          "The start is deferred, since the page is not visible yet, and its data is lost: the start that is "
          "sent later has none.",
          "Start once the view is in a window and has its size, so that the start is sent at once, or put "
          "the "
          "data into the ad request.");
    if (record.is("unhandled")) return unhandled(record);
    if (record.is("held")) return held(record);
    if (record.is("request") && !record["given"].boolValue()) return request(record);
    if (record.is("window")) return window(record);
    if (record.is("stage", "state", "noWindow"))
      return add(record, "no-window",
                 "The interstitial was not shown: the app has no window to present it over.",
                 "Start interstitials while a window of the app is shown.");
    if (record.is("gap"))
      add(record, "records-missing",
          record["count"].stringValue().value_or("?") + " records are missing here.",
          "They came faster than they could be written. What follows may look odd for that reason.");
  }

  void heartbeat(const Record& record, SessionState& session) {
    const JsonValue stale = record["stale"];
    if (!stale.isNull()) {
      session.stale.emplace(stale.unsignedValue(), record);
      add(record, "stale-check",
          "Heartbeat check " + stale.stringValue().value_or("?") +
              " can no longer be cancelled: another one was armed while it ran. When it comes due, it ends "
              "the "
              "session with error 5005, even if the page pings.",
          "It comes from a resume without a suspension before it, such as the app becoming active or a "
          "browser "
          "closing while pings were already watched. See the lines before this one, and load when the app is "
          "active.");
    }
    if (record.is("heartbeat", "event", "suspend")) session.pingsDue.reset();
    const bool isArmed = !record["check"].isNull() && record.text("event") != "due";
    if (isArmed && !session.pingsDue) session.pingsDue = record;
    if (record.is("heartbeat", "event", "due")) session.pingsDue.reset();
  }

  void message(const Record& record, SessionState& session) {
    if (record.text("direction") != "fromPage") return;
    const JsonValue body = record["body"];
    const JsonValue group = body["result"]["data"]["adgroup"]["ads"];
    for (const JsonValue& ad : group.elements()) {
      session.hasAds = true;
      session.ads.insert(ad["id"].stringValue().value_or(""));
    }
    if (const JsonValue error = body["error"]; !error.isNull())
      add(record, "page-error",
          "The page answered with an error: " + error["message"].stringValue().value_or("?"),
          "The text is the page's own. It says what the page could not do.");
    if (body["method"] == JsonValue("ping")) {
      session.lastPing = session.pingsDue = record;
      session.isPingReported = false;
    }
    if (body["method"] == JsonValue("event")) event(record, body["params"], session);
  }

  void event(const Record& record, const JsonValue& params, SessionState& session) {
    const std::string name = params["event"].stringValue().value_or("?");
    const std::string id = params["id"].stringValue().value_or("");
    if (name == "AdError") session.lastPageError = params["data"].stringValue().value_or("");
    if (session.hasAds && !id.empty() && !session.ads.contains(id))
      add(record, "unknown-ad",
          "The page's event " + name + " names the ad \"" + id +
              "\", which is not in the group: the callback comes "
              "without an ad.",
          "The page has to send the ids of its reply to get.ads, with the same type and spelling.");
  }

  void call(const Record& record) {
    const std::string method = record.text("method");
    const std::int64_t latency = record["latency"].integerValue();
    const std::string state = record.text("state");
    if (state == "replied" && latency > kSlowReply)
      add(record, "slow-reply", "The page took " + durationText(latency) + " to reply to " + method + ".",
          "After 5 s without a reply the call fails. See what the page does before it answers, such as "
          "requests of "
          "its own.");
    if (state == "timedOut")
      add(record, "no-reply",
          "The page did not reply to " + method + " within " + durationText(latency) + ".",
          "The page has to answer every call with its id. See in its log whether a script threw an "
          "exception.");
    if (state == "notReady")
      add(record, "page-not-ready", "The page had not loaded within 15 s: " + method + " was not sent.",
          "See in the lines of the page how far it got, and whether its address can be reached from this "
          "device.");
    if (state == "failed")
      add(record, "script-failed",
          "The script that carries " + method + " to the page failed: " + describeError(record["error"]),
          "The page has no working bridge: it did not load, its address answered with something else, or its "
          "process "
          "has ended.");
  }

  void callback(const Record& record, SessionState& session) {
    if (!record["delivered"].boolValue())
      return add(
          record, "no-delegate", record.text("name") + " was not delivered: the delegate no longer existed.",
          "A player holds its delegate weakly. Keep a strong reference for as long as the player is in use.");
    if (record.text("name") != "vemoraDidLoadAds") return;
    if (record["error"].isNull() && record["ads"].integerValue() > 0) session.loaded = record;
  }

  void host(const Record& record, SessionState& session) {
    const std::string call = record.text("call");
    if (call == "start" || call == "shutdown" || call == "release" || call == "load") session.loaded.reset();
    if (call == "shutdown" || call == "release") session.isOver = true;
  }

  void page(const Record& record, SessionState& session) {
    const std::string event = record.text("event");
    if (event == "failed" || event == "failedProvisional")
      add(record, "page-failed", "The page could not be loaded: " + describeError(record["error"]),
          "Open the address of the page in a browser on this device: it has to answer, with a certificate "
          "that the "
          "device trusts.");
    if (event == "noView")
      add(record, "no-web-view", "The platform made no web view, so there is no page.",
          "Run the app where there is a display.");
    if (event != "terminated") return;
    session.crash = record;
    add(record, "process-ended", "The page's process has ended: nothing more comes from it.",
        "The device may be short of memory, or the web view has crashed: see the system's log.");
  }

  void ending(const Record& record, SessionState& session) {
    session.isOver = true;
    session.loaded.reset();
    const JsonValue error = record["error"];
    if (error.isNull()) return;
    if (error["code"].integerValue() == kNotResponding) return notResponding(record, session);
    std::string reason = error["failureReason"].stringValue().value_or(session.lastPageError);
    if (reason.empty()) reason = error["description"].stringValue().value_or("");
    const bool isCors = reason.find("CORS") != std::string::npos ||
                        reason.find("Access-Control-Allow-Origin") != std::string::npos;
    add(record, isCors ? "cors" : "playback-failed",
        "The session ended with error " + error["code"].stringValue().value_or("?") + ": " + reason,
        isCors ? "The server of the ad tag answers, but forbids pages of other origins to read its answers. "
                 "It has to "
                 "send the header Access-Control-Allow-Origin with the page's origin, or \"*\"."
               : "The reason is the page's own. The lines before this one show what it tried.");
  }

  void notResponding(const Record& record, const SessionState& session) {
    std::string says = "The session ended with error 5005, since no ping came in time: ";
    if (!session.lastPing) {
      says += "the page has never pinged.";
    } else {
      says += "the last one came " + durationText(record.time - session.lastPing->time) +
              " before, in line " + std::to_string(session.lastPing->line) + ".";
    }
    const bool pinged = session.lastPing && record.time - session.lastPing->time < kPingsLate;
    if (pinged && !session.stale.empty())
      return add(
          record, "stale-check-fired",
          "The session ended with error 5005 although the page pinged: a stale heartbeat check came due.",
          "See the hazard in line " + std::to_string(session.stale.begin()->second.line) +
              ", where it became stale.");
    if (session.crash)
      return add(record, "not-responding",
                 says + " Its process ended in line " + std::to_string(session.crash->line) + ".",
                 "The page cannot ping without its process: see the hazard in that line.");
    add(record, "not-responding", says, kPingAdvice);
  }

  void unhandled(const Record& record) {
    const std::string method = record.text("method");
    if (method.empty())
      return add(record, "unhandled-message", "The page sent a reply that no call waits for.",
                 "Each call takes one reply with its id, within 5 s. Later ones and others are dropped.");
    add(record, "unhandled-message", "The page sent \"" + method + "\", which nothing in the SDK handles.",
        "The messages of a page are ping, event and window. Check the spelling of the method.");
  }

  void held(const Record& record) {
    const std::string duration = durationText(record["duration"].integerValue());
    const std::string operation = record.text("operation");
    if (record.text("by") == "host")
      return add(record, "main-thread-held",
                 "The host held the main thread for " + duration + " in " + operation + ".",
                 "Do long work of callbacks on another thread: video and interface stand still meanwhile.");
    add(record, "main-thread-held", "The SDK held the main thread for " + duration + " in " + operation + ".",
        "Once, while the first web view is made, is usual. If it repeats, please report it with this "
        "recording.");
  }

  void request(const Record& record) {
    const bool hadDelegate = record["delegate"].boolValue();
    add(record, "no-request",
        hadDelegate ? "The delegate gave no ad request."
                    : "The player has no delegate to ask for its ad request.",
        hadDelegate ? "Return a request from requestForPlayer."
                    : "Set the delegate before load, and keep a strong reference to it.");
  }

  void window(const Record& record) {
    const std::string state = record.text("state");
    if (state == "opened" || state == "closed") return;
    std::string why = record["reason"].stringValue().value_or("");
    if (state == "noWindow") why = "the app has no window to present it over";
    if (state == "unsupported") why = "the address is neither http nor https";
    if (state == "notPresented") why = "something else is presented";
    add(record, "browser-not-opened", "The page asked for the browser, and none opened: " + why + ".",
        "The click leads nowhere. See the address in the line.");
  }

  /// What has not happened for too long when this record comes.
  void watchClock(const Record& now) {
    for (auto& [number, session] : sessions_) {
      if (session.isOver) continue;
      if (session.loaded && now.time - session.loaded->time > kHostIsSilent) {
        add(*session.loaded, "host-silent",
            "The ads have loaded, and the host did not call start for more than 5 s.",
            "Call start in vemoraDidLoadAds, or soon after it: the page waits, and ads become stale.");
        session.loaded.reset();
      }
      const bool isLate = session.pingsDue && now.time - session.pingsDue->time > kPingsLate;
      if (!isLate || session.isPingReported || session.crash) continue;
      session.isPingReported = true;
      add(*session.pingsDue, session.lastPing ? "pings-stopped" : "no-ping-yet",
          session.lastPing
              ? "No ping follows this one for more than 3 s; after 5 s the session ends with error 5005."
              : "Pings are expected from here on, and none comes for more than 3 s; after 5 s the session "
                "ends with error 5005.",
          kPingAdvice);
    }
  }

  std::map<std::uint64_t, SessionState> sessions_;
  std::vector<Hazard> hazards_;
};

}  // namespace

std::vector<Hazard> hazardsOf(const Recording& recording) {
  return Detector().run(recording);
}

}  // namespace vemora
