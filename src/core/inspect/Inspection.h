#pragma once

#include "core/inspect/Recorder.h"

#include <Vemora/VMRError.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

class VemoraAd;
class VemoraAdGroup;

/// What the SDK's parts call to record what happens. Nothing may be computed for a recording that is off:
///
///     if (inspect::isOn()) inspect::record("page", session, {{"event", "finished"}});
///
/// docs/inspector.md lists the kinds of records and their members.
namespace inspect {

inline constexpr double kUnknownTime = -1;

inline bool isOn() {
  return Recorder::isOn();
}

inline void record(const char* kind, std::uint64_t session, std::initializer_list<Member> members) {
  Recorder::shared().add(kind, session, members);
}

/// An error as a member's value; null when there is none.
JsonValue valueOf(const VMRError& error);
JsonValue valueOf(const std::optional<VMRError>& error);
/// Seconds as a duration.
JsonValue durationOf(double seconds);
/// The time that has passed since then; null when `begin` is `kUnknownTime`.
JsonValue durationSince(double begin);

/// An operation that the host has called, with the callback that it was called from.
void hostCall(const char* operation, std::uint64_t player, std::uint64_t session, const JsonValue& value = {},
              const std::string& placement = {});

/// A line of the log, which is recorded whether or not it is printed.
void logLine(const char* level, std::string_view text);

/// What was gathered for an ad request. The payload's private values are remembered also while no recording
/// is under way, so that one that begins later does not show them.
void factsGathered(std::uint64_t session, const JsonValue& payload);

struct Beacon {
  std::uint64_t session = 0;
  std::uint64_t number = 0;
  double begin = kUnknownTime;
};
Beacon beaconSent(std::uint64_t session, const std::string& url);
void beaconEnded(const Beacon& beacon, const std::optional<VMRError>& error);

// The arguments of the delegate's operations, as members.
Member argument(const std::shared_ptr<VemoraAd>& ad);
Member argument(const std::shared_ptr<VemoraAdGroup>& group);
Member argument(const std::optional<VMRError>& error);
Member argument(const VMRError& error);
Member argument(double value);

/// The call of a delegate's operation, from before it to after it. Main thread, on the stack.
class HostCallback {
 public:
  template <typename... Arguments>
  HostCallback(const char* name, std::uint64_t player, std::uint64_t session, bool isDelivered,
               const Arguments&... arguments)
      : HostCallback(name) {
    if (isRecorded_)
      record("callback", session,
             {{"player", player}, {"name", name}, {"delivered", isDelivered}, argument(arguments)...});
  }
  /// Records the host's work when it held the main thread.
  ~HostCallback();
  HostCallback(const HostCallback&) = delete;
  HostCallback& operator=(const HostCallback&) = delete;

 private:
  explicit HostCallback(const char* name);

  const bool isRecorded_;
  const char* const name_;
  const char* outer_ = nullptr;
  double begin_ = 0;
};

}  // namespace inspect
}  // namespace vemora
