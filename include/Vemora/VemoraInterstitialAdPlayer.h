#pragma once

#include <Vemora/VemoraAdPlayerBase.h>

#include <memory>

namespace vemora {

/// Plays ads full-screen, presented over whatever the host app shows: over its key window, or over the
/// dialog that is on top of it. `start` presents them, and the end of the session dismisses them. Without a
/// window `start` shows and plays nothing.
class VEMORA_EXPORT VemoraInterstitialAdPlayer final : public VemoraAdPlayerBase {
 public:
  /// A player with this delegate, held weakly. Never null. Main thread.
  static std::shared_ptr<VemoraInterstitialAdPlayer> initWithAdPlayerDelegate(
      std::weak_ptr<VemoraAdPlayerDelegate> delegate);

 private:
  using VemoraAdPlayerBase::VemoraAdPlayerBase;
};

}  // namespace vemora
