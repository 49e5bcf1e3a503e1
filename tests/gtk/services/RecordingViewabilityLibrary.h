#pragma once

/// What RecordingViewabilityLibrary exports in addition to its four classes; look them up with dlsym. Main
/// thread.
extern "C" {

/// What the classes were sent since the last clear, one JSON object per line:
///
///     {"to":"VEMORAMoatAdEvent","create":"initWithType:withPlayheadMillis:","arguments":[1,0],
///      "made":"VEMORAMoatAdEvent#4"}
///     {"to":"VEMORAMoatReactiveVideoTracker#3","send":"dispatchEvent:","arguments":["VEMORAMoatAdEvent#4"]}
///     {"to":"VEMORAMoatAdEvent#4","dealloc":true}
///
/// Objects are their class and a number that counts up from 1 after a clear; a view is "view" and a
/// dictionary itself. The text is valid until the next call into the library.
typedef const char* RecordingViewabilityLibraryRecordFunction(void);
inline constexpr char kRecordingViewabilityLibraryRecord[] = "RecordingViewabilityLibraryRecord";

typedef void RecordingViewabilityLibraryClearFunction(void);
inline constexpr char kRecordingViewabilityLibraryClear[] = "RecordingViewabilityLibraryClear";

/// What "trackVideoAd:withLayer:withDurationMillis:" answers; true at first.
typedef void RecordingViewabilityLibrarySetAcceptsAdsFunction(bool accepts);
inline constexpr char kRecordingViewabilityLibrarySetAcceptsAds[] =
    "RecordingViewabilityLibrarySetAcceptsAds";

/// Instances that have not been released.
typedef int RecordingViewabilityLibraryLiveInstancesFunction(void);
inline constexpr char kRecordingViewabilityLibraryLiveInstances[] =
    "RecordingViewabilityLibraryLiveInstances";
}
