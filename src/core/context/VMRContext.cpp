#include "core/context/VMRContext.h"

#include "core/bridge/VMRFuture.h"
#include "core/context/VMRAppInfo.h"
#include "core/context/VMRDeviceManager.h"
#include "core/context/VMRLocationDumper.h"
#include "ports/Platform.h"

namespace vemora {

namespace {

constexpr double kUserAgentTimeout = 2.0;

}  // namespace

VMRContext::VMRContext() : userAgent_(VMRFuture::init()) {}

std::shared_ptr<VMRContext> VMRContext::init() {
  std::shared_ptr<VMRContext> context(new VMRContext);
  context->sharedInit();
  return context;
}

void VMRContext::sharedInit() {
  locationDumper_ = VMRLocationDumper::init();
  deviceManager_ = VMRDeviceManager::initWithContext(weak_from_this());
  appInfo_ = VMRAppInfo::initWithContext(weak_from_this());
  Platform::shared().application().webViewUserAgent(
      [answer = userAgent_](const std::optional<std::string>& userAgent) { answer->resolve(userAgent); });
  setSupportedVPIs({"mp4", "tvjs", "vpaid_js"});
}

std::optional<std::string> VMRContext::userAgent() const {
  if (!dispatch().isMainThread()) userAgent_->wait(kUserAgentTimeout);
  const std::any value = userAgent_->value();
  const auto* userAgent = std::any_cast<std::optional<std::string>>(&value);
  return userAgent ? *userAgent : std::nullopt;
}

}  // namespace vemora
