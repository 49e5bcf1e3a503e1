#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraTypes.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora::check {

/// What a call to the page is there to find out.
enum class Purpose : std::uint8_t {
  Ordinary,       ///< A request as the SDK makes it.
  OddText,        ///< A request whose params hold text that is easily garbled.
  UnknownMethod,  ///< A request that no page knows.
  Malformed,      ///< A text that is no message.
};

/// One script that was run in the page to bring it a message.
struct Call {
  double at = 0;
  Purpose purpose = Purpose::Ordinary;
  std::string id;  ///< Empty for what is no request.
  std::string method;
  JsonValue params;
  /// The outcome of the script: "undefined", as it should, what it returned instead, or what it threw. Absent
  /// while the page has not said.
  std::optional<std::string> outcome;
};

/// One thing that the page posted.
struct Post {
  enum class Handler : std::uint8_t { Messages, Log };

  double at = 0;
  Handler handler = Handler::Messages;
  std::string type;  ///< "object", "text", "number", "array" and so on.
  JsonValue body;    ///< Null for what JSON cannot carry.
};

/// What the session is about from this moment on, in words that follow a blank: "while it is paused".
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
  /// Why there is no page any more; empty while there is one.
  std::string gone;
  double end = 0;
};

/// An "event" message.
struct Event {
  double at = 0;
  VemoraAdEvent value = AdUnknown;
  std::string name;  ///< As it was spelt.
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

/// The list of ads as "get.ads" brought it; null when it brought none.
JsonValue adList(const Transcript& transcript);
/// When the reply to "get.ads" came, from which on pings are due.
std::optional<double> adsAnsweredAt(const Transcript& transcript);
/// The duration of the ad with this id in seconds; 0 when it is not known.
double durationOf(const Transcript& transcript, std::string_view adId);
double totalDuration(const Transcript& transcript);

/// When the page ended the session: "AdGroupEnd" or "AdError". Absent while it has not.
std::optional<double> endedAt(const Transcript& transcript);

/// What the session was about at a time: " while it is paused"; empty before the first phase.
std::string phaseAt(const Transcript& transcript, double at);

/// True for numbers alone: a boolean is none.
bool isNumber(const JsonValue& value);
/// A value as it is shown to people: JSON, cut short.
std::string shown(const JsonValue& value);
/// "4.2 s"
std::string inSeconds(double seconds);

}  // namespace vemora::check
