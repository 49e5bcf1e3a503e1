#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraAd.h>
#include <Vemora/VemoraExport.h>

#include <memory>
#include <vector>

namespace vemora {

/// The ads of one load, in the order in which the controller page plays them. Immutable; any thread.
/// Iterating over the group iterates over its ads.
///
///     for (const auto& ad : *group) std::puts(ad->idText().c_str());
class VEMORA_EXPORT VemoraAdGroup {
 public:
  /// The ads of a group; none of them is null.
  using Ads = std::vector<std::shared_ptr<VemoraAd>>;

  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VemoraAdGroup> init();
  /// Reads the list "ads" of the object "adgroup" of a JSON object. Null when there is no such list; a
  /// group without ads when it is empty.
  static std::shared_ptr<VemoraAdGroup> initWithAdGroupDict(const JsonValue& dictionary);

  /// The ads, sorted by their `index`; ads of equal index are in no particular order. May be empty.
  const Ads& ads() const { return ads_; }
  /// The first of the ads.
  Ads::const_iterator begin() const { return ads_.begin(); }
  /// The end of the ads.
  Ads::const_iterator end() const { return ads_.end(); }

  /// The sum of the ads' durations in seconds; an ad without a duration counts as 0.
  double totalDuration() const;

 private:
  explicit VemoraAdGroup(Ads ads) : ads_(std::move(ads)) {}

  Ads ads_;
};

}  // namespace vemora
