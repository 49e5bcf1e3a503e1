#pragma once

#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraView.h>

#include <memory>

namespace vemora {

/// Plays ads centred in a view of the host app, at a fraction of its size that may change at any time:
/// `setSize`, on the main thread. Until then the ad fills the view.
class VEMORA_EXPORT VemoraResizableAdPlayer final : public VemoraAdPlayerBase {
 public:
  static std::shared_ptr<VemoraResizableAdPlayer> init();
  /// A player without a host view: it loads and sends its commands, but shows nothing.
  static std::shared_ptr<VemoraResizableAdPlayer> initWithAdPlayerDelegate(
      std::weak_ptr<VemoraAdPlayerDelegate> delegate);
  /// Holds `parentView` strongly. Give it a delegate with `setDelegate` before `load`.
  static std::shared_ptr<VemoraResizableAdPlayer> initInView(std::shared_ptr<View> parentView);

 private:
  using VemoraAdPlayerBase::VemoraAdPlayerBase;
};

}  // namespace vemora
