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

/// The small facilities of the system library.
///
/// Lifetime: as long as the platform.
/// Threads: any.
/// Completion: everything acts at once.
/// Errors: random numbers are always to be had; a machine without them cannot run this.
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
  /// Absent when the text is no absolute address.
  virtual std::optional<URL> urlWithString(std::string_view text) = 0;
  virtual std::unique_ptr<URLSession> createEphemeralURLSession() = 0;
};

}  // namespace vemora
