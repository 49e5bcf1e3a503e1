#include "core/viewability/VMRMoatTracker.h"

#include "base/InitNotValid.h"
#include "core/context/VMRAppInfo.h"
#include "core/context/VMRContext.h"
#include "ports/Platform.h"

#include <Vemora/InternalInconsistencyException.h>
#include <Vemora/Vemora.h>

#include <mutex>

namespace vemora {

namespace {

constexpr double kMillisPerSecond = 1000.0;

/// The library's event types.
enum LibraryEvent : int {
  kComplete = 0,
  kStart = 1,
  kFirstQuartile = 2,
  kMidpoint = 3,
  kThirdQuartile = 4,
  kSkipped = 5,
  kStopped = 6,
  kPaused = 7,
  kPlaying = 8,
  kVolumeChange = 9,
};

std::shared_ptr<ExternalClass> classNamed(const char* name) {
  return Platform::shared().classRegistry().classNamed(name);
}

std::shared_ptr<ExternalObject> asObject(const ExternalValue& value) {
  const auto* object = std::get_if<std::shared_ptr<ExternalObject>>(&value);
  return object ? *object : nullptr;
}

bool asBool(const ExternalValue& value) {
  const bool* boolean = std::get_if<bool>(&value);
  return boolean && *boolean;
}

void startLibrary(ExternalClass& options, ExternalClass& analytics, const std::string& partnerCode) {
  const std::shared_ptr<ExternalObject> made = options.create("init", {});
  if (made) made->send("setDebugLoggingEnabled:", {Vemora::debugMode()});
  const std::shared_ptr<ExternalObject> shared = asObject(analytics.send("sharedInstance", {}));
  if (!shared) return;
  shared->send("prepareNativeDisplayTracking:", {partnerCode});
  shared->send("startWithOptions:", {made});
}

/// The library is started once in a process, by the first tracker that finds it.
void startLibraryOnce(ExternalClass& options, ExternalClass& analytics, const std::string& partnerCode) {
  static std::once_flag& once = *new std::once_flag;
  std::call_once(once, [&] { startLibrary(options, analytics, partnerCode); });
}

}  // namespace

std::shared_ptr<VMRMoatTracker> VMRMoatTracker::init() {
  throwInitNotValid("VMRMoatTracker");
}

std::shared_ptr<VMRMoatTracker> VMRMoatTracker::initWithContext(std::shared_ptr<VMRContext> context,
                                                                std::shared_ptr<VemoraAdRequest> request,
                                                                std::string partnerCode) {
  std::shared_ptr<VMRMoatTracker> tracker(new VMRMoatTracker);
  tracker->setContext(std::move(context));
  tracker->setRequest(std::move(request));
  tracker->setMoatPartnerCode(std::move(partnerCode));
  return tracker;
}

void VMRMoatTracker::trackEvent(VemoraAdEvent event, const JsonValue& params,
                                const std::shared_ptr<VemoraAd>& ad,
                                const std::shared_ptr<View>& playerView) {
  if (event == AdStarted) createTracker_ = true;
  if (ad && createTracker_) attach(*ad, playerView);
  if (!moatTracker_ || !classNamed("VEMORAMoatAdEvent")) return;
  switch (event) {
    case AdStarted:
      dispatchEvent(kStart);
      dispatchEvent(kPlaying);
      break;
    case AdStopped:
      dispatchEvent(kStopped);
      detach();
      break;
    case AdSkipped:
    case AdUserClose:
      dispatchEvent(kSkipped);
      detach();
      break;
    case AdVideoFirstQuartile:
      dispatchEvent(kFirstQuartile);
      break;
    case AdVideoMidpoint:
      dispatchEvent(kMidpoint);
      break;
    case AdVideoThirdQuartile:
      dispatchEvent(kThirdQuartile);
      break;
    case AdVideoComplete:
      dispatchEvent(kComplete);
      detach();
      break;
    case AdPaused:
      dispatchEvent(kPaused);
      break;
    case AdPlaying:
      dispatchEvent(kPlaying);
      break;
    case AdVolumeChange:
      dispatchEvent(kVolumeChange);
      break;
    case AdTimeChange:
      playheadMillis_ = params["data"].doubleValue() * kMillisPerSecond;
      break;
    default:
      break;
  }
}

void VMRMoatTracker::attach(const VemoraAd& ad, const std::shared_ptr<View>& playerView) {
  detach();
  playheadMillis_ = 0;
  makeLibraryTracker(identifiersOf(ad), ad, playerView);
  createTracker_ = false;
}

void VMRMoatTracker::makeLibraryTracker(const JsonValue& identifiers, const VemoraAd& ad,
                                        const std::shared_ptr<View>& playerView) {
  const auto options = classNamed("VEMORAMoatOptions");
  const auto analytics = classNamed("VEMORAMoatAnalytics");
  const auto trackers = classNamed("VEMORAMoatReactiveVideoTracker");
  if (!options || !analytics || !trackers) {
    Vemora::log("Initializing Vemora SDK without MOAT");
    return;
  }
  Vemora::log("Initializing Vemora SDK with MOAT");
  startLibraryOnce(*options, *analytics, moatPartnerCode_);
  moatTracker_ = asObject(trackers->send("trackerWithPartnerCode:", {moatPartnerCode_}));
  const double duration = ad.duration().doubleValue() * kMillisPerSecond;
  const bool attached =
      moatTracker_ && asBool(moatTracker_->send("trackVideoAd:withLayer:withDurationMillis:",
                                                {identifiers, playerView, duration}));
  const std::string className = moatTracker_ ? moatTracker_->className() : "(null)";
  Vemora::log(className + " attached to PlayerView: " + (attached ? "YES" : "NO"));
}

JsonValue VMRMoatTracker::identifiersOf(const VemoraAd& ad) const {
  const auto app = context_->appInfo();
  const JsonValue channel = request_->channel();
  const JsonValue placement = request_->placementType();
  const JsonValue bundle = app->sdk_bundle_id();
  if (channel.isNull() || placement.isNull() || bundle.isNull()) {
    throw InternalInconsistencyException("viewability measurement needs a request with a channel");
  }
  return JsonValue::object(
      {{"adid", ad.id()},
       {"level1", bundle},
       {"level2", channel},
       {"level3", ad.id()},
       {"level4", placement},
       {"splicer1", app->sdk_name().value_or("") + "-" + app->sdk_version().value_or("")}});
}

void VMRMoatTracker::detach() {
  if (moatTracker_) moatTracker_->send("stopTracking", {});
  moatTracker_ = nullptr;
}

void VMRMoatTracker::dispatchEvent(int type) {
  const auto events = classNamed("VEMORAMoatAdEvent");
  const auto made = events ? events->create("initWithType:withPlayheadMillis:",
                                            {static_cast<std::int64_t>(type), playheadMillis_})
                           : nullptr;
  if (made) moatTracker_->send("dispatchEvent:", {made});
}

}  // namespace vemora
