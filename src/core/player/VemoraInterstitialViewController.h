#pragma once

#include "ports/ViewController.h"

#include <memory>

namespace vemora {

/// The full-screen stage of an interstitial. Main thread.
class VemoraInterstitialViewController {
 public:
  static std::shared_ptr<ViewController> init();
  static constexpr bool prefersStatusBarHidden() { return true; }
};

}  // namespace vemora
