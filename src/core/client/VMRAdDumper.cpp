#include "core/client/VMRAdDumper.h"

#include "base/InitNotValid.h"
#include "base/JsonDescription.h"
#include "core/bridge/VMRBridgeErrors.h"
#include "core/bridge/VMRRuntime.h"
#include "core/context/VMRAppInfo.h"
#include "core/context/VMRContext.h"
#include "core/context/VMRDeviceManager.h"
#include "core/context/VMRGDPRCMP.h"
#include "core/inspect/Inspection.h"
#include "core/model/VMRConfig.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

namespace vemora {

namespace {

constexpr double kReplyTimeout = 5.0;
constexpr char kNoAds[] = "No ads available";

/// A value of the context's, or null when the context has gone.
template <typename Owner, typename T>
JsonValue valueOf(const std::shared_ptr<Owner>& owner, T (Owner::*getter)() const) {
  return owner ? JsonValue((owner.get()->*getter)()) : JsonValue();
}

JsonValue geoObject(const std::shared_ptr<VMRDeviceManager>& device) {
  return JsonValue::object({{"country", valueOf(device, &VMRDeviceManager::geo_country)},
                            {"lat", valueOf(device, &VMRDeviceManager::geo_lat)},
                            {"lon", valueOf(device, &VMRDeviceManager::geo_long)},
                            {"type", valueOf(device, &VMRDeviceManager::geo_type)}});
}

JsonValue deviceObject(const std::shared_ptr<VMRDeviceManager>& device) {
  return JsonValue::object({{"ifa", valueOf(device, &VMRDeviceManager::ad_id)},
                            {"ua", valueOf(device, &VMRDeviceManager::useragent)},
                            {"lang", valueOf(device, &VMRDeviceManager::lang)},
                            {"make", valueOf(device, &VMRDeviceManager::make)},
                            {"model", valueOf(device, &VMRDeviceManager::model)},
                            {"os", valueOf(device, &VMRDeviceManager::os)},
                            {"osv", valueOf(device, &VMRDeviceManager::os_version)},
                            // The same flag twice, not a flag and its inverse: kept on purpose.
                            {"dnt", valueOf(device, &VMRDeviceManager::tracking)},
                            {"lmt", valueOf(device, &VMRDeviceManager::tracking)},
                            {"geo", geoObject(device)}});
}

JsonValue appObject(const std::shared_ptr<VMRAppInfo>& app) {
  const JsonValue name = valueOf(app, &VMRAppInfo::sdk_name);
  const JsonValue version = valueOf(app, &VMRAppInfo::sdk_version);
  const JsonValue uid = valueOf(app, &VMRAppInfo::app_uid);
  return JsonValue::object(
      {{"ext", JsonValue::object({{"vemorasdk", JsonValue::object({{"ver", version}, {"name", name}})}})},
       {"bundle", valueOf(app, &VMRAppInfo::sdk_bundle_id)},
       {"uid", uid},
       {"ver", version},
       {"name", name},
       {"id", uid}});
}

JsonValue paramsObject(const VemoraAdRequest& request, const std::shared_ptr<VMRContext>& context) {
  JsonDictionary params = request.paramDict();
  params.insert_or_assign("channel_id", std::to_string(JsonValue(request.channel()).integerValue()));
  params.insert_or_assign("platform_type", "apple");
  params.erase("placement_type");
  if (const auto placement = request.placementType()) params.emplace("placement_type", *placement);
  if (context) {
    const std::vector<std::string> interfaces = context->supportedVPIs();
    params.insert_or_assign("vpi", std::vector<JsonValue>(interfaces.begin(), interfaces.end()));
  } else {
    params.erase("vpi");
  }
  if (const auto subject = VMRGDPRCMP::isSubjectToGDPR()) params.insert_or_assign("regs[gdpr]", *subject);
  if (const auto consent = VMRGDPRCMP::consentString()) params.insert_or_assign("user[consent]", *consent);
  return params;
}

/// What the page said in an error reply.
VMRError controllerError(const JsonValue& error) {
  VMRError made;
  made.domain = VMRControllerErrorDomain;
  made.code = error["code"].integerValue();
  made.description = describe(error["message"].isNull() ? error : error["message"]);
  return made;
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
  // The answer is of no use: the audio session has to exist before the first route change.
  Platform::shared().audioSession().category();
  return dumper;
}

VMRAdDumper::~VMRAdDumper() {
  shutdown();
}

VMRAdDumper::Reply VMRAdDumper::ask(const std::string& method, const JsonValue& params) {
  Reply reply;
  const auto channel = runtime();
  if (!channel) return reply;
  const auto future = channel->exec(VMRRpc::initWithMethod(method, params));
  if (!future->wait(kReplyTimeout)) return reply;
  reply.error = future->error();
  // The call's own time-out ends at the same instant as the wait: either one is a reply that did not come.
  if (reply.error == bridgeTimeout()) {
    reply.error = std::nullopt;
  } else {
    lastError_.set(reply.error);
  }
  const std::any value = future->value();
  const auto* message = std::any_cast<std::shared_ptr<VMRRpc>>(&value);
  if (reply.error || !message || !*message) return reply;
  if (!(*message)->hasError()) {
    reply.message = *message;
  } else if ((*message)->error().count().value_or(1) > 0) {
    reply.pageError = std::make_shared<const VMRError>(controllerError((*message)->error()));
    Vemora::logError(method + ": " + toString(*reply.pageError));
  }
  return reply;
}

VMRError VMRAdDumper::sendFailure(const Reply& reply, const std::string& reason) {
  VMRError made = bridgeFailure(reason);
  made.underlyingError = reply.pageError;
  VMRError error = reply.error.value_or(std::move(made));
  if (!lastError()) lastError_.set(error);
  return error;
}

std::shared_ptr<VMRConfig> VMRAdDumper::loadConfigForRequest(
    const std::shared_ptr<VemoraAdRequest>& request) {
  // `lastError` is not cleared first: kept on purpose, here alone.
  const Reply reply = ask("get.config", vastDictionary(*request));
  if (!reply.message) {
    sendFailure(reply, "Failed to send get.config");
    Vemora::logError("Failed to send get.config");
    return nullptr;
  }
  return VMRConfig::initWithConfigDict(reply.message->result()["data"]);
}

std::shared_ptr<VemoraAdGroup> VMRAdDumper::loadAdsForRequest(
    const std::shared_ptr<VemoraAdRequest>& request) {
  std::optional<VMRError> error;
  return loadAdsForRequest(request, error);
}

std::shared_ptr<VemoraAdGroup> VMRAdDumper::loadAdsForRequest(const std::shared_ptr<VemoraAdRequest>& request,
                                                              std::optional<VMRError>& error) {
  lastError_.set(std::nullopt);
  const Reply reply = ask("get.ads", vastDictionary(*request));
  if (!reply.message) {
    error = sendFailure(reply, "Failed to send get.ads");
    Vemora::log("Failed to send get.ads");  // Not as an error, unlike that of "get.config": kept on purpose.
    return nullptr;
  }
  auto group = VemoraAdGroup::initWithAdGroupDict(reply.message->result()["data"]);
  if (!group || group->ads().empty()) {
    error = makeError(VMRErrorNoAds, kNoAds, kNoAds);
    lastError_.set(error);
    Vemora::logError(std::string("get.ads: ") + kNoAds);
  }
  return group;
}

bool VMRAdDumper::start(const JsonValue& data) {
  lastError_.set(std::nullopt);
  const auto channel = runtime();
  if (!channel || !channel->isVisible()) {
    startOnVisible_ = true;
    if (inspect::isOn() && channel)
      inspect::record("start", channel->number(), {{"state", "deferred"}, {"data", !data.isNull()}});
    return true;
  }
  startOnVisible_ = false;
  if (inspect::isOn())
    inspect::record("start", channel->number(), {{"state", "sent"}, {"data", !data.isNull()}});
  const auto failure = control("control.start", data);
  if (failure && startFailureHandler_) startFailureHandler_(*failure);
  return !failure;
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
  return !control(method, data);
}

std::optional<VMRError> VMRAdDumper::control(const std::string& method, const JsonValue& data) {
  lastError_.set(std::nullopt);
  const Reply reply = ask(method, data.isNull() ? JsonValue() : JsonValue::object({{"data", data}}));
  if (reply.message) return std::nullopt;
  const std::string failure = "Failed to send " + method;
  Vemora::log(failure);
  return sendFailure(reply, failure);
}

JsonValue VMRAdDumper::vastDictionary(const VemoraAdRequest& request) {
  if (!request.apiKey())
    throw InternalInconsistencyException("an ad request without an API key cannot be sent");
  const auto known = context();
  const auto device = known ? known->deviceManager() : nullptr;
  const auto app = known ? known->appInfo() : nullptr;
  if (device) device->updateInfo();
  JsonValue payload = JsonValue::object({{"apikey", request.apiKey()},
                                         {"params", paramsObject(request, known)},
                                         {"custom", request.customDict()},
                                         {"playback", request.playbackDict()},
                                         {"device", deviceObject(device)},
                                         {"app", appObject(app)},
                                         {"imp", JsonValue::object({})}});
  const auto channel = runtime();
  inspect::factsGathered(channel ? channel->number() : 0, payload);
  return payload;
}

void VMRAdDumper::shutdown() {
  lastError_.set(std::nullopt);
  if (const auto channel = runtime()) channel->close();
}

void VMRAdDumper::onHide() {
  pause(nullptr);
}

void VMRAdDumper::onShow() {
  if (startOnVisible_) {
    start(nullptr);
  } else {
    resume(nullptr);
  }
}

void VMRAdDumper::routeChangeNotification(const Notification& notification) {
  const auto channel = runtime();
  if (inspect::isOn() && channel)
    inspect::record("audioRoute", channel->number(),
                    {{"reason", notification.userInfo[AVAudioSessionRouteChangeReasonKey]}});
  const auto reason = notification.userInfo[AVAudioSessionRouteChangeReasonKey].integerValue();
  if (reason != AVAudioSessionRouteChangeReasonOldDeviceUnavailable) return;
  const JsonValue background = JsonValue::object({{"background", true}});
  pause(background);
  resume(background);
}

}  // namespace vemora
