#include "Classes/VMRContext.h"

#include "Classes/VMRAppInfo.h"
#include "Classes/VMRDeviceManager.h"
#include "Classes/VMRLocationDumper.h"
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
