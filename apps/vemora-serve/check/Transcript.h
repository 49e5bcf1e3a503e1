#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraTypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora::check {

/// The purpose of a call to the page.
enum class Purpose : std::uint8_t {
  Ordinary,       ///< A request as the SDK makes it.
  OddText,        ///< A request whose params contain text that is easily corrupted.
  UnknownMethod,  ///< A request with a method that no page has.
  Malformed,      ///< A text that is not a message.
};

/// One script that was run in the page to deliver a message.
struct Call {
  double at = 0;
  Purpose purpose = Purpose::Ordinary;
  std::string id;  ///< Empty when the text is not a request.
  std::string method;
  JsonValue params;
  /// The outcome of the script: "undefined", as it should, what it returned instead, or what it threw. Absent
  /// until the script has ended.
  std::optional<std::string> outcome;
};

/// One thing that the page posted.
struct Post {
  enum class Handler : std::uint8_t { Messages, Log };

  double at = 0;
  Handler handler = Handler::Messages;
  std::string type;  ///< "object", "text", "number", "array" and so on.
  JsonValue body;    ///< Null for a value that JSON cannot represent.
};

/// A phase of the session from this moment on, as it appears in findings: "while it is paused".
struct Phase {
  double at = 0;
  std::string name;
};

/// All that happened in one session with a page. The driver writes it, the rules judge it.
///
/// Times are seconds since the page was requested.
struct Transcript {
  std::string session;
  std::optional<double> loadedAt;
  /// The type of window.VemoraProxy.bridge.onMessage once the page had loaded; empty before that.
  std::string bridgeType;
  std::vector<Phase> phases;
  std::vector<Call> calls;
  std::vector<Post> posts;
  /// Why the page has gone; empty while it exists.
  std::string gone;
  double end = 0;
};

/// An "event" message.
struct Event {
  double at = 0;
  VemoraAdEvent value = AdUnknown;
  std::string name;  ///< As the page wrote it.
  JsonValue id;
  JsonValue data;
};

std::vector<Event> eventsOf(const Transcript& transcript);
/// The params of each message of this method, with the time of its arrival.
struct Notification {
  double at = 0;
  JsonValue params;
};
std::vector<Notification> notificationsOf(const Transcript& transcript, std::string_view method);

/// A message that answers: it has a result or an error. Only objects are messages.
bool isMessage(const Post& post);
bool isReply(const Post& post);
/// The reply that counts: the first with the id of the call. Null when there is none.
const Post* replyTo(const Transcript& transcript, const Call& call);
/// The first call of a method; null when it was not made.
const Call* callOf(const Transcript& transcript, std::string_view method);
bool isControl(const Call& call);

/// The list of ads in the reply to "get.ads"; null when it has none.
JsonValue adList(const Transcript& transcript);
/// When the reply to "get.ads" came. Pings are due from then on.
std::optional<double> adsAnsweredAt(const Transcript& transcript);
/// The duration of the ad with this id in seconds; 0 when it is not known.
double durationOf(const Transcript& transcript, std::string_view adId);
double totalDuration(const Transcript& transcript);

/// When the page ended the session: "AdGroupEnd" or "AdError". Absent while it has not.
std::optional<double> endedAt(const Transcript& transcript);

/// The phase at a time, with a leading space: " while it is paused"; empty before the first phase.
std::string phaseAt(const Transcript& transcript, double at);

/// True for numbers only, not for booleans.
bool isNumber(const JsonValue& value);
/// A value for display: JSON, shortened.
std::string shown(const JsonValue& value);
/// "4.2 s"
std::string inSeconds(double seconds);

}  // namespace vemora::check
