#include "core/inspect/Inspection.h"

#include "ports/Platform.h"

#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraAdGroup.h>

#include <cmath>
#include <utility>

namespace vemora::inspect {

namespace {

constexpr double kMicrosecondsPerSecond = 1e6;
/// As long as the SDK itself may hold the main thread before it says so.
constexpr double kLongHold = 0.05;

/// The callback that runs on this thread; null outside callbacks.
thread_local const char* currentCallback = nullptr;

}  // namespace

JsonValue valueOf(const VMRError& error) {
  std::vector<JsonValue::Entry> members = {
      {"domain", error.domain}, {"code", error.code}, {"description", error.description}};
  if (error.failureReason) members.push_back({"failureReason", *error.failureReason});
  if (error.recoverySuggestion) members.push_back({"recoverySuggestion", *error.recoverySuggestion});
  if (error.underlyingError) members.push_back({"underlyingError", valueOf(*error.underlyingError)});
  return JsonValue::object(std::move(members));
}

JsonValue valueOf(const std::optional<VMRError>& error) {
  return error ? valueOf(*error) : JsonValue();
}

JsonValue durationOf(double seconds) {
  return std::llround(seconds * kMicrosecondsPerSecond);
}

JsonValue durationSince(double begin) {
  return begin >= 0 ? durationOf(dispatch().now() - begin) : JsonValue();
}

void hostCall(const char* operation, std::uint64_t player, std::uint64_t session, const JsonValue& value,
              const std::string& placement) {
  record("host", session,
         {{"player", player},
          {"call", operation},
          {"placement", placement.empty() ? JsonValue() : JsonValue(placement)},
          {"value", value},
          {"within", currentCallback}});
}

void logLine(const char* level, std::string_view text) {
  record("log", 0, {{"level", level}, {"text", text}});
}

void factsGathered(std::uint64_t session, const JsonValue& payload) {
  Recorder::shared().rememberPayload(payload);
  if (isOn())
    record("facts", session,
           {{"facts", JsonValue::object({{"device", payload["device"]}, {"app", payload["app"]}})}});
}

Beacon beaconSent(std::uint64_t session, const std::string& url) {
  static std::atomic<std::uint64_t> count{0};
  const Beacon beacon{session, ++count, dispatch().now()};
  record("beacon", session, {{"number", beacon.number}, {"state", "sent"}, {"url", url}});
  return beacon;
}

void beaconEnded(const Beacon& beacon, const std::optional<VMRError>& error) {
  record("beacon", beacon.session,
         {{"number", beacon.number > 0 ? JsonValue(beacon.number) : JsonValue()},
          {"state", error ? "failed" : "answered"},
          {"latency", durationSince(beacon.begin)},
          {"error", valueOf(error)}});
}

Member argument(const std::shared_ptr<VemoraAd>& ad) {
  return {"ad", ad ? ad->id() : JsonValue()};
}
Member argument(const std::shared_ptr<VemoraAdGroup>& group) {
  return {"ads", group ? JsonValue(group->ads().size()) : JsonValue()};
}
Member argument(const std::optional<VMRError>& error) {
  return {"error", valueOf(error)};
}
Member argument(const VMRError& error) {
  return {"error", valueOf(error)};
}
Member argument(double value) {
  return {"value", value};
}

HostCallback::HostCallback(const char* name) : isRecorded_(isOn()), name_(name) {
  if (!isRecorded_) return;
  begin_ = dispatch().now();
  outer_ = std::exchange(currentCallback, name);
}

HostCallback::~HostCallback() {
  if (!isRecorded_) return;
  currentCallback = outer_;
  const double held = dispatch().now() - begin_;
  if (held > kLongHold && dispatch().isMainThread())
    record("held", 0, {{"by", "host"}, {"operation", name_}, {"duration", durationOf(held)}});
}

}  // namespace vemora::inspect
