#include "Rules.h"

#include <glib.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

namespace vemora::check {

namespace {

constexpr double kLoadTimeout = 15;
constexpr double kReplyTimeout = 5;
/// The session ends after 5 seconds without a ping; one second is left for the transport.
constexpr double kLargestPingGap = 4;
/// Messages this close to each other may overtake each other on the native side.
constexpr double kOvertaking = 0.1;

bool isText(const JsonValue& value) {
  return !value.asString().value_or("").empty();
}

bool isFilledObject(const JsonValue& value) {
  return value.isObject() && value.count().value_or(0) > 0;
}

std::vector<const Post*> messagesOf(const Transcript& transcript) {
  std::vector<const Post*> messages;
  for (const Post& post : transcript.posts) {
    if (isMessage(post)) messages.push_back(&post);
  }
  return messages;
}

// The page and its bridge

Verdict pageLoads(const Transcript& t) {
  if (!t.loadedAt) return {Outcome::Fail, "it had not loaded after " + inSeconds(t.end)};
  if (*t.loadedAt > kLoadTimeout) return {Outcome::Fail, "it took " + inSeconds(*t.loadedAt)};
  return {};
}

Verdict pageStays(const Transcript& t) {
  if (!t.gone.empty()) return {Outcome::Fail, t.gone + phaseAt(t, t.end)};
  for (const Notification& ping : notificationsOf(t, "ping")) {
    const JsonValue shutdown = ping.params["shutdown"];
    if (!shutdown.isNull() && shutdown.boolValue()) {
      return {Outcome::Fail, "a ping ended the session: " + shown(ping.params["message"])};
    }
  }
  return {};
}

Verdict bridgeExists(const Transcript& t) {
  if (t.bridgeType.empty()) return {Outcome::Skip, "the page did not load"};
  if (t.bridgeType == "function") return {};
  return {Outcome::Fail,
          "window.VemoraProxy.bridge.onMessage is " + t.bridgeType + " when the page has loaded"};
}

Verdict bridgeReturnsNothing(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    // The SDK never sends malformed text: the page only has to survive it.
    if (call.purpose == Purpose::Malformed || !call.outcome) continue;
    findings.look();
    if (*call.outcome != "undefined") findings.add("for " + call.method + " it " + *call.outcome);
  }
  return findings.verdict("nothing was sent to the page");
}

// Requests and replies

void judgeAnswer(const Transcript& t, const Call& call, Findings& findings) {
  const Post* const reply = replyTo(t, call);
  const double waited = (reply ? reply->at : t.end) - call.at;
  if (reply && waited <= kReplyTimeout) {
    findings.look();
  } else if (reply) {
    findings.add(call.method + " was answered after " + inSeconds(waited) + phaseAt(t, call.at));
  } else if (waited >= kReplyTimeout) {
    findings.add(call.method + " was not answered" + phaseAt(t, call.at));
  }
}

Verdict configAnswered(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    if (call.method == "get.config") judgeAnswer(t, call, findings);
  }
  return findings.verdict("the request was not sent");
}

Verdict adsAnswered(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    if (call.method == "get.ads") judgeAnswer(t, call, findings);
  }
  return findings.verdict("the request was not sent");
}

Verdict controlsAnswered(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    if (isControl(call)) judgeAnswer(t, call, findings);
  }
  return findings.verdict("no command was sent");
}

Verdict replyIds(const Transcript& t) {
  Findings findings;
  for (const Post* post : messagesOf(t)) {
    if (!isReply(*post)) continue;
    const JsonValue id = post->body["id"];
    const bool known = std::any_of(t.calls.begin(), t.calls.end(), [&](const Call& call) {
      return call.at <= post->at && !call.id.empty() && id.asString() == std::string_view(call.id);
    });
    if (id.isNull()) {
      findings.add("a reply has no id: " + shown(post->body));
    } else if (!id.isString()) {
      findings.add("a reply has the id " + shown(id) + ", which is not a string");
    } else if (!known) {
      findings.add("a reply has the id " + shown(id) + ", which no request had");
    }
    findings.look();
  }
  return findings.verdict("there was no reply");
}

