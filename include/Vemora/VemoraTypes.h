#pragma once

#include <Vemora/VemoraExport.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// What the controller page reports about an ad. The text of each value is the name of its constant. Those
/// that notify the delegate name their callback; all of them are passed to viewability measurement.
enum VemoraAdEvent : std::ptrdiff_t {
  AdUnknown = 0,           ///< No event, or a name that is not known here.
  AdLoaded,                ///< The video is ready to play: `vemoraAdAspectRatio`.
  AdStarted,               ///< The ad shows its first frame: `vemoraAdStart`.
  AdStopped,               ///< An ad that had started is over, however it ended.
  AdSkipped,               ///< The ad was skipped: `vemoraAdSkipped`.
  AdImpression,            ///< The ad counts as shown.
  AdVideoStart,            ///< The video has started.
  AdVideoFirstQuartile,    ///< A quarter of the video has played.
  AdVideoMidpoint,         ///< Half of the video has played.
  AdVideoThirdQuartile,    ///< Three quarters of the video have played.
  AdVideoComplete,         ///< The video has played to its end: `vemoraAdComplete`.
  AdUserClose,             ///< The viewer closed the ad: `vemoraAdUserClose`.
  AdPaused,                ///< The ad was paused: `vemoraAdPaused`.
  AdPlaying,               ///< A paused ad plays again: `vemoraAdPlaying`.
  AdLinearChange,          ///< The ad became linear, or ceased to be.
  AdExpandedChange,        ///< The ad expanded or collapsed.
  AdInteraction,           ///< The viewer interacted with the ad.
  AdVolumeChange,          ///< The volume changed.
  AdClickThru,             ///< The viewer followed the ad's link: `vemoraAdClicked`.
  AdLog,                   ///< The ad logged something.
  AdSizeChange,            ///< The ad's size changed: `vemoraAdAspectRatio`.
  AdTimeChange,            ///< The playback position moved on: `vemoraAdTimeUpdate`.
  AdGroupStart,            ///< The group begins: `vemoraAdGroupStart`.
  AdGroupEnd,              ///< The group is over, which ends the session: `vemoraAdGroupComplete`.
  AdError,                 ///< The group cannot go on, which ends the session: `vemoraAdError`.
  AdSkippableStateChange,  ///< From now on the viewer may skip the ad, or not any more.
};

/// The event of this name, in any mix of letter case; `AdUnknown` for an absent name and for every other
/// text. Any thread.
VEMORA_EXPORT VemoraAdEvent VemoraAdEventFromNSString(std::optional<std::string_view> name);

/// The name of the event; "AdUnknown" for a value that is not an event. Any thread.
VEMORA_EXPORT std::string NSStringFromVemoraAdEvent(VemoraAdEvent event);

/// The same as `NSStringFromVemoraAdEvent`, under the name that errors have it as well.
inline std::string toString(VemoraAdEvent event) {
  return NSStringFromVemoraAdEvent(event);
}

}  // namespace vemora
