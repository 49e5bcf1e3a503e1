#include "PlayerCallback.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace vemora {
namespace {

struct Names {
  CallbackKind kind;
  std::string_view whole;
  std::string_view shortened;
};

constexpr std::array<Names, 13> kNames{{
    {CallbackKind::RequestForPlayer, "requestForPlayer:", "requestForPlayer"},
    {CallbackKind::DidLoadAds, "vemora:didLoadAds:error:", "didLoadAds"},
    {CallbackKind::AdGroupStart, "vemora:adGroupStart:", "adGroupStart"},
    {CallbackKind::AdStart, "vemora:adStart:", "adStart"},
    {CallbackKind::AdPlaying, "vemora:adPlaying:", "adPlaying"},
    {CallbackKind::AdPaused, "vemora:adPaused:", "adPaused"},
    {CallbackKind::AdTimeUpdate, "vemora:adTimeUpdate:timeElapsed:", "adTimeUpdate"},
    {CallbackKind::AdClicked, "vemora:adClicked:", "adClicked"},
    {CallbackKind::AdSkipped, "vemora:adSkipped:", "adSkipped"},
    {CallbackKind::AdUserClose, "vemora:adUserClose:", "adUserClose"},
    {CallbackKind::AdComplete, "vemora:adComplete:", "adComplete"},
    {CallbackKind::AdGroupComplete, "vemora:adGroupComplete:", "adGroupComplete"},
    {CallbackKind::AdError, "vemora:adError:error:", "adError"},
}};

const Names& namesOf(CallbackKind kind) {
  return *std::find_if(kNames.begin(), kNames.end(), [&](const Names& names) { return names.kind == kind; });
}

JsonValue toJson(const VemoraAd& ad) {
  return JsonValue::object({{"index", ad.index()},
                            {"id", ad.id()},
                            {"vpi", ad.vpi()},
                            {"title", ad.title()},
                            {"duration", ad.duration()},
                            {"price", ad.price()},
                            {"url", ad.url()},
                            {"clickthru", ad.clickthru()}});
}

JsonValue toJson(const VemoraAdGroup& group) {
  std::vector<JsonValue> ads;
  for (const auto& ad : group) ads.push_back(toJson(*ad));
  return JsonValue::object(
      {{"ads", JsonValue::array(std::move(ads))}, {"totalDuration", group.totalDuration()}});
}

JsonValue toJson(const VMRError& error) {
  return JsonValue::object({{"domain", error.domain},
                            {"code", error.code},
                            {"description", error.description},
                            {"reason", error.failureReason}});
}

double toMilliseconds(double seconds) {
  return std::round(seconds * 1000) / 1000;
}

}  // namespace

std::string_view nameOf(CallbackKind kind) {
  return namesOf(kind).whole;
}

std::string_view shortNameOf(CallbackKind kind) {
  return namesOf(kind).shortened;
}

std::optional<CallbackKind> callbackNamed(std::string_view shortName) {
  const auto* const found = std::find_if(kNames.begin(), kNames.end(),
                                         [&](const Names& names) { return names.shortened == shortName; });
  return found == kNames.end() ? std::nullopt : std::optional(found->kind);
}

JsonValue toJson(const PlayerCallback& callback) {
  std::vector<JsonValue::Entry> entries{{"t", toMilliseconds(callback.time)},
                                        {"callback", nameOf(callback.kind)},
                                        {"ad", callback.ad ? toJson(*callback.ad) : JsonValue()}};
  if (callback.group) entries.push_back({"group", toJson(*callback.group)});
  if (callback.timeElapsed) entries.push_back({"timeElapsed", *callback.timeElapsed});
  if (callback.error) entries.push_back({"error", toJson(*callback.error)});
  return JsonValue::object(std::move(entries));
}

}  // namespace vemora
