#include "core/client/VMRAdDumper.h"

#include "base/InitNotValid.h"
#include "core/bridge/VMRBridgeErrors.h"
#include "core/bridge/VMRRuntime.h"
#include "core/context/VMRAppInfo.h"
#include "core/context/VMRContext.h"
#include "core/context/VMRDeviceManager.h"
#include "core/context/VMRGDPRCMP.h"
#include "core/model/VMRConfig.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

namespace vemora {

namespace {

constexpr double kReplyTimeout = 5.0;
constexpr char kNoAds[] = "No ads available";

JsonValue geoObject(const VMRDeviceManager& device) {
  return JsonValue::object({{"country", device.geo_country()},
                            {"lat", device.geo_lat()},
                            {"lon", device.geo_long()},
                            {"type", device.geo_type()}});
}

JsonValue deviceObject(const VMRDeviceManager& device) {
  return JsonValue::object({{"ifa", device.ad_id()},
                            {"ua", device.useragent()},
                            {"lang", device.lang()},
                            {"make", device.make()},
                            {"model", device.model()},
                            {"os", device.os()},
                            {"osv", device.os_version()},
                            // The same flag twice, not a flag and its inverse: kept on purpose.
                            {"dnt", device.tracking()},
                            {"lmt", device.tracking()},
                            {"geo", geoObject(device)}});
}

JsonValue appObject(const VMRAppInfo& app) {
  const JsonValue sdk = JsonValue::object({{"ver", app.sdk_version()}, {"name", app.sdk_name()}});
  return JsonValue::object({{"ext", JsonValue::object({{"vemorasdk", sdk}})},
                            {"bundle", app.sdk_bundle_id()},
                            {"uid", app.app_uid()},
                            {"ver", app.sdk_version()},
                            {"name", app.sdk_name()},
                            {"id", app.app_uid()}});
}

void setOrRemove(JsonDictionary& dictionary, const char* key, const std::optional<std::string>& value) {
  if (value) {
    dictionary.insert_or_assign(key, *value);
  } else {
    dictionary.erase(key);
  }
}

JsonValue paramsObject(const VemoraAdRequest& request, const VMRContext& context) {
  JsonDictionary params = request.paramDict();
  params.insert_or_assign("channel_id", std::to_string(JsonValue(request.channel()).integerValue()));
  params.insert_or_assign("platform_type", "apple");
  setOrRemove(params, "placement_type", request.placementType());
  const std::vector<std::string> interfaces = context.supportedVPIs();
  params.insert_or_assign("vpi", std::vector<JsonValue>(interfaces.begin(), interfaces.end()));
  if (const auto subject = VMRGDPRCMP::isSubjectToGDPR()) params.insert_or_assign("regs[gdpr]", *subject);
  if (const auto consent = VMRGDPRCMP::consentString()) params.insert_or_assign("user[consent]", *consent);
  return params;
}

}  // namespace

std::shared_ptr<VMRAdDumper> VMRAdDumper::init() {
  throwInitNotValid("VMRAdDumper");
}

std::shared_ptr<VMRAdDumper> VMRAdDumper::initWithContext(std::weak_ptr<VMRContext> context,
                                                          const std::shared_ptr<VMRRuntime>& runtime) {
  std::shared_ptr<VMRAdDumper> dumper(new VMRAdDumper);
  dumper->setContext(std::move(context));
  dumper->setRuntime(runtime);
  runtime->registerObserver(dumper);
  dumper->routeChanges_ = NotificationCenter::defaultCenter().addObserver(
      AVAudioSessionRouteChangeNotification,
      [weak = std::weak_ptr(dumper)](const Notification& notification) {
        if (const auto self = weak.lock()) self->routeChangeNotification(notification);
      });
  // Asked for nothing but that the audio session exists before the first route change.
  Platform::shared().audioSession().category();
  return dumper;
}

VMRAdDumper::~VMRAdDumper() {
  shutdown();
}

VMRAdDumper::Reply VMRAdDumper::ask(const std::string& method, const JsonValue& params) {
  const auto channel = runtime();
  if (!channel) return {};
  const auto future = channel->exec(VMRRpc::initWithMethod(method, params));
  if (!future->wait(kReplyTimeout)) return {};
  lastError_.set(future->error());
  if (lastError()) return {};
  const std::any value = future->value();
  const auto* message = std::any_cast<std::shared_ptr<VMRRpc>>(&value);
  if (!message || !*message || (*message)->hasError()) return {};
  return {true, *message};
}

void VMRAdDumper::setSendFailure(const std::string& reason) {
  if (!lastError()) lastError_.set(bridgeFailure(reason));
}

std::shared_ptr<VMRConfig> VMRAdDumper::loadConfigForRequest(
    const std::shared_ptr<VemoraAdRequest>& request) {
  // `lastError` is not cleared first: kept on purpose, here alone.
  const Reply reply = ask("get.config", vastDictionary(*request));
  if (!reply.cameInTime) {
    setSendFailure("Failed to send get.config");
    Vemora::logError("Failed to send get.config");
    return nullptr;
  }
  auto config = VMRConfig::initWithConfigDict(reply.message->result()["data"]);
  if (!config) {
    lastError_.set(bridgeFailure("Failed to receive get.config"));
    Vemora::log("Failed to receive get.config");
  }
  return config;
}

std::shared_ptr<VemoraAdGroup> VMRAdDumper::loadAdsForRequest(
    const std::shared_ptr<VemoraAdRequest>& request) {
  lastError_.set(std::nullopt);
  const Reply reply = ask("get.ads", vastDictionary(*request));
  if (!reply.cameInTime) {
    setSendFailure("Failed to send get.ads");
    Vemora::log("Failed to send get.ads");  // Not as an error, unlike that of "get.config": kept on purpose.
    return nullptr;
  }
  auto group = VemoraAdGroup::initWithAdGroupDict(reply.message->result()["data"]);
  if (!group || group->ads().empty()) {
    lastError_.set(makeError(VMRErrorNoAds, kNoAds, kNoAds));
    Vemora::logError(std::string("get.ads: ") + kNoAds);
  }
  return group;
}

bool VMRAdDumper::start(const JsonValue& data) {
  lastError_.set(std::nullopt);
  const auto channel = runtime();
  if (channel && channel->isVisible()) {
    startOnVisible = false;
    return _sendControl("control.start", data);
  }
  startOnVisible = true;
  return true;
}

bool VMRAdDumper::play(const JsonValue& data) {
  return _sendControl("control.play", data);
}
bool VMRAdDumper::stop(const JsonValue& data) {
  return _sendControl("control.stop", data);
}
bool VMRAdDumper::pause(const JsonValue& data) {
  return _sendControl("control.pause", data);
}
bool VMRAdDumper::resume(const JsonValue& data) {
  return _sendControl("control.resume", data);
}
bool VMRAdDumper::skip(const JsonValue& data) {
  return _sendControl("control.skip", data);
}
bool VMRAdDumper::close(const JsonValue& data) {
  return _sendControl("control.close", data);
}

bool VMRAdDumper::_sendControl(const std::string& method, const JsonValue& data) {
  lastError_.set(std::nullopt);
  const JsonValue params = data.isNull() ? JsonValue() : JsonValue::object({{"data", data}});
  if (ask(method, params).cameInTime) return true;
  const std::string failure = "Failed to send " + method;
  setSendFailure(failure);
  Vemora::log(failure);
  return false;
}

JsonValue VMRAdDumper::vastDictionary(const VemoraAdRequest& request) {
  const auto known = context();
  if (!known) return JsonValue::object({});
  if (!request.apiKey())
    throw InternalInconsistencyException("an ad request without an API key cannot be sent");
  known->deviceManager()->updateInfo();
  return JsonValue::object({{"apikey", request.apiKey()},
                            {"params", paramsObject(request, *known)},
                            {"custom", request.customDict()},
                            {"playback", request.playbackDict()},
                            {"device", deviceObject(*known->deviceManager())},
                            {"app", appObject(*known->appInfo())},
                            {"imp", JsonValue::object({})}});
}

void VMRAdDumper::shutdown() {
  lastError_.set(std::nullopt);
  if (const auto channel = runtime()) channel->close();
}

void VMRAdDumper::onHide() {
  pause(nullptr);
}

void VMRAdDumper::onShow() {
  if (startOnVisible) {
    start(nullptr);
  } else {
    resume(nullptr);
  }
}

void VMRAdDumper::routeChangeNotification(const Notification& notification) {
  const auto reason = notification.userInfo[AVAudioSessionRouteChangeReasonKey].integerValue();
  if (reason != AVAudioSessionRouteChangeReasonOldDeviceUnavailable) return;
  const JsonValue background = JsonValue::object({{"background", true}});
  pause(background);
  resume(background);
}

}  // namespace vemora
