#include "core/context/VMRAppInfo.h"

#include "core/context/VMRCrypto.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

namespace vemora {

namespace {

constexpr char kInstallIdentifierKey[] = "vemora.app.guid";

}  // namespace

std::shared_ptr<VMRAppInfo> VMRAppInfo::init() {
  return initWithContext({});
}

std::shared_ptr<VMRAppInfo> VMRAppInfo::initWithContext(std::weak_ptr<VMRContext> context) {
  std::shared_ptr<VMRAppInfo> info(new VMRAppInfo(std::move(context)));
  info->updateInfo();
  return info;
}

void VMRAppInfo::updateInfo() {
  Bundle& bundle = Platform::shared().bundle();
  const std::string advertisingIdentifier = Platform::shared().device().advertisingIdentifier().value_or("");
  setSdk_version(Vemora::version());
  setSdk_name(bundle.mainInfo("CFBundleName").value_or("Unknown"));
  setSdk_bundle_id(bundle.mainInfo("CFBundleIdentifier").value_or("com.unknown.unknown"));
  setApp_uid(VMRCrypto::sha1(advertisingIdentifier + appGUID()));
}

std::string VMRAppInfo::appGUID() {
  UserDefaults& defaults = Platform::shared().userDefaults();
  if (defaults.objectForKey(kInstallIdentifierKey).isNull()) {
    // Another process of the application may do the same at this moment; all of them must agree.
    defaults.setObjectIfAbsent(Platform::shared().system().newUUIDString(), kInstallIdentifierKey);
    defaults.synchronize();
  }
  return defaults.objectForKey(kInstallIdentifierKey).stringValue().value_or("");
}

}  // namespace vemora
