#pragma once

#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraView.h>

#include <memory>

namespace vemora {

/// Plays ads inside a view of the host app, which they fill.
class VEMORA_EXPORT VemoraInlineAdPlayer final : public VemoraAdPlayerBase {
 public:
  /// A player in this view, with this delegate. Never null. Holds the view strongly and the delegate
  /// weakly. With a null view the player loads and sends its commands, but shows nothing. Main thread.
  static std::shared_ptr<VemoraInlineAdPlayer> initInView(std::shared_ptr<View> parentView,
                                                          std::weak_ptr<VemoraAdPlayerDelegate> delegate);
  /// The same without a delegate: set one before `load`.
  static std::shared_ptr<VemoraInlineAdPlayer> initInView(std::shared_ptr<View> parentView);
  /// The same without a view.
  static std::shared_ptr<VemoraInlineAdPlayer> initWithAdPlayerDelegate(
      std::weak_ptr<VemoraAdPlayerDelegate> delegate);

 private:
  using VemoraAdPlayerBase::VemoraAdPlayerBase;
};

}  // namespace vemora
