#pragma once

#include <optional>
#include <string>

namespace vemora {

/// What a consent-management platform stored in the application's user defaults, under the keys of the IAB
/// Transparency and Consent Framework's mobile in-app API, version 1. Absent when nothing is stored. Any
/// thread.
class VMRGDPRCMP {
 public:
  /// "1" or "0": whether the GDPR applies. Absent when unknown.
  static std::optional<std::string> isSubjectToGDPR();
  /// The encoded consent of the user.
  static std::optional<std::string> consentString();
};

}  // namespace vemora
