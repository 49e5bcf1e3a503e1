#pragma once

#include <optional>
#include <string>

namespace vemora {

enum class UserInterfaceIdiom { Unspecified = -1, Phone = 0, Pad = 1, TV = 2 };

/// The machine and the identifiers that the platform lends to advertising.
///
/// Lifetime: as long as the platform.
/// Threads: any.
/// Completion: answers are immediate.
/// Errors: what is not known is absent.
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

  /// Whether the platform has the class "CTTelephonyNetworkInfo".
  virtual bool hasTelephonyNetworkInfo() = 0;
  /// What the status bar's network item shows: 0 nothing, 1 "2G", 2 "3G", 3 "4G", 4 LTE, 5 Wi-Fi. Main thread
  /// where the platform has a status bar. Absent without such an item.
  virtual std::optional<int> statusBarDataNetworkType() = 0;
};

}  // namespace vemora
