#pragma once

#include "ports/URLSession.h"

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vemora {

enum class LogLevel { Default, Error };

/// The log, random numbers, digests, addresses and URL sessions.
///
/// Lifetime: As long as the platform.
///
/// Threads: Thread-safe.
///
/// Completion: Every call takes effect before it returns.
///
/// Errors: None. A machine without a source of random numbers aborts the process.
class System {
 public:
  using SHA1Digest = std::array<std::uint8_t, 20>;

  virtual ~System() = default;

  virtual void log(LogLevel level, std::string_view line) = 0;
  /// Uniform, from the system's cryptographic source.
  virtual std::uint32_t randomUInt32() = 0;
  /// A random UUID (RFC 4122, version 4), upper-case and hyphenated.
  virtual std::string newUUIDString() = 0;
  /// FIPS 180.
  virtual SHA1Digest sha1(std::string_view bytes) = 0;
  /// Absent when the text is not an absolute address.
  virtual std::optional<URL> urlWithString(std::string_view text) = 0;
  virtual std::unique_ptr<URLSession> createEphemeralURLSession() = 0;
};

}  // namespace vemora