Verdict replyForm(const Transcript& t) {
  Findings findings;
  for (const Post* post : messagesOf(t)) {
    if (!isReply(*post)) continue;
    findings.look();
    const JsonValue result = post->body["result"];
    const JsonValue error = post->body["error"];
    if (!result.isNull() && !error.isNull()) {
      findings.add("a reply has both: " + shown(post->body));
    } else if (!isFilledObject(result.isNull() ? error : result)) {
      const char* const which = result.isNull() ? "error" : "result";
      findings.add(std::string("an \"") + which + "\" is " + shown(result.isNull() ? error : result));
    }
  }
  return findings.verdict("there was no reply");
}

Verdict configData(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    const Post* const reply = call.method == "get.config" ? replyTo(t, call) : nullptr;
    if (!reply || reply->body["result"].isNull()) continue;
    findings.look();
    const JsonValue data = reply->body["result"]["data"];
    if (!data.isObject()) findings.add("\"data\" is " + shown(data));
  }
  return findings.verdict("there was no result");
}

Verdict adsListForm(const Transcript& t) {
  const Call* const call = callOf(t, "get.ads");
  const Post* const reply = call ? replyTo(t, *call) : nullptr;
  if (!reply || reply->body["result"].isNull()) return {Outcome::Skip, "there was no result"};
  const JsonValue ads = adList(t);
  if (!ads.isArray()) return {Outcome::Fail, "\"ads\" is " + shown(ads)};
  Findings findings;
  findings.look();
  std::set<std::string, std::less<>> ids;
  for (const JsonValue& ad : ads.elements()) {
    if (!isText(ad["id"])) {
      findings.add("an \"id\" is " + shown(ad["id"]));
    } else if (!ids.emplace(*ad["id"].asString()).second) {
      findings.add("the id " + shown(ad["id"]) + " is there twice");
    }
    for (const char* member : {"index", "duration"}) {
      if (!isNumber(ad[member])) {
        findings.add("the \"" + std::string(member) + "\" of the ad " + shown(ad["id"]) + " is " +
                     shown(ad[member]));
      }
    }
  }
  return findings.verdict("");
}

Verdict adsGiven(const Transcript& t) {
  const Call* const call = callOf(t, "get.ads");
  const Post* const reply = call ? replyTo(t, *call) : nullptr;
  if (!reply) return {Outcome::Skip, "there was no reply"};
  if (adList(t).count().value_or(0) > 0) return {};
  const JsonValue error = reply->body["error"];
  return {Outcome::Fail,
          error.isNull() ? "there was none, so nothing could be played" : "an error: " + shown(error)};
}

Verdict unknownMethod(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    if (call.purpose != Purpose::UnknownMethod) continue;
    findings.look();
    const Post* const reply = replyTo(t, call);
    if (reply && !reply->body["result"].isNull()) {
      findings.add(call.method + " has the result " + shown(reply->body["result"]));
    }
  }
  return findings.verdict("none was sent");
}

/// The page is alive after a call when it answers the next ordinary request.
Verdict livesAfter(const Transcript& t, Purpose purpose) {
  const auto odd =
      std::find_if(t.calls.begin(), t.calls.end(), [&](const Call& call) { return call.purpose == purpose; });
  const auto next =
      std::find_if(odd, t.calls.end(), [](const Call& call) { return call.purpose == Purpose::Ordinary; });
  if (next == t.calls.end()) return {Outcome::Skip, "no request followed"};
  if (replyTo(t, *next) || t.end - next->at < kReplyTimeout) return {};
  return {Outcome::Fail, next->method + " was not answered afterwards"};
}

Verdict livesAfterUnknownMethod(const Transcript& t) {
  return livesAfter(t, Purpose::UnknownMethod);
}

