#pragma once

#include "base/Locked.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace vemora {

class VMRContext;

/// The device as ad requests describe it. All fields but `tracking` are text, absent until the first
/// `updateInfo` and where the platform has none; absent fields are sent as null. Each may be read or
/// written from any thread. `updateInfo` must not run on two threads at the same time.
class VMRDeviceManager {
 public:
  using Text = std::optional<std::string>;

  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VMRDeviceManager> init();
  /// Reads nothing yet. Holds the context weakly. Never null.
  static std::shared_ptr<VMRDeviceManager> initWithContext(std::weak_ptr<VMRContext> context);

  /// Reads all fields from the platform. Blocks up to five seconds for a first location fix.
  void updateInfo();

  /// The context's user agent; absent without a context.
  Text userAgent();
  /// The network connection code, from the telephony class where the device has it.
  std::string deviceConnectionType();
  /// Always "0".
  std::string deviceConnectionTypeFromCoreTelephony();
  /// The code of the network type that the status bar shows; "0" when it shows none.
  std::string deviceConnectionTypeFromScreenScraping();
  /// "1" for phones and tablets, "3" for televisions, "0" for all others.
  std::string deviceType();

  /// Null once the context has been destroyed.
  std::shared_ptr<VMRContext> context() const { return context_.lock(); }
  /// True when the user limits ad tracking.
  bool tracking() const { return tracking_; }
  void setTracking(bool limited) { tracking_ = limited; }
  /// The advertising identifier: upper-case UUID text.
  Text ad_id() const { return ad_id_.get(); }
  void setAd_id(Text value) { ad_id_.set(std::move(value)); }
  /// The network connection code.
  Text connection_type() const { return connection_type_.get(); }
  void setConnection_type(Text value) { connection_type_.set(std::move(value)); }
  /// The first preferred localization, with "_" for "-".
  Text lang() const { return lang_.get(); }
  void setLang(Text value) { lang_.set(std::move(value)); }
  /// Always "Apple", which the controller expects.
  Text make() const { return make_.get(); }
  void setMake(Text value) { make_.set(std::move(value)); }
  Text model() const { return model_.get(); }
  void setModel(Text value) { model_.set(std::move(value)); }
  Text os() const { return os_.get(); }
  void setOs(Text value) { os_.set(std::move(value)); }
  Text os_version() const { return os_version_.get(); }
  void setOs_version(Text value) { os_version_.set(std::move(value)); }
  /// Seconds since 1 January 2001 00:00 UTC, as decimal text.
  Text time() const { return time_.get(); }
  void setTime(Text value) { time_.set(std::move(value)); }
  /// Never set by the SDK.
  Text type() const { return type_.get(); }
  void setType(Text value) { type_.set(std::move(value)); }
  /// The vendor identifier.
  Text udid() const { return udid_.get(); }
  void setUdid(Text value) { udid_.set(std::move(value)); }
  /// The user agent that payloads carry.
  Text useragent() const { return useragent_.get(); }
  void setUseragent(Text value) { useragent_.set(std::move(value)); }
  /// Never set by the SDK.
  Text debug() const { return debug_.get(); }
  void setDebug(Text value) { debug_.set(std::move(value)); }
  Text prefetch() const { return prefetch_.get(); }
  void setPrefetch(Text value) { prefetch_.set(std::move(value)); }
  Text autoinit() const { return autoinit_.get(); }
  void setAutoinit(Text value) { autoinit_.set(std::move(value)); }
  /// ISO 3166-1 alpha-2 code.
  Text geo_country() const { return geo_country_.get(); }
  void setGeo_country(Text value) { geo_country_.set(std::move(value)); }
  /// Degrees as decimal text, of the last usable fix.
  Text geo_lat() const { return geo_lat_.get(); }
  void setGeo_lat(Text value) { geo_lat_.set(std::move(value)); }
  Text geo_long() const { return geo_long_.get(); }
  void setGeo_long(Text value) { geo_long_.set(std::move(value)); }
  /// "1" once a fix has been used.
  Text geo_type() const { return geo_type_.get(); }
  void setGeo_type(Text value) { geo_type_.set(std::move(value)); }

 private:
  explicit VMRDeviceManager(std::weak_ptr<VMRContext> context) : context_(std::move(context)) {}
  void updateLocation();

  const std::weak_ptr<VMRContext> context_;
  std::atomic<bool> tracking_{false};
  Locked<Text> userAgent_;
  Locked<Text> ad_id_;
  Locked<Text> connection_type_;
  Locked<Text> lang_;
  Locked<Text> make_;
  Locked<Text> model_;
  Locked<Text> os_;
  Locked<Text> os_version_;
  Locked<Text> time_;
  Locked<Text> type_;
  Locked<Text> udid_;
  Locked<Text> useragent_;
  Locked<Text> debug_;
  Locked<Text> prefetch_;
  Locked<Text> autoinit_;
  Locked<Text> geo_country_;
  Locked<Text> geo_lat_;
  Locked<Text> geo_long_;
  Locked<Text> geo_type_;
};

}  // namespace vemora
