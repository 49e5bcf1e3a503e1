#pragma once

#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraView.h>

#include <memory>

namespace vemora {

/// Plays ads inside a view of the host app, which they fill.
class VEMORA_EXPORT VemoraInlineAdPlayer final : public VemoraAdPlayerBase {
 public:
  /// A player without a host view: it loads and sends its commands, but shows nothing.
  static std::shared_ptr<VemoraInlineAdPlayer> initWithAdPlayerDelegate(
      std::weak_ptr<VemoraAdPlayerDelegate> delegate);
  /// Holds `parentView` strongly. Give it a delegate with `setDelegate` before `load`.
  static std::shared_ptr<VemoraInlineAdPlayer> initInView(std::shared_ptr<View> parentView);

 private:
  using VemoraAdPlayerBase::VemoraAdPlayerBase;
};

}  // namespace vemora
