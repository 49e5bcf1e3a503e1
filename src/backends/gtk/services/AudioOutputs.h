#pragma once

#include "ports/AudioSession.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vemora::gtk {

/// A socket or speaker of an output device.
struct AudioPort {
  std::string name;
  bool available = true;  ///< False only when it is known that nothing is plugged in.
};

/// An output device, as the sound server lists them.
struct AudioOutput {
  std::uint32_t index = 0;  ///< Never used twice by one server.
  std::string name;
  std::string activePort;  ///< Empty for devices without ports.
  std::vector<AudioPort> ports;
};

/// What there is to play on at one moment, and on which of it sound comes out by default.
struct AudioOutputs {
  std::vector<AudioOutput> outputs;
  std::string defaultName;
};

/// Why the second differs from the first; absent when no route changed. The removal of
/// the output in use takes precedence over other changes at the same time. The server's placeholder for "no
/// output" counts as no output.
std::optional<AVAudioSessionRouteChangeReason> routeChangeReason(const AudioOutputs& before,
                                                                 const AudioOutputs& after);

}  // namespace vemora::gtk
