#pragma once

#include <Vemora/VemoraExport.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vemora {

/// The domain of every error that the SDK creates itself.
inline constexpr char VMRErrorDomain[] = "VMRErrorDomain";

/// Codes in `VMRErrorDomain`.
enum VMRErrorCode : std::int64_t {
  VMRErrorNoRequest = 5001,      ///< The delegate supplied no ad request.
  VMRErrorBridge = 5002,         ///< The controller page could not be reached or did not answer.
  VMRErrorNoAds = 5003,          ///< The controller answered without ads.
  VMRErrorPlayback = 5004,       ///< The controller ended playback with an error.
  VMRErrorNotResponding = 5005,  ///< The controller stopped sending heartbeats.
};

/// A failure as a value: what failed (`domain`, `code`), what to tell people (`description`), and why. Errors
/// are immutable once handed on and may be passed between threads.
struct VEMORA_EXPORT VMRError {
  std::string domain;
  std::int64_t code = 0;
  std::string description;
  std::optional<std::string> failureReason;
  std::optional<std::string> recoverySuggestion;
  std::shared_ptr<const VMRError> underlyingError;

  bool operator==(const VMRError& other) const;
};

/// One line for logs: the description, the reason if there is one, the domain and the code.
VEMORA_EXPORT std::string toString(const VMRError& error);

}  // namespace vemora
