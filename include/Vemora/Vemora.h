#pragma once

#include <Vemora/VemoraExport.h>

#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// The major version as a number: 1.0. `Vemora::version` falls back to it.
VEMORA_EXPORT extern const double VemoraVersionNumber;
/// The version as a zero-terminated source-identification marker, which what(1) finds in the library.
VEMORA_EXPORT extern const unsigned char VemoraVersionString[];

/// How much a recording shows.
enum VemoraRecordingDetail {
  /// Without the advertising id, the location, consent values, the API key and everything in the ad request's
  /// params, custom and playback entries, wherever these values turn up.
  VemoraRecordingRedacted,
  /// All of it: for the developer's machine, and never for a report that others read.
  VemoraRecordingUnredacted,
};

/// Settings of the whole SDK, and its log. There are no instances.
///
/// **Threads.** Every operation may be called from any thread.
///
/// **Lifetime.** Settings live as long as the process and are not stored. Set them at each launch, before
/// creating ad requests.
class VEMORA_EXPORT Vemora {
 public:
  Vemora() = delete;

  /// The version of this library, such as "1.0.0". Never empty.
  static std::string version();

  /// The key that requests get when they are given none. Absent until set.
  static std::optional<std::string> apiKey();
  /// Sets that key for requests created from now on. An absent value clears it; an empty one is kept as it
  /// is.
  static void setAPIKey(std::optional<std::string> key);

  /// Whether `log` prints. False until set.
  static bool debugMode();
  /// Turns the output of `log` on or off. Debug mode also shows the page's alerts, and turns on the debug
  /// output of a viewability library.
  static void debugMode(bool enabled);

  /// Begins to record what this process's sessions do, as lines of JSON in `file`, which is created or
  /// replaced and readable for its owner alone. docs/inspector.md explains the file. A recording that is
  /// under way ends. False, with a line in the error log, when the file cannot be written.
  ///
  /// In debug mode the environment can ask for the same: `VEMORA_INSPECT` names the file, and
  /// `VEMORA_INSPECT_UNREDACTED=1` leaves nothing out.
  static bool startRecording(const std::string& file, VemoraRecordingDetail detail = VemoraRecordingRedacted);
  /// Ends the recording, if there is one, once everything up to now has been written: it waits for the file.
  static void stopRecording();

  /// Prints "VEMORA LOG: " and the message to the system's log in debug mode; a no-op otherwise.
  static void log(std::string_view message);
  /// Prints "VEMORA ERROR: " and the message to the system's log, also outside debug mode.
  static void logError(std::string_view message);
};

}  // namespace vemora
