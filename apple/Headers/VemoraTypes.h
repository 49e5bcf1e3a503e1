#import "VemoraDefines.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// What the controller page reports about an ad. The text of each value is the name of its constant.
typedef NS_ENUM(NSInteger, VemoraAdEvent) {
  AdUnknown = 0,           ///< No event, or a name that is not known here.
  AdLoaded,                ///< The video is ready to play.
  AdStarted,               ///< The ad shows its first frame.
  AdStopped,               ///< An ad that had started is over, however it ended.
  AdSkipped,               ///< The ad was skipped.
  AdImpression,            ///< The ad counts as shown.
  AdVideoStart,            ///< The video has started.
  AdVideoFirstQuartile,    ///< A quarter of the video has played.
  AdVideoMidpoint,         ///< Half of the video has played.
  AdVideoThirdQuartile,    ///< Three quarters of the video have played.
  AdVideoComplete,         ///< The video has played to its end.
  AdUserClose,             ///< The viewer closed the ad.
  AdPaused,                ///< The ad was paused.
  AdPlaying,               ///< A paused ad plays again.
  AdLinearChange,          ///< The ad became linear, or ceased to be.
  AdExpandedChange,        ///< The ad expanded or collapsed.
  AdInteraction,           ///< The viewer interacted with the ad.
  AdVolumeChange,          ///< The volume changed.
  AdClickThru,             ///< The viewer followed the ad's link.
  AdLog,                   ///< The ad logged something.
  AdSizeChange,            ///< The ad's size changed.
  AdTimeChange,            ///< The playback position moved on.
  AdGroupStart,            ///< The group begins.
  AdGroupEnd,              ///< The group is over, which ends the session.
  AdError,                 ///< The group cannot go on, which ends the session.
  AdSkippableStateChange,  ///< From now on the viewer may skip the ad, or not any more.
};

/// The event of this name, in any mix of letter case; `AdUnknown` for nil and for every other text. Any thread.
VEMORA_OBJC_EXPORT FOUNDATION_EXPORT VemoraAdEvent VemoraAdEventFromNSString(NSString* _Nullable name);
/// The name of the event; "AdUnknown" for a value that is no event. Any thread.
VEMORA_OBJC_EXPORT FOUNDATION_EXPORT NSString* NSStringFromVemoraAdEvent(VemoraAdEvent event);

NS_ASSUME_NONNULL_END
