#include "core/context/VMRGDPRCMP.h"

#include "ports/Platform.h"

namespace vemora {

std::optional<std::string> VMRGDPRCMP::isSubjectToGDPR() {
  return Platform::shared().userDefaults().stringForKey("IABConsent_SubjectToGDPR");
}

std::optional<std::string> VMRGDPRCMP::consentString() {
  return Platform::shared().userDefaults().stringForKey("IABConsent_ConsentString");
}

}  // namespace vemora
