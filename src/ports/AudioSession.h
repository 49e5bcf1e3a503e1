#pragma once

#include <optional>
#include <string>

namespace vemora {

/// Posted on the default notification centre when the audio output changes, on a background thread of its
/// own, so that observers may block. The user info holds the reason.
inline constexpr char AVAudioSessionRouteChangeNotification[] = "AVAudioSessionRouteChangeNotification";
inline constexpr char AVAudioSessionRouteChangeReasonKey[] = "AVAudioSessionRouteChangeReasonKey";

enum AVAudioSessionRouteChangeReason : int {
  AVAudioSessionRouteChangeReasonUnknown = 0,
  AVAudioSessionRouteChangeReasonNewDeviceAvailable = 1,
  AVAudioSessionRouteChangeReasonOldDeviceUnavailable = 2,
  AVAudioSessionRouteChangeReasonCategoryChange = 3,
  AVAudioSessionRouteChangeReasonRouteConfigurationChange = 8,
};

/// The audio output of the process. The first call of `category` starts the session; route changes before
/// that are not posted.
///
/// Lifetime: As long as the platform.
///
/// Threads: Thread-safe.
///
/// Completion: `category` returns at once, with or without an audio server.
///
/// Errors: Without an audio server nothing is posted and nothing is logged.
class AudioSession {
 public:
  virtual ~AudioSession() = default;
  virtual std::string category() = 0;
};

}  // namespace vemora
