#pragma once

#include <optional>
#include <string>

namespace vemora {

/// Posted on the default notification centre when the audio output changes, on a background thread whose
/// blocking keeps nobody else waiting. The reason is in the user info.
inline constexpr char AVAudioSessionRouteChangeNotification[] = "AVAudioSessionRouteChangeNotification";
inline constexpr char AVAudioSessionRouteChangeReasonKey[] = "AVAudioSessionRouteChangeReasonKey";

enum AVAudioSessionRouteChangeReason : int {
  AVAudioSessionRouteChangeReasonUnknown = 0,
  AVAudioSessionRouteChangeReasonNewDeviceAvailable = 1,
  AVAudioSessionRouteChangeReasonOldDeviceUnavailable = 2,
  AVAudioSessionRouteChangeReasonCategoryChange = 3,
  AVAudioSessionRouteChangeReasonRouteConfigurationChange = 8,
};

/// The audio output of the process. Asking for the category makes the session exist; before that no route
/// change is posted.
///
/// Lifetime: as long as the platform.
/// Threads: any.
/// Completion: `category` returns at once, whether or not there is an audio server.
/// Errors: without an audio server nothing is posted, and nothing is said.
class AudioSession {
 public:
  virtual ~AudioSession() = default;
  virtual std::string category() = 0;
};

}  // namespace vemora
