#include "core/player/VemoraInterstitialViewController.h"

#include "ports/Platform.h"

namespace vemora {

std::shared_ptr<ViewController> VemoraInterstitialViewController::init() {
  ViewControllerTraits traits;
  traits.prefersStatusBarHidden = prefersStatusBarHidden();
  return Platform::shared().application().createViewController(traits);
}

}  // namespace vemora
