#pragma once

#include "fakes/Fake.h"

#include <string>

// The controller page of the cases.

namespace vemora::apple {

inline constexpr char kAddress[] = "https://cdn.vemora.example/mobile/sdk/v4/native/VMRWebViewRuntime.html";

/// Answers every call. A test replaces parts of it.
inline constexpr char kPage[] = R"(
var post = m => window.webkit.messageHandlers.Vemora.postMessage(m);
var event = (name, data) => post({method: "event", params: {event: name, id: "ad-1", data: data === undefined ? null : data}});
var answers = {
  "get.config": m => ({data: {features: {moat: 0}}}),
  "get.ads": m => ({data: {adgroup: {ads: [{id: "ad-1", index: 0, duration: 15.5, title: "Fähre"}]}}}),
};
var after = {};
var calls = [];
window.VemoraProxy = {bridge: {onMessage: text => {
  var m = JSON.parse(text);
  calls.push(m.method);
  window.webkit.messageHandlers.VemoraLog.postMessage(m.method + " " + JSON.stringify(m.params || null));
  post({id: m.id, result: answers[m.method] ? answers[m.method](m) : {ok: true}});
  if (after[m.method]) after[m.method](m);
}}};
)";

/// Plays its ad to the end as soon as it is started.
inline constexpr char kPlays[] = R"(
after["control.start"] = () => {
  post({method: "ping"});
  event("AdGroupStart"); event("AdLoaded", {width: 1920, height: 1080}); event("AdStarted"); event("AdTimeChange", 1.5);
  event("AdPaused"); event("AdPlaying"); event("AdClickThru");
  post({method: "window", params: {event: "beacon", url: "http://localhost/beacon?x=1"}});
  event("AdVideoComplete"); event("AdGroupEnd");
};
)";

inline void setPage(const std::string& more) {
  fake::setPage(kAddress, kPage + more);
}

}  // namespace vemora::apple
