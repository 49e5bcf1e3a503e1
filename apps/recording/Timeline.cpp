#include "recording/Timeline.h"

#include <cmath>
#include <cstdio>

namespace vemora {

namespace {

std::string textOf(const JsonValue& value) {
  if (auto text = value.stringValue()) return *std::move(text);
  return value.isNull() ? std::string() : value.serialized().value_or("?");
}

/// "name value", with a separator before it; empty without a value.
std::string also(const std::string& before, const JsonValue& value) {
  return value.isNull() ? std::string() : before + textOf(value);
}

std::string message(const Record& record) {
  const JsonValue body = record["body"];
  std::string text = record.text("direction") == "toPage" ? "to page: " : "from page: ";
  if (!body.isObject()) return text + "no message: " + textOf(body);
  const JsonValue method = body["method"];
  text += method.isNull() ? "reply" : textOf(method);
  text += also(" #", body["id"]);
  for (const char* member : {"params", "result", "error"})
    text += also(std::string(" ") + member + " ", body[member]);
  return text;
}

std::string call(const Record& record) {
  const std::string state = record.text("state");
  std::string text = textOf(record["method"]) + also(" #", record["id"]);
  if (state == "sent") return text + " waits for its reply, up to " + textOf(record["timeout"]) + " s";
  if (state == "notReady") return text + " was not sent: the page was not ready";
  const JsonValue latency = record["latency"];
  const std::string after = latency.isNull() ? "" : " after " + durationText(latency.integerValue());
  if (state == "replied") return text + " was answered" + after;
  if (state == "timedOut") return text + " got no reply" + after;
  return text + " failed" + after + ": " + describeError(record["error"]);
}

std::string heartbeat(const Record& record) {
  const std::string event = record.text("event");
  if (event == "due") return "heartbeat check " + textOf(record["check"]) + " comes due";
  std::string text = "heartbeat " + event;
  text += also(", check ", record["check"]) + also(", cancelled ", record["cancelled"]) +
          also(", stale ", record["stale"]);
  if (const auto depth = record["depth"].integerValue(); depth > 0)
    text += ", suspended " + std::to_string(depth) + " times";
  return text;
}

std::string page(const Record& record) {
  const std::string event = record.text("event");
  std::string text = event;
  if (event == "failedProvisional") text = "could not be loaded";
  if (event == "failed") text = "broke off while it loaded";
  if (event == "terminated") text = "its process has ended";
  if (event == "noView") text = "the platform made no web view";
  if (event == "window") text = "asks for a window";
  const JsonValue error = record["error"];
  return text + also(": ", record["url"]) + (error.isNull() ? "" : ": " + describeError(error));
}

std::string beacon(const Record& record) {
  std::string text = "beacon " + textOf(record["number"]) + " " + record.text("state");
  if (const JsonValue latency = record["latency"]; !latency.isNull())
    text += " after " + durationText(latency.integerValue());
  const JsonValue error = record["error"];
  return text + also(": ", record["url"]) + (error.isNull() ? "" : ": " + describeError(error));
}

std::string start(const Record& record) {
  const std::string data = record["data"].boolValue() ? ", with data" : "";
  return record.text("state") == "sent" ? "start is sent" + data
                                        : "start is deferred until the page is visible" + data;
}

std::string request(const Record& record) {
  if (!record["delegate"].boolValue()) return "request: there is no delegate";
  if (!record["given"].boolValue()) return "request: the delegate gave none";
  return std::string("request given") + (record["channel"].boolValue() ? ", with a channel" : "");
}

std::string layout(const Record& record) {
  return "layout " + textOf(record["frame"]) + (record["inWindow"].boolValue() ? "" : ", in no window") +
         (record["hidden"].boolValue() ? ", hidden" : "");
}

std::string held(const Record& record) {
  return "main thread held for " + durationText(record["duration"].integerValue()) + " in " +
         record.text("operation") + (record.text("by") == "host" ? ", by the host" : "");
}

TimelineRow rowOf(const Record& record) {
  if (record.is("host"))
    return {&record, "host",
            record.text("call") + also(" ", record["placement"]) + also(" ", record["value"]) +
                also(", within ", record["within"])};
  if (record.is("request")) return {&record, "host", request(record)};
  if (record.is("callback"))
    return {&record, "host",
            describeCallback(record.members) +
                (record["delivered"].boolValue() ? "" : ", not delivered: no delegate")};
  if (record.is("held")) return {&record, record.text("by") == "host" ? "host" : "player", held(record)};
  if (record.is("application")) return {&record, "host", "the app is " + record.text("state")};
  if (record.is("page")) return {&record, "page", page(record)};
  if (record.is("visibility"))
    return {&record, "page", record["visible"].boolValue() ? "visible" : "no longer visible"};
  if (record.is("layout")) return {&record, "page", layout(record)};
  if (record.is("message")) return {&record, "bridge", message(record)};
  if (record.is("call")) return {&record, "bridge", call(record)};
  if (record.is("unhandled")) return {&record, "bridge", "nobody handles " + record.text("method")};
  if (record.is("start")) return {&record, "player", start(record)};
  if (record.is("heartbeat")) return {&record, "player", heartbeat(record)};
  if (record.is("ending")) {
    const JsonValue error = record["error"];
    return {&record, "player",
            error.isNull() ? "the session ends: the group is complete"
                           : "the session ends: " + describeError(error)};
  }
  if (record.is("window"))
    return {
        &record, "player",
        "browser " + record.text("state") + also(", since ", record["reason"]) + also(": ", record["url"])};
  if (record.is("stage")) return {&record, "player", "stage " + record.text("state")};
  if (record.is("facts")) return {&record, "player", "facts " + textOf(record["facts"])};
  if (record.is("audioRoute"))
    return {&record, "player", "the audio route changed, reason " + textOf(record["reason"])};
  if (record.is("beacon")) return {&record, "beacons", beacon(record)};
  if (record.is("log"))
    return {&record, "log", (record.text("level") == "error" ? "error: " : "") + record.text("text")};
  if (record.is("gap")) return {&record, "log", textOf(record["count"]) + " records are missing here"};
  if (record.is("end")) return {&record, "log", "the recording ends"};
  return {&record, "log", record.members.serialized().value_or("?")};
}

}  // namespace

std::vector<TimelineRow> timelineOf(const Recording& recording) {
  std::vector<TimelineRow> rows;
  rows.reserve(recording.records.size());
  for (const Record& record : recording.records) rows.push_back(rowOf(record));
  return rows;
}

std::string describeError(const JsonValue& error) {
  std::string text = textOf(error["description"]) + also(": ", error["failureReason"]);
  text += also(" (", error["code"]) + (error["code"].isNull() ? "" : ")");
  const JsonValue cause = error["underlyingError"];
  return cause.isNull() ? text : text + "; " + describeError(cause);
}

std::string durationText(std::int64_t microseconds) {
  constexpr std::int64_t kSecond = 1'000'000;
  constexpr std::int64_t kMillisecond = 1'000;
  char text[32];
  if (microseconds >= kSecond) {
    std::snprintf(text, sizeof text, "%.1f s", static_cast<double>(microseconds) / kSecond);
  } else if (microseconds >= 10 * kMillisecond) {
    std::snprintf(text, sizeof text, "%lld ms",
                  std::llround(static_cast<double>(microseconds) / kMillisecond));
  } else {
    std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(microseconds) / kMillisecond);
  }
  return text;
}

}  // namespace vemora
