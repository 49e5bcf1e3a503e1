#include "base/Ascii.h"
#include "core/model/VemoraTypes_p.h"

#include <Vemora/VemoraTypes.h>

#include <algorithm>

namespace vemora {

std::vector<std::string> adEventArr() {
  return {"AdUnknown",       "AdLoaded",
          "AdStarted",       "AdStopped",
          "AdSkipped",       "AdImpression",
          "AdVideoStart",    "AdVideoFirstQuartile",
          "AdVideoMidpoint", "AdVideoThirdQuartile",
          "AdVideoComplete", "AdUserClose",
          "AdPaused",        "AdPlaying",
          "AdLinearChange",  "AdExpandedChange",
          "AdInteraction",   "AdVolumeChange",
          "AdClickThru",     "AdLog",
          "AdSizeChange",    "AdTimeChange",
          "AdGroupStart",    "AdGroupEnd",
          "AdError",         "AdSkippableStateChange"};
}

VemoraAdEvent VemoraAdEventFromNSString(std::optional<std::string_view> name) {
  if (!name) return AdUnknown;
  const std::vector<std::string> names = adEventArr();
  const auto found = std::find_if(names.begin(), names.end(),
                                  [&](const auto& known) { return equalsIgnoringCase(known, *name); });
  return found == names.end() ? AdUnknown : static_cast<VemoraAdEvent>(found - names.begin());
}

std::string NSStringFromVemoraAdEvent(VemoraAdEvent event) {
  const std::vector<std::string> names = adEventArr();
  const auto index = static_cast<std::size_t>(event);  // Negative values wrap to large ones.
  return names[index < names.size() ? index : 0];
}

}  // namespace vemora
