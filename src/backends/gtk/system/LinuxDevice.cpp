#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/InfoDictionary.h"
#include "backends/gtk/system/AdvertisingChoice.h"
#include "backends/gtk/system/MachineInfo.h"

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
    return AdvertisingChoice::ofApplication().identifier();
  }
  bool isAdvertisingTrackingEnabled() override {
    return AdvertisingChoice::ofApplication().isTrackingEnabled();
  }

  /// Linux has no status bar to read. Like a platform with telephony classes, it reports no connection type.
  bool hasTelephonyNetworkInfo() override { return true; }
  std::optional<int> statusBarDataNetworkType() override { return std::nullopt; }

 private:
  const MachineInfo machine_;
};

}  // namespace

std::unique_ptr<Device> makeDevice() {
  return std::make_unique<LinuxDevice>();
}

}  // namespace vemora::gtk
