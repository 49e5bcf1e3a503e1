#pragma once

#include <optional>
#include <string>

namespace vemora {

enum class UserInterfaceIdiom { Unspecified = -1, Phone = 0, Pad = 1, TV = 2 };

/// The machine, and the identifiers that the platform provides for advertising.
///
/// Lifetime: As long as the platform.
///
/// Threads: The first call is made on the main thread, by the first load, so that the facts can be gathered
/// there. After it thread-safe, except for `statusBarDataNetworkType`.
///
/// Completion: Every call returns its result at once.
///
/// Errors: Unknown values are absent.
class Device {
 public:
  virtual ~Device() = default;

  virtual std::optional<std::string> model() = 0;
  virtual std::optional<std::string> systemName() = 0;
  virtual std::optional<std::string> systemVersion() = 0;
  /// Upper-case UUID text, the same for all applications of one vendor on this device.
  virtual std::optional<std::string> identifierForVendor() = 0;
  virtual UserInterfaceIdiom userInterfaceIdiom() = 0;

  /// Upper-case UUID text; all zeros while the user limits tracking.
  virtual std::optional<std::string> advertisingIdentifier() = 0;
  virtual bool isAdvertisingTrackingEnabled() = 0;

  /// True when the platform has the class "CTTelephonyNetworkInfo" or needs no status bar to be read.
  virtual bool hasTelephonyNetworkInfo() = 0;
  /// What the network item of the status bar shows: 0 nothing, 1 "2G", 2 "3G", 3 "4G", 4 LTE, 5 Wi-Fi. Absent
  /// without such an item. On the main thread where the platform has a status bar.
  virtual std::optional<int> statusBarDataNetworkType() = 0;
};

}  // namespace vemora
