#include "core/context/VMRDeviceManager.h"

#include "base/InitNotValid.h"
#include "core/context/VMRContext.h"
#include "core/context/VMRLocationDumper.h"
#include "ports/Platform.h"

#include <Vemora/JsonValue.h>
#include <Vemora/Vemora.h>

#include <algorithm>
#include <chrono>

namespace vemora {

namespace {

/// 1 January 2001 00:00 UTC in seconds of the Unix epoch.
constexpr double kReferenceDate = 978307200;

std::string timeSinceReferenceDate() {
  const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
  return *JsonValue(now.count() - kReferenceDate).stringValue();
}

std::optional<std::string> firstLocalization() {
  const std::vector<std::string> localizations = Platform::shared().bundle().preferredLocalizations();
  if (localizations.empty()) return std::nullopt;
  std::string first = localizations.front();
  std::replace(first.begin(), first.end(), '-', '_');
  return first;
}

}  // namespace

std::shared_ptr<VMRDeviceManager> VMRDeviceManager::init() {
  throwInitNotValid("VMRDeviceManager");
}

std::shared_ptr<VMRDeviceManager> VMRDeviceManager::initWithContext(std::weak_ptr<VMRContext> context) {
  return std::shared_ptr<VMRDeviceManager>(new VMRDeviceManager(std::move(context)));
}

void VMRDeviceManager::updateInfo() {
  Device& device = Platform::shared().device();
  setAd_id(device.advertisingIdentifier());
  setLang(firstLocalization());
  setTime(timeSinceReferenceDate());
  setPrefetch("0");
  setAutoinit("1");
  setTracking(!device.isAdvertisingTrackingEnabled());
  setMake("Apple");
  setModel(device.model());
  setOs(device.systemName());
  setOs_version(device.systemVersion());
  setUdid(device.identifierForVendor());
  setUseragent(userAgent());
  setConnection_type(deviceConnectionType());
  updateLocation();
}

void VMRDeviceManager::updateLocation() {
  const auto known = context();
  const auto locations = known ? known->locationDumper() : nullptr;
  setGeo_country(locations ? locations->countryCode() : std::nullopt);
  const std::optional<Location> location = locations ? locations->currentLocation() : std::nullopt;
  // A fix at exactly zero counts as none, and the previous one stays. Kept on purpose.
  if (!location || location->latitude == 0.0 || location->longitude == 0.0) return;
  setGeo_lat(JsonValue(location->latitude).stringValue());
  setGeo_long(JsonValue(location->longitude).stringValue());
  setGeo_type("1");
}

VMRDeviceManager::Text VMRDeviceManager::userAgent() {
  const auto known = context();
  userAgent_.set(known ? known->userAgent() : std::nullopt);
  return userAgent_.get();
}

std::string VMRDeviceManager::deviceConnectionType() {
  return Platform::shared().device().hasTelephonyNetworkInfo() ? deviceConnectionTypeFromCoreTelephony()
                                                               : deviceConnectionTypeFromScreenScraping();
}

std::string VMRDeviceManager::deviceConnectionTypeFromCoreTelephony() {
  // Neither Wi-Fi status nor radio technology is queried: the type is always unknown. Kept on purpose.
  return "0";
}

std::string VMRDeviceManager::deviceConnectionTypeFromScreenScraping() {
  struct Shown {
    const char* word;
    const char* code;
  };
  static constexpr Shown kShown[] = {
      {"No wifi or cellular", "0"}, {"2G", "4"}, {"3G", "5"}, {"4G", "6"}, {"LTE", "6"}, {"Wifi", "2"}};
  const int type = Platform::shared().device().statusBarDataNetworkType().value_or(0);
  const bool isKnown = type >= 0 && type < static_cast<int>(std::size(kShown));
  const Shown shown = isKnown ? kShown[type] : Shown{"Unknown connection type", "0"};
  Vemora::log(shown.word);
  return shown.code;
}

std::string VMRDeviceManager::deviceType() {
  switch (Platform::shared().device().userInterfaceIdiom()) {
    case UserInterfaceIdiom::TV:
      return "3";
    case UserInterfaceIdiom::Phone:
    case UserInterfaceIdiom::Pad:
      return "1";
    default:
      return "0";
  }
}

}  // namespace vemora
