#include "core/context/VMRContext.h"

#include "core/context/VMRAppInfo.h"
#include "core/context/VMRDeviceManager.h"
#include "core/context/VMRLocationDumper.h"
#include "ports/Platform.h"

namespace vemora {

std::shared_ptr<VMRContext> VMRContext::init() {
  std::shared_ptr<VMRContext> context(new VMRContext);
  context->sharedInit();
  return context;
}

void VMRContext::sharedInit() {
  locationDumper_ = VMRLocationDumper::init();
  deviceManager_ = VMRDeviceManager::initWithContext(weak_from_this());
  appInfo_ = VMRAppInfo::initWithContext(weak_from_this());
  userAgent_ = Platform::shared().application().webViewUserAgent();
  setSupportedVPIs({"mp4", "tvjs", "vpaid_js"});
}

}  // namespace vemora
