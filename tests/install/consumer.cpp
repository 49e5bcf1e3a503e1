#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/InternalInconsistencyException.h>
#include <Vemora/Vemora.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraTypes.h>

#include <cstdio>

namespace {

class Host final : public vemora::VemoraAdPlayerDelegate {
 public:
  std::shared_ptr<vemora::VemoraAdRequest> requestForPlayer(const Player&) override {
    return vemora::VemoraAdRequest::init();
  }
};

bool throwsAcrossTheBoundary() {
  try {
    vemora::VemoraAd::init();
  } catch (const vemora::InternalInconsistencyException&) {
    return true;
  }
  return false;
}

}  // namespace

int main() {
  const auto host = std::make_shared<Host>();
  const auto player = vemora::VemoraInlineAdPlayer::initWithAdPlayerDelegate(host);
  const bool good = player->placementType() == "inline" && player->delegate() == host && !player->adGroup() &&
                    vemora::Vemora::version() == "1.0.0" && throwsAcrossTheBoundary() &&
                    vemora::VemoraAdEventFromNSString("adstarted") == vemora::AdStarted;
  std::printf("Vemora %s: %s\n", vemora::Vemora::version().c_str(), good ? "good" : "bad");
  return good ? 0 : 1;
}
