#pragma once

#include <Vemora/VemoraExport.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace vemora {

/// The domain of all errors that delegates get. The underlying error of one of them may have another
/// domain.
inline constexpr char VMRErrorDomain[] = "VMRErrorDomain";

/// The domain of an error with which the controller page answered, as the underlying error of one of ours:
/// the code and the description are the page's own.
inline constexpr char VMRControllerErrorDomain[] = "VMRControllerErrorDomain";

/// The codes in `VMRErrorDomain`.
enum VMRErrorCode : std::int64_t {
  VMRErrorNoRequest = 5001,      ///< The delegate supplied no ad request.
  VMRErrorBridge = 5002,         ///< The controller page could not be reached or did not answer.
  VMRErrorNoAds = 5003,          ///< The controller answered without ads.
  VMRErrorPlayback = 5004,       ///< The controller ended playback with an error.
  VMRErrorNotResponding = 5005,  ///< The controller stopped sending heartbeats.
};

/// A failure as a value. Errors are copied freely and may be passed between threads.
struct VEMORA_EXPORT VMRError {
  std::string domain;                             ///< Where the code belongs: `VMRErrorDomain` or another.
  std::int64_t code = 0;                          ///< What failed.
  std::string description;                        ///< The same in words, in English.
  std::optional<std::string> failureReason;       ///< Why it failed, if known.
  std::optional<std::string> recoverySuggestion;  ///< What might help, if known.
  /// The error that caused this one; null when there is none.
  std::shared_ptr<const VMRError> underlyingError;

  /// True when all fields are equal, underlying errors included.
  bool operator==(const VMRError& other) const;
};

/// One line for logs: the description, the reason if there is one, the domain and the code; then the same of
/// the underlying error. Any thread.
VEMORA_EXPORT std::string toString(const VMRError& error);

}  // namespace vemora
