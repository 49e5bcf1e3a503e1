#pragma once

#include "base/Locked.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

class VMRAppInfo;
class VMRDeviceManager;
class VMRFuture;
class VMRLocationDumper;

/// The environment of one load: app, device, location and user agent. Created on the main thread; read from
/// any thread.
class VMRContext : public std::enable_shared_from_this<VMRContext> {
 public:
  /// Creates the providers, and asks the platform's web view for its user agent, which may answer later.
  /// Never null.
  static std::shared_ptr<VMRContext> init();

  /// The user agent of the platform's web view; absent when the web view has none. Off the main thread it
  /// waits up to two seconds for the answer; on the main thread it is absent until then. Once known, it never
  /// changes.
  std::optional<std::string> userAgent() const;
  /// The three providers; never null.
  const std::shared_ptr<VMRLocationDumper>& locationDumper() const { return locationDumper_; }
  const std::shared_ptr<VMRDeviceManager>& deviceManager() const { return deviceManager_; }
  const std::shared_ptr<VMRAppInfo>& appInfo() const { return appInfo_; }
  /// The video player interfaces that the controller may use.
  std::vector<std::string> supportedVPIs() const { return supportedVPIs_.get(); }
  void setSupportedVPIs(std::vector<std::string> interfaces) { supportedVPIs_.set(std::move(interfaces)); }

 private:
  VMRContext();
  void sharedInit();

  /// Resolved with an optional string.
  const std::shared_ptr<VMRFuture> userAgent_;
  std::shared_ptr<VMRLocationDumper> locationDumper_;
  std::shared_ptr<VMRDeviceManager> deviceManager_;
  std::shared_ptr<VMRAppInfo> appInfo_;
  Locked<std::vector<std::string>> supportedVPIs_;
};

}  // namespace vemora
