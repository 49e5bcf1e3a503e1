#pragma once

#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraView.h>

#include <memory>

namespace vemora {

/// Plays ads centred in a view of the host app, at a fraction of its size that may change at any time: see
/// `setSize`. Until then the ad fills the view.
class VEMORA_EXPORT VemoraResizableAdPlayer final : public VemoraAdPlayerBase {
 public:
  /// A player in this view, with this delegate. Never null. Holds the view strongly and the delegate
  /// weakly. With a null view the player loads and sends its commands, but shows nothing. Main thread.
  static std::shared_ptr<VemoraResizableAdPlayer> initInView(std::shared_ptr<View> parentView,
                                                             std::weak_ptr<VemoraAdPlayerDelegate> delegate);
  /// The same without a delegate: set one before `load`.
  static std::shared_ptr<VemoraResizableAdPlayer> initInView(std::shared_ptr<View> parentView);
  /// The same without a view.
  static std::shared_ptr<VemoraResizableAdPlayer> initWithAdPlayerDelegate(
      std::weak_ptr<VemoraAdPlayerDelegate> delegate);
  /// The same without either.
  static std::shared_ptr<VemoraResizableAdPlayer> init();

 private:
  using VemoraAdPlayerBase::VemoraAdPlayerBase;
};

}  // namespace vemora