Verdict livesAfterMalformed(const Transcript& t) {
  return livesAfter(t, Purpose::Malformed);
}

Verdict oddText(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    if (call.purpose == Purpose::OddText) judgeAnswer(t, call, findings);
  }
  return findings.verdict("none was sent");
}

// The form of messages

Verdict postsObjects(const Transcript& t) {
  Findings findings;
  for (const Post& post : t.posts) {
    if (post.handler != Post::Handler::Messages) continue;
    findings.look();
    if (!post.body.isObject())
      findings.add("it posted a value of the type " + post.type + ": " + shown(post.body));
  }
  return findings.verdict("nothing was posted");
}

Verdict logsText(const Transcript& t) {
  Findings findings;
  for (const Post& post : t.posts) {
    if (post.handler != Post::Handler::Log) continue;
    findings.look();
    if (!post.body.isString())
      findings.add("it posted a value of the type " + post.type + ": " + shown(post.body));
  }
  return findings.verdict("nothing was posted");
}

std::string whyInvalid(const JsonValue& message) {
  const auto is = [&](const char* member) {
    return std::string("\"") + member + "\" is " + shown(message[member]) + " in " + shown(message);
  };
  if (!message["jsonrpc"].isNull() && message["jsonrpc"].asString() != "2.0") return is("jsonrpc");
  if (!message["id"].isNull() && !isText(message["id"])) return is("id");
  if (!message["method"].isNull() && !isText(message["method"])) return is("method");
  if (!message["params"].isNull() && !message["params"].isObject()) return is("params");
  if (message["method"].isNull() && message["result"].isNull() && message["error"].isNull()) {
    return "neither method nor result nor error in " + shown(message);
  }
  return {};
}

Verdict messagesValid(const Transcript& t) {
  Findings findings;
  for (const Post* post : messagesOf(t)) {
    findings.look();
    const std::string why = whyInvalid(post->body);
    if (!why.empty()) findings.add(why);
  }
  return findings.verdict("nothing was posted");
}

Verdict knownMethods(const Transcript& t) {
  Findings findings;
  for (const Post* post : messagesOf(t)) {
    const JsonValue method = post->body["method"];
    if (isReply(*post) || !isText(method)) continue;
    findings.look();
    if (method.asString() != "ping" && method.asString() != "event" && method.asString() != "window") {
      findings.add("it posted the method " + shown(method));
    }
  }
  return findings.verdict("nothing was posted");
}

bool isWebAddress(const JsonValue& address) {
  const auto text = address.asString();
  if (!text) return false;
  const std::unique_ptr<GUri, decltype(&g_uri_unref)> uri(
      g_uri_parse(std::string(*text).c_str(), G_URI_FLAGS_ENCODED, nullptr), g_uri_unref);
  if (!uri || !g_uri_get_host(uri.get()) || !*g_uri_get_host(uri.get())) return false;
  const std::string_view scheme = g_uri_get_scheme(uri.get());
  return scheme == "http" || scheme == "https";
}

Verdict windowForm(const Transcript& t) {
  Findings findings;
  for (const Notification& window : notificationsOf(t, "window")) {
    findings.look();
    const JsonValue event = window.params["event"];
    if (event.asString() != "open" && event.asString() != "beacon") {
      findings.add("\"event\" is " + shown(event));
    } else if (!isWebAddress(window.params["url"])) {
      findings.add("the \"url\" of a " + std::string(*event.asString()) + " is " +
                   shown(window.params["url"]));
    }
  }
  return findings.verdict("there was none");
}

Verdict beaconsInTime(const Transcript& t) {
  Findings findings;
  const std::optional<double> ended = endedAt(t);
  for (const Notification& window : notificationsOf(t, "window")) {
    if (window.params["event"].asString() != "beacon") continue;
    findings.look();
    if (ended && window.at > *ended) findings.add("it came later: " + shown(window.params["url"]));
  }
  return findings.verdict("there was none");
}

