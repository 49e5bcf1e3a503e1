#pragma once

#include <Vemora/VemoraAdPlayerBase.h>

#include <memory>

namespace vemora {

/// Plays ads over the whole screen, on top of whatever the host app presents.
class VEMORA_EXPORT VemoraInterstitialAdPlayer final : public VemoraAdPlayerBase {
 public:
  static std::shared_ptr<VemoraInterstitialAdPlayer> initWithAdPlayerDelegate(
      std::weak_ptr<VemoraAdPlayerDelegate> delegate);

 private:
  using VemoraAdPlayerBase::VemoraAdPlayerBase;
};

}  // namespace vemora
