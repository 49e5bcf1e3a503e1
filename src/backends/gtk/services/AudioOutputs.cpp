#include "backends/gtk/services/AudioOutputs.h"

#include <algorithm>

namespace vemora::gtk {

namespace {

/// The device without a sound card that servers make when there is no other.
constexpr char kNoOutput[] = "auto_null";

template <typename Predicate>
const AudioOutput* findOutput(const AudioOutputs& outputs, Predicate matches) {
  const auto found = std::find_if(
      outputs.outputs.begin(), outputs.outputs.end(),
      [&matches](const AudioOutput& output) { return output.name != kNoOutput && matches(output); });
  return found == outputs.outputs.end() ? nullptr : &*found;
}

const AudioOutput* withIndex(const AudioOutputs& outputs, std::uint32_t index) {
  return findOutput(outputs, [index](const AudioOutput& output) { return output.index == index; });
}

/// Where sound comes out; null for nowhere.
const AudioOutput* route(const AudioOutputs& outputs) {
  return findOutput(outputs,
                    [&outputs](const AudioOutput& output) { return output.name == outputs.defaultName; });
}

bool isAvailable(const AudioOutput& output, const std::string& port) {
  const auto found = std::find_if(output.ports.begin(), output.ports.end(),
                                  [&port](const AudioPort& candidate) { return candidate.name == port; });
  return found != output.ports.end() && found->available;
}

/// True when the port in use had something plugged in, and has not any more.
bool lostActivePort(const AudioOutput& before, const AudioOutput& after) {
  return isAvailable(before, before.activePort) && !isAvailable(after, before.activePort);
}

bool gainedPort(const AudioOutput& before, const AudioOutput& after) {
  return std::any_of(after.ports.begin(), after.ports.end(), [&before](const AudioPort& port) {
    return port.available && !isAvailable(before, port.name);
  });
}

bool gainedOutput(const AudioOutputs& before, const AudioOutputs& after) {
  return findOutput(after, [&before](const AudioOutput& output) {
    const AudioOutput* earlier = withIndex(before, output.index);
    return !earlier || gainedPort(*earlier, output);
  });
}

}  // namespace

std::optional<AVAudioSessionRouteChangeReason> routeChangeReason(const AudioOutputs& before,
                                                                 const AudioOutputs& after) {
  const AudioOutput* was = route(before);
  const AudioOutput* still = was ? withIndex(after, was->index) : nullptr;
  if (was && (!still || lostActivePort(*was, *still)))
    return AVAudioSessionRouteChangeReasonOldDeviceUnavailable;
  if (gainedOutput(before, after)) return AVAudioSessionRouteChangeReasonNewDeviceAvailable;

  const AudioOutput* now = route(after);
  // Without a route before, the rest of a loss that was reported already.
  if (!was || !now) return std::nullopt;
  const bool chosen = was->index != now->index || was->activePort != now->activePort;
  return chosen ? std::optional(AVAudioSessionRouteChangeReasonRouteConfigurationChange) : std::nullopt;
}

}  // namespace vemora::gtk