bool isMacroLetter(char letter) {
  return (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9') || letter == '_' ||
         letter == ':';
}

/// The first "[NAME]" or "%5BNAME%5D" of an address, or a mark of a template; empty when there is none.
std::string macroIn(std::string_view address) {
  for (const auto& [open, close] :
       {std::pair<std::string_view, std::string_view>{"[", "]"}, {"%5B", "%5D"}, {"{{", "}}"}}) {
    for (std::size_t at = 0; (at = address.find(open, at)) != std::string_view::npos; at += open.size()) {
      const std::string_view rest = address.substr(at + open.size());
      const auto end = std::find_if_not(rest.begin(), rest.end(), isMacroLetter);
      const auto length = static_cast<std::size_t>(end - rest.begin());
      const bool isTemplate = open == "{{";
      if (isTemplate || (length > 1 && rest.substr(length).starts_with(close))) {
        return std::string(
            address.substr(at, isTemplate ? std::string_view::npos : open.size() + length + close.size()));
      }
    }
  }
  return {};
}

Verdict macrosFilled(const Transcript& t) {
  Findings findings;
  for (const Notification& window : notificationsOf(t, "window")) {
    findings.look();
    const std::string url = window.params["url"].stringValue().value_or("");
    const std::string macro = macroIn(url);
    if (!macro.empty()) findings.add("\"" + macro + "\" in " + shown(window.params["url"]));
  }
  return findings.verdict("there was no address");
}

Verdict clickThroughs(const Transcript& t) {
  Findings findings;
  const JsonValue ads = adList(t);
  for (const JsonValue& ad : ads.elements()) {
    const JsonValue address = ad["clickthru"];
    if (address.isNull() || address.asString() == "") continue;
    findings.look();
    if (!isWebAddress(address))
      findings.add("\"clickthru\" of the ad " + shown(ad["id"]) + " is " + shown(address));
  }
  for (const Event& event : eventsOf(t)) {
    if (event.value != AdClickThru || event.data.isNull()) continue;
    findings.look();
    if (!isWebAddress(event.data)) findings.add("AdClickThru brings " + shown(event.data));
  }
  return findings.verdict("no ad has one");
}

// The heartbeat

Verdict noEarlyPing(const Transcript& t) {
  const std::vector<Notification> all = notificationsOf(t, "ping");
  if (all.empty()) return {Outcome::Skip, "there was none"};
  const std::optional<double> answered = adsAnsweredAt(t);
  if (!answered || all.front().at < *answered) {
    return {Outcome::Fail, "one came" + phaseAt(t, all.front().at)};
  }
  if (all.front().at < *answered + kOvertaking) return {Outcome::Fail, "one came right after the reply"};
  return {};
}

Verdict pings(const Transcript& t) {
  const std::optional<double> first = adsAnsweredAt(t);
  if (!first || adList(t).count().value_or(0) == 0) return {Outcome::Skip, "there were no ads"};
  const double last = endedAt(t).value_or(t.end);
  double before = *first;
  double largest = 0;
  double largestFrom = before;
  const auto reach = [&](double at) {
    if (at - before > largest) {
      largest = at - before;
      largestFrom = before;
    }
    before = at;
  };
  for (const Notification& ping : notificationsOf(t, "ping")) {
    if (ping.at > before && ping.at < last) reach(ping.at);
  }
  reach(last);
  if (largest > kLargestPingGap) {
    return {Outcome::Fail, "none for " + inSeconds(largest) + ", beginning" + phaseAt(t, largestFrom)};
  }
  if (last - *first <= kLargestPingGap) return {Outcome::Skip, "no session was long enough"};
  return {};
}

constexpr Rule kRules[] = {
    {"page-loads", "The page loads within 15 seconds", pageLoads,
     "make the page smaller or its server faster; load media only after the start"},
    {"page-stays", "The page neither crashes nor asks for a shutdown", pageStays,
     "find what ends the page; \"shutdown\" in a ping ends the session"},
    {"bridge-exists", "window.VemoraProxy.bridge.onMessage is a function once the page has loaded",
     bridgeExists, "define window.VemoraProxy.bridge.onMessage before the page's load event"},
    {"bridge-returns-nothing", "onMessage takes each message, returns undefined and does not throw",
     bridgeReturnsNothing,
     "catch exceptions in onMessage and return nothing; start asynchronous work without returning its "
     "promise"},
    {"config-answered", "\"get.config\" is answered within 5 seconds", configAnswered,
     "answer \"get.config\" from what the page has, without waiting for the network"},
    {"config-data", "The result of \"get.config\" has an object \"data\"", configData,
     "put the configuration object into \"result\".\"data\""},
    {"ads-answered", "\"get.ads\" is answered within 5 seconds", adsAnswered,
     "answer \"get.ads\" in time with what is there; drop what is late"},
    {"ads-list", "\"get.ads\" lists ads, each with a unique id, a numeric index and duration", adsListForm,
     "give each ad a unique text \"id\", and \"index\" and \"duration\" (seconds) as JSON numbers"},
    {"ads-given", "\"get.ads\" brings at least one ad", adsGiven,
     "check what the page requests its ads with; --request supplies the params it needs"},
    {"controls-answered", "Every control command is answered within 5 seconds", controlsAnswered,
     "answer a command when it is received, not when it has taken effect"},
    {"reply-id", "Replies carry the id of their request, as text", replyIds,
     "copy the \"id\" of the request unchanged, as text"},
    {"reply-form", "Replies have a \"result\" or an \"error\", an object that is not empty", replyForm,
     "answer with one non-empty object, e.g. {\"ok\": true}"},
    {"unknown-method", "A request with an unknown method gets an error, or no answer", unknownMethod,
     "answer unknown methods with an \"error\", e.g. code -32601", "robustness"},
    {"lives-after-unknown-method", "The page answers after an unknown method", livesAfterUnknownMethod,
     "check the method before using it", "robustness"},
    {"lives-after-malformed", "The page answers after texts that are not messages", livesAfterMalformed,
     "catch the exceptions of JSON.parse, and check that the message is an object", "robustness"},
    {"odd-text", "Quotes, line breaks and text of every script in a request are treated as data", oddText,
     "treat params as data; do not build scripts or markup from them", "robustness"},
    {"posts-objects", "Only objects are posted to \"Vemora\"", postsObjects,
     "post the message as an object, without JSON.stringify"},
    {"logs-text", "Only text is posted to \"VemoraLog\"", logsText, "post text to \"VemoraLog\"", nullptr},
    {"messages-valid", "Messages are valid JSON-RPC 2.0, with text ids", messagesValid,
     "see the message format in the protocol; ids are text"},
    {"known-methods", "The page posts the methods \"ping\", \"event\" and \"window\" alone", knownMethods,
     "post \"ping\", \"event\" and \"window\" only"},
    {"window-form", "\"window\" messages open or fire an absolute http or https address", windowForm,
     "send \"open\" or \"beacon\" with an absolute http or https address", nullptr},
    {"beacons-in-time", "No beacon follows the end of the group", beaconsInTime,
     "send the last beacons before AdGroupEnd", nullptr},
    {"macros-filled", "Addresses of beacons and pages have their macros filled in", macrosFilled,
     "replace each macro; an unknown value is -1, a withheld one is -2", nullptr},
    {"click-throughs", "Click-throughs are absolute http or https addresses", clickThroughs,
     "drop click-throughs with any other scheme, such as javascript:", nullptr},
    {"no-early-ping", "No ping comes before \"get.ads\" is answered, where it would start a second watch",
     noEarlyPing, "send the first ping a second after the reply to \"get.ads\""},
    {"pings", "Once there are ads, a ping comes at least every 4 seconds, in every state", pings,
     "ping once a second with a timer that runs in every state: waiting, playing, paused, hidden", "play"},
};

}  // namespace

std::span<const Rule> messageRules() {
  return kRules;
}

}  // namespace vemora::check
