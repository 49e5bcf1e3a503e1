#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/InfoDictionary.h"
#include "backends/gtk/network/NetworkFacts.h"
#include "backends/gtk/system/AdvertisingChoice.h"
#include "backends/gtk/system/MachineInfo.h"

#include <netinet/in.h>

namespace vemora::gtk {

namespace {

class LinuxDevice final : public Device {
 public:
  std::optional<std::string> model() override { return machine_.model(); }
  std::optional<std::string> systemName() override { return machine_.systemName(); }
  std::optional<std::string> systemVersion() override { return machine_.systemVersion(); }

  std::optional<std::string> identifierForVendor() override {
    const auto application = InfoDictionary::shared().entry("CFBundleIdentifier");
    const auto vendor = application ? vendorOfApplication(*application) : std::nullopt;
    return vendor ? machine_.identifierForVendor(*vendor) : std::nullopt;
  }

  UserInterfaceIdiom userInterfaceIdiom() override { return machine_.userInterfaceIdiom(); }

  std::optional<std::string> advertisingIdentifier() override {
    return AdvertisingChoice::shared().identifier();
  }
  bool isAdvertisingTrackingEnabled() override { return AdvertisingChoice::shared().isTrackingEnabled(); }

  /// There is no such class to look up, but a telephony stack that any Linux may have: whoever asks is led to
  /// the way that needs no user-interface objects and never reads a status bar, which a desktop does not
  /// have.
  bool hasTelephonyNetworkInfo() override { return true; }

  std::optional<int> statusBarDataNetworkType() override {
    sockaddr_in internet{};
    internet.sin_family = AF_INET;
    const NetworkFacts facts =
        factsForAddress(reinterpret_cast<const sockaddr&>(internet), G_NETWORK_CONNECTIVITY_FULL);
    if (!facts.routed) return std::nullopt;
    switch (facts.kind) {
      case InterfaceKind::WiFi:
        return 5;
      case InterfaceKind::WWAN:
        return 3;  // The kernel does not know a mobile network's generation.
      default:
        return std::nullopt;
    }
  }

 private:
  const MachineInfo machine_;
};

}  // namespace

std::unique_ptr<Device> makeDevice() {
  return std::make_unique<LinuxDevice>();
}

}  // namespace vemora::gtk
