#pragma once

#include <Vemora/VemoraExport.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// What the controller reports of an ad. The text of each value is its constant's name.
enum VemoraAdEvent : std::ptrdiff_t {
  AdUnknown = 0,
  AdLoaded,
  AdStarted,
  AdStopped,
  AdSkipped,
  AdImpression,
  AdVideoStart,
  AdVideoFirstQuartile,
  AdVideoMidpoint,
  AdVideoThirdQuartile,
  AdVideoComplete,
  AdUserClose,
  AdPaused,
  AdPlaying,
  AdLinearChange,
  AdExpandedChange,
  AdInteraction,
  AdVolumeChange,
  AdClickThru,
  AdLog,
  AdSizeChange,
  AdTimeChange,
  AdGroupStart,
  AdGroupEnd,
  AdError,
  AdSkippableStateChange,
};

/// The event of this name, in any mix of letter case; `AdUnknown` for no name and for every other text. Any
/// thread.
VEMORA_EXPORT VemoraAdEvent VemoraAdEventFromNSString(std::optional<std::string_view> name);

/// The name of the event; "AdUnknown" for a value that is none. Any thread.
VEMORA_EXPORT std::string NSStringFromVemoraAdEvent(VemoraAdEvent event);

}  // namespace vemora
