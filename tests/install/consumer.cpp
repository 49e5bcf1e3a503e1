#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/InternalInconsistencyException.h>
#include <Vemora/Vemora.h>
#include <Vemora/VemoraAdBreak.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraTypes.h>

#include <cstdio>

std::shared_ptr<vemora::VemoraAdBreak> portableBreak();

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

int main(int, char** arguments) {
  const auto host = std::make_shared<Host>();
  const auto player = vemora::VemoraInlineAdPlayer::initWithAdPlayerDelegate(host);
  const bool good = player->placementType() == "inline" && player->delegate() == host && !player->adGroup() &&
                    vemora::Vemora::version() == arguments[1] && portableBreak() &&
                    throwsAcrossTheBoundary() &&
                    vemora::VemoraAdEventFromNSString("adstarted") == vemora::AdStarted;
  std::printf("Vemora %s: %s\n", vemora::Vemora::version().c_str(), good ? "good" : "bad");
  return good ? 0 : 1;
}
