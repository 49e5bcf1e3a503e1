#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VMRError.h>
#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraAdGroup.h>

#include <memory>
#include <optional>
#include <string_view>

namespace vemora {

/// The callbacks of a player's delegate.
enum class CallbackKind {
  RequestForPlayer,
  DidLoadAds,
  AdGroupStart,
  AdStart,
  AdPlaying,
  AdPaused,
  AdTimeUpdate,
  AdClicked,
  AdSkipped,
  AdUserClose,
  AdComplete,
  AdGroupComplete,
  AdError,
};

/// The whole name, such as "vemora:adStart:".
std::string_view nameOf(CallbackKind kind);
/// The word that distinguishes it from the others, such as "adStart".
std::string_view shortNameOf(CallbackKind kind);
/// The kind of a short name.
std::optional<CallbackKind> callbackNamed(std::string_view shortName);

/// One callback, with what it brought.
struct PlayerCallback {
  CallbackKind kind = CallbackKind::RequestForPlayer;
  double time = 0;  ///< Seconds since the load.
  std::shared_ptr<VemoraAd> ad{};
  std::shared_ptr<VemoraAdGroup> group{};
  std::optional<double> timeElapsed{};
  std::optional<VMRError> error{};
};

/// {"t", "callback", "ad", and of "group", "timeElapsed" and "error" what it has}.
JsonValue toJson(const PlayerCallback& callback);

}  // namespace vemora
