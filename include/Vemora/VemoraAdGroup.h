#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraExport.h>

#include <memory>
#include <vector>

namespace vemora {

/// The ads that the controller will play, in the order of their `index`. Immutable; any thread. Iterating
/// over the group iterates over its ads.
class VEMORA_EXPORT VemoraAdGroup {
 public:
  using Ads = std::vector<std::shared_ptr<VemoraAd>>;

  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VemoraAdGroup> init();
  /// Reads the list at "adgroup", "ads" of the dictionary; null when there is none.
  static std::shared_ptr<VemoraAdGroup> initWithAdGroupDict(const JsonValue& dictionary);

  const Ads& ads() const { return ads_; }
  Ads::const_iterator begin() const { return ads_.begin(); }
  Ads::const_iterator end() const { return ads_.end(); }

  /// Seconds; an ad without a duration counts as 0.
  double totalDuration() const;

 private:
  explicit VemoraAdGroup(Ads ads) : ads_(std::move(ads)) {}

  Ads ads_;
};

}  // namespace vemora
