#pragma once

#include "base/Locked.h"

#include <memory>
#include <optional>
#include <string>

namespace vemora {

class VMRContext;

/// The host application and this SDK as ad requests describe them. The fields are filled on creation. Each
/// may be read or written from any thread; absent fields are sent as null.
class VMRAppInfo {
 public:
  using Text = std::optional<std::string>;

  /// As `initWithContext` without a context. Never null.
  static std::shared_ptr<VMRAppInfo> init();
  /// Reads all fields once. Holds the context weakly. Never null.
  static std::shared_ptr<VMRAppInfo> initWithContext(std::weak_ptr<VMRContext> context);

  /// Reads all fields again.
  void updateInfo();
  /// The identifier of this installation: UUID text, created and stored in the user defaults on first use.
  std::string appGUID();

  /// Null once the context has been destroyed.
  std::shared_ptr<VMRContext> context() const { return context_.lock(); }
  /// The identifier of the host application, not of the SDK.
  Text sdk_bundle_id() const { return sdk_bundle_id_.get(); }
  void setSdk_bundle_id(Text value) { sdk_bundle_id_.set(std::move(value)); }
  /// The name of the host application, not of the SDK.
  Text sdk_name() const { return sdk_name_.get(); }
  void setSdk_name(Text value) { sdk_name_.set(std::move(value)); }
  /// The version of the SDK itself.
  Text sdk_version() const { return sdk_version_.get(); }
  void setSdk_version(Text value) { sdk_version_.set(std::move(value)); }
  /// SHA-1 of advertising identifier and installation identifier: 40 hexadecimal digits.
  Text app_uid() const { return app_uid_.get(); }
  void setApp_uid(Text value) { app_uid_.set(std::move(value)); }

 private:
  explicit VMRAppInfo(std::weak_ptr<VMRContext> context) : context_(std::move(context)) {}

  Locked<Text> sdk_bundle_id_;
  Locked<Text> sdk_version_;
  Locked<Text> sdk_name_;
  Locked<Text> app_uid_;
  const std::weak_ptr<VMRContext> context_;
};

}  // namespace vemora
