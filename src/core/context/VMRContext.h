#pragma once

#include "base/Locked.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

class VMRAppInfo;
class VMRDeviceManager;
class VMRLocationDumper;

/// The environment of one load: who asks, from what device, from where. Made on the main thread; read from
/// any.
class VMRContext : public std::enable_shared_from_this<VMRContext> {
 public:
  static std::shared_ptr<VMRContext> init();

  /// The user agent of the platform's web view; absent when it does not say.
  const std::optional<std::string>& userAgent() const { return userAgent_; }
  const std::shared_ptr<VMRLocationDumper>& locationDumper() const { return locationDumper_; }
  const std::shared_ptr<VMRDeviceManager>& deviceManager() const { return deviceManager_; }
  const std::shared_ptr<VMRAppInfo>& appInfo() const { return appInfo_; }
  /// The video player interfaces offered to the controller.
  std::vector<std::string> supportedVPIs() const { return supportedVPIs_.get(); }
  void setSupportedVPIs(std::vector<std::string> interfaces) { supportedVPIs_.set(std::move(interfaces)); }

 private:
  VMRContext() = default;
  void sharedInit();

  std::optional<std::string> userAgent_;
  std::shared_ptr<VMRLocationDumper> locationDumper_;
  std::shared_ptr<VMRDeviceManager> deviceManager_;
  std::shared_ptr<VMRAppInfo> appInfo_;
  Locked<std::vector<std::string>> supportedVPIs_;
};

}  // namespace vemora
