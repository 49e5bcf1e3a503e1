#pragma once

#include <optional>
#include <string>

namespace vemora {

/// A self-signed certificate with its private key, both as PEM.
struct SelfSignedCertificate {
  std::string certificatePem;
  std::string privateKeyPem;
};

/// Makes a fresh P-256 key and a certificate for 127.0.0.1, ::1 and localhost, valid for 90 days.
///
/// Nothing is written to disk. Absent when the system's cryptography fails; `problem` then says how.
std::optional<SelfSignedCertificate> makeLoopbackCertificate(std::string& problem);

}  // namespace vemora
