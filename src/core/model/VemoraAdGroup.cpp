#include "base/InitNotValid.h"
#include "base/VMRUtilities.h"

#include <Vemora/VemoraAdGroup.h>

#include <algorithm>
#include <numeric>

namespace vemora {

std::shared_ptr<VemoraAdGroup> VemoraAdGroup::init() {
  throwInitNotValid("VemoraAdGroup");
}

std::shared_ptr<VemoraAdGroup> VemoraAdGroup::initWithAdGroupDict(const JsonValue& dictionary) {
  const JsonValue list =
      VMRUtilities::jsonValueFrom(VMRUtilities::jsonValueFrom(dictionary, "adgroup"), "ads");
  if (list.isNull()) return nullptr;
  Ads ads;
  ads.reserve(list.elements().size());
  for (const JsonValue& element : list.elements()) ads.push_back(VemoraAd::initWithAdDictionary(element));
  std::stable_sort(ads.begin(), ads.end(), [](const auto& a, const auto& b) {
    return a->index().integerValue() < b->index().integerValue();
  });
  return std::shared_ptr<VemoraAdGroup>(new VemoraAdGroup(std::move(ads)));
}

double VemoraAdGroup::totalDuration() const {
  return std::accumulate(ads_.begin(), ads_.end(), 0.0,
                         [](double sum, const auto& ad) { return sum + ad->duration().doubleValue(); });
}

}  // namespace vemora
