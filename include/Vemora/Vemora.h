#pragma once

#include <Vemora/VemoraExport.h>

#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// The version as a number, for the rare case that the library's own information is missing.
VEMORA_EXPORT extern const double VemoraVersionNumber;
/// A source-identification marker, as what(1) finds it.
VEMORA_EXPORT extern const unsigned char VemoraVersionString[];

/// Settings of the whole SDK, and its log. Set them before making ad requests; they live as long as the
/// process and are not stored. Every operation may be called from any thread.
class VEMORA_EXPORT Vemora {
 public:
  Vemora() = delete;

  /// The version of this library, such as "1.0.0"; never empty.
  static std::string version();

  /// The key that ad requests take when they are given none. Absent until set.
  static std::optional<std::string> apiKey();
  /// An absent value clears the key; an empty one is kept as it is.
  static void setAPIKey(std::optional<std::string> key);

  /// Whether `log` prints. False at first.
  static bool debugMode();
  static void debugMode(bool enabled);

  /// Prints "VEMORA LOG: " and the message to the system's log, in debug mode only.
  static void log(std::string_view message);
  /// Prints "VEMORA ERROR: " and the message to the system's log.
  static void logError(std::string_view message);
};

}  // namespace vemora
