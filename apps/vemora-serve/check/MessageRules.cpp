#include "Rules.h"

#include <glib.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>

namespace vemora::check {

namespace {

constexpr double kLoadTimeout = 15;
constexpr double kReplyTimeout = 5;
/// The session ends after 5 seconds without a ping; a page has to leave something for the way.
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
    // What is no message never comes from the SDK: all that counts is that the page lives on.
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
  return findings.verdict("it was not asked");
}

Verdict adsAnswered(const Transcript& t) {
  Findings findings;
  for (const Call& call : t.calls) {
    if (call.method == "get.ads") judgeAnswer(t, call, findings);
  }
  return findings.verdict("it was not asked");
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
      findings.add("a reply has the id " + shown(id) + ", which is no text");
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

/// The page is alive after a call when it answers whatever ordinary request comes next.
Verdict livesAfter(const Transcript& t, Purpose purpose) {
  const auto odd =
      std::find_if(t.calls.begin(), t.calls.end(), [&](const Call& call) { return call.purpose == purpose; });
  const auto next =
      std::find_if(odd, t.calls.end(), [](const Call& call) { return call.purpose == Purpose::Ordinary; });
  if (next == t.calls.end()) return {Outcome::Skip, "nothing was asked afterwards"};
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

// The heartbeat

Verdict noEarlyPing(const Transcript& t) {
  const std::vector<Notification> all = notificationsOf(t, "ping");
  if (all.empty()) return {Outcome::Skip, "there was none"};
  const std::optional<double> answered = adsAnsweredAt(t);
  if (!answered || all.front().at < *answered) {
    return {Outcome::Fail, "one came" + phaseAt(t, all.front().at)};
  }
  if (all.front().at < *answered + kOvertaking) return {Outcome::Fail, "one came right behind the answer"};
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
    {"page-loads", "The page loads within 15 seconds", pageLoads},
    {"page-stays", "The page neither crashes nor asks for a shutdown", pageStays},
    {"bridge-exists", "window.VemoraProxy.bridge.onMessage is a function once the page has loaded",
     bridgeExists},
    {"bridge-returns-nothing", "onMessage takes each message, returns undefined and does not throw",
     bridgeReturnsNothing},
    {"config-answered", "\"get.config\" is answered within 5 seconds", configAnswered},
    {"config-data", "The result of \"get.config\" has an object \"data\"", configData},
    {"ads-answered", "\"get.ads\" is answered within 5 seconds", adsAnswered},
    {"ads-list", "\"get.ads\" lists ads, each with an id of its own, a numeric index and duration",
     adsListForm},
    {"ads-given", "\"get.ads\" brings at least one ad", adsGiven},
    {"controls-answered", "Every control command is answered within 5 seconds", controlsAnswered},
    {"reply-id", "Replies carry the id of their request, as text", replyIds},
    {"reply-form", "Replies have a \"result\" or an \"error\", an object that is not empty", replyForm},
    {"unknown-method", "A request with an unknown method gets an error, or no answer", unknownMethod},
    {"lives-after-unknown-method", "The page answers after an unknown method", livesAfterUnknownMethod},
    {"lives-after-malformed", "The page answers after texts that are no messages", livesAfterMalformed},
    {"odd-text", "Quotes, line ends and every script in a request do no harm", oddText},
    {"posts-objects", "Only objects are posted to \"Vemora\"", postsObjects},
    {"logs-text", "Only text is posted to \"VemoraLog\"", logsText},
    {"messages-valid", "Messages are valid JSON-RPC 2.0, with text ids", messagesValid},
    {"known-methods", "The page posts the methods \"ping\", \"event\" and \"window\" alone", knownMethods},
    {"window-form", "\"window\" messages open or fire an absolute http or https address", windowForm},
    {"beacons-in-time", "No beacon follows the end of the group", beaconsInTime},
    {"no-early-ping", "No ping comes before \"get.ads\" is answered, where it would start a watch of its own",
     noEarlyPing},
    {"pings", "Once there are ads, a ping comes at least every 4 seconds, whatever happens", pings},
};

}  // namespace

std::span<const Rule> messageRules() {
  return kRules;
}

}  // namespace vemora::check
