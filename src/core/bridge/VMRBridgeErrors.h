#pragma once

#include <Vemora/VMRError.h>

#include <optional>
#include <string>

namespace vemora {

inline VMRError makeError(VMRErrorCode code, std::string description,
                          std::optional<std::string> failureReason = {}) {
  return {VMRErrorDomain, code, std::move(description), std::move(failureReason), std::nullopt, nullptr};
}

inline VMRError bridgeFailure(std::string reason) {
  return makeError(VMRErrorBridge, "RPC bridge failure", std::move(reason));
}

/// The failure of a call whose reply did not come in time.
inline VMRError bridgeTimeout() {
  return bridgeFailure("Timeout was reached");
}

}  // namespace vemora
