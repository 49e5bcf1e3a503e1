#pragma once

#include "ports/AudioSession.h"

#include <memory>
#include <string>

namespace vemora::gtk {

struct PulseAudioOptions {
  /// A server's address as PulseAudio writes them; empty for the user's own.
  std::string server;
  /// How long the outputs must have been quiet before a change counts: one plug pulled makes several events.
  double settleSeconds = 0.1;
  /// Until the next try to reach a server; doubled after each failure, up to the most.
  double retrySeconds = 2;
  double mostRetrySeconds = 60;
};

/// The audio route from a PulseAudio server, or from PipeWire's in its place. Connects at the first question,
/// never starts a server, and waits for one quietly.
std::unique_ptr<AudioSession> makePulseAudioSession(PulseAudioOptions options);

}  // namespace vemora::gtk
