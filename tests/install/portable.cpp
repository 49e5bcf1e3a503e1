// Compiled with the portable headers alone.
#include <Vemora/VemoraSDK.h>

#if !VEMORA_VERSION_AT_LEAST(1, 0, 0) || VEMORA_VERSION_AT_LEAST(2, 0, 0)
#error "VEMORA_VERSION_AT_LEAST"
#endif

std::shared_ptr<vemora::VemoraAdBreak> portableBreak() {
  return vemora::VemoraAdBreak::initInterstitial(vemora::VemoraAdRequest::init());
}
