#include "base/JsonDescription.h"
#include "core/bridge/VMRBridgeErrors.h"
#include "core/client/VMRAdDumper.h"
#include "core/context/VMRContext.h"
#include "core/model/VMRConfig.h"
#include "core/page/VMRWebViewRuntime.h"
#include "core/player/VemoraAdPlayerBase_p.h"
#include "core/viewability/VMRMoatTracker.h"
#include "ports/MainThreadRelease.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraTypes.h>

namespace vemora {

namespace {

constexpr double kHeartbeatInterval = 5.0;

VMRError playbackFailed(std::optional<std::string> reason) {
  return makeError(VMRErrorPlayback, "Ad playback failed", std::move(reason));
}

bool hasAds(const std::shared_ptr<VemoraAdGroup>& group) {
  return group && !group->ads().empty();
}

}  // namespace

// The public face.

VemoraAdPlayerBase::VemoraAdPlayerBase(std::unique_ptr<VemoraAdPlayerBase_p> implementation)
    : d(std::move(implementation)) {
  d->player_ = this;
  // Asked for nothing yet: some services look up first whether they may be used, and `load` waits for that.
  Platform::shared().locationServices();
}

VemoraAdPlayerBase::~VemoraAdPlayerBase() = default;

void VemoraAdPlayerBase::load() {
  d->load();
}
void VemoraAdPlayerBase::start() {
  d->start();
}
void VemoraAdPlayerBase::play() {
  d->performInBackground(&VemoraAdPlayerBase_p::_play, nullptr);
}
void VemoraAdPlayerBase::stop() {
  d->performInBackground(&VemoraAdPlayerBase_p::_stop, nullptr);
}
void VemoraAdPlayerBase::pause() {
  d->performInBackground(&VemoraAdPlayerBase_p::_pause, nullptr);
}
void VemoraAdPlayerBase::resume() {
  d->performInBackground(&VemoraAdPlayerBase_p::_resume, nullptr);
}
void VemoraAdPlayerBase::skip() {
  d->performInBackground(&VemoraAdPlayerBase_p::_skip, nullptr);
}
void VemoraAdPlayerBase::close() {
  d->performInBackground(&VemoraAdPlayerBase_p::_close, nullptr);
}
void VemoraAdPlayerBase::shutdown() {
  d->shutdown();
}
void VemoraAdPlayerBase::setSize(float size) {
  d->setSize(size);
}
std::string VemoraAdPlayerBase::placementType() const {
  return d->placementType();
}
std::shared_ptr<VemoraAdGroup> VemoraAdPlayerBase::adGroup() const {
  return d->adGroup();
}
std::shared_ptr<VemoraAdRequest> VemoraAdPlayerBase::request() const {
  return d->request();
}

// Load and start.

VemoraAdPlayerBase_p::VemoraAdPlayerBase_p() = default;

VemoraAdPlayerBase_p::~VemoraAdPlayerBase_p() {
  // The page closes with the dumper, which nobody else holds now. What belongs to the main thread ends there.
  releaseOnMainThread(sfvc_.exchange(nullptr));
  releaseOnMainThread(moatTracker_.exchange(nullptr));
}

void VemoraAdPlayerBase_p::load() {
  const auto context = VMRContext::init();
  context_.set(context);
  sfvc_.set(nullptr);
  const auto runtime = VMRWebViewRuntime::init();
  runtime_.set(runtime);
  runtime->registerObserver(sharedSelf(this));
  park(runtime->getWebView());
  dumper_.set(VMRAdDumper::initWithContext(context, runtime));
  watchApplication();
  dispatch().detachNewThread([self = sharedSelf(this)] { self->_load(); });
}

/// The page loads before any placement shows it: in the window, so that it runs at full speed, but of no
/// size.
void VemoraAdPlayerBase_p::park(const std::shared_ptr<WebView>& webView) {
  webView->setFrame({});
  webView->setUserInteractionEnabled(false);
  webView->setOpaque(false);
  if (const auto window = Platform::shared().application().keyWindow()) window->addSubview(webView);
}

void VemoraAdPlayerBase_p::watchApplication() {
  const auto watch = [this](const char* name, void (VemoraAdPlayerBase_p::*handle)()) {
    const std::weak_ptr<VemoraAdPlayerBase_p> weak = sharedSelf(this);
    applicationNotifications_.push_back(
        NotificationCenter::defaultCenter().addObserver(name, [weak, handle](const Notification&) {
          if (const auto self = weak.lock()) (self.get()->*handle)();
        }));
  };
  watch(UIApplicationDidBecomeActiveNotification,
        &VemoraAdPlayerBase_p::applicationDidBecomeActiveNotification);
  watch(UIApplicationWillResignActiveNotification,
        &VemoraAdPlayerBase_p::applicationWillResignActiveNotification);
}

void VemoraAdPlayerBase_p::_load() {
  const auto delegate = player()->delegate();
  if (!delegate) return;
  const auto request = delegate->requestForPlayer(player());
  request_.set(request);
  if (!request) {
    adGroup_.set(nullptr);
    return reportLoad(makeError(VMRErrorNoRequest, "No ad request was given."));
  }
  request->setPlacementType(placementType());
  const auto dumper = dumper_.get();
  config_.set(dumper ? dumper->loadConfigForRequest(request) : nullptr);
  createTrackerIfConfigured();
  adGroup_.set(dumper ? dumper->loadAdsForRequest(request) : nullptr);
  if (hasAds(adGroup())) _heartbeatMonitor();
  std::optional<VMRError> error = dumper ? dumper->lastError() : std::nullopt;
  if (!error && !hasAds(adGroup())) error = makeError(VMRErrorNoAds, "No ads available");
  reportLoad(error);
}

void VemoraAdPlayerBase_p::createTrackerIfConfigured() {
  const auto known = config();
  const auto code = known && known->featureMOATEnabled() ? known->moatPartnerCode() : std::nullopt;
  auto tracker = code ? VMRMoatTracker::initWithContext(context(), request(), *code) : nullptr;
  releaseOnMainThread(moatTracker_.exchange(std::move(tracker)));
}

void VemoraAdPlayerBase_p::reportLoad(const std::optional<VMRError>& error) {
  dispatch().mainAsync([self = sharedSelf(this), error] {
    self->tellDelegate(&VemoraAdPlayerDelegate::vemoraDidLoadAds, self->adGroup(), error);
  });
}

void VemoraAdPlayerBase_p::start() {
  if (hasAds(adGroup())) performInBackground(&VemoraAdPlayerBase_p::_start, nullptr);
}

void VemoraAdPlayerBase_p::performInBackground(Step step, const JsonValue& parameters) {
  dispatch().detachNewThread(
      [self = sharedSelf(this), step, parameters] { (self.get()->*step)(parameters); });
}

void VemoraAdPlayerBase_p::send(bool (VMRAdDumper::*command)(const JsonValue&), const JsonValue& parameters) {
  if (const auto client = dumper()) (client.get()->*command)(parameters);
}

void VemoraAdPlayerBase_p::_start(const JsonValue& parameters) {
  send(&VMRAdDumper::start, parameters);
}
void VemoraAdPlayerBase_p::_play(const JsonValue& parameters) {
  send(&VMRAdDumper::play, parameters);
}
void VemoraAdPlayerBase_p::_stop(const JsonValue& parameters) {
  send(&VMRAdDumper::stop, parameters);
}
void VemoraAdPlayerBase_p::_pause(const JsonValue& parameters) {
  send(&VMRAdDumper::pause, parameters);
}
void VemoraAdPlayerBase_p::_resume(const JsonValue& parameters) {
  send(&VMRAdDumper::resume, parameters);
}
void VemoraAdPlayerBase_p::_skip(const JsonValue& parameters) {
  send(&VMRAdDumper::skip, parameters);
}
void VemoraAdPlayerBase_p::_close(const JsonValue& parameters) {
  send(&VMRAdDumper::close, parameters);
}

std::shared_ptr<WebView> VemoraAdPlayerBase_p::_getPlayerView() const {
  const auto channel = runtime();
  return channel ? channel->getWebView() : nullptr;
}

void VemoraAdPlayerBase_p::shutdown() {
  _heartbeatSuspend();
  if (const auto channel = runtime_.exchange(nullptr)) channel->unregisterObserver(this);
  if (const auto client = dumper_.exchange(nullptr)) client->shutdown();
}

void VemoraAdPlayerBase_p::applicationWillResignActiveNotification() {
  _heartbeatSuspend();
  const auto asked = request();
  const auto vpaid = asked ? asked->paramDict().find("VPAID") : JsonDictionary::iterator();
  const bool isScripted = asked && vpaid != asked->paramDict().end() && vpaid->second == JsonValue("js");
  performInBackground(&VemoraAdPlayerBase_p::_pause,
                      JsonValue::object({{"background", true}, {"ignorePreviousState", isScripted}}));
}

void VemoraAdPlayerBase_p::applicationDidBecomeActiveNotification() {
  _heartbeatResume();
  // "background" is true here as well: kept on purpose.
  performInBackground(&VemoraAdPlayerBase_p::_resume, JsonValue::object({{"background", true}}));
}

// Controller events, windows and beacons.

template <typename... Parameters, typename... Arguments>
void VemoraAdPlayerBase_p::tellDelegate(
    void (VemoraAdPlayerDelegate::*callback)(const VemoraAdPlayerDelegate::Player&, Parameters...),
    const Arguments&... arguments) {
  const auto owner = player();
  if (const auto delegate = owner->delegate()) (delegate.get()->*callback)(owner, arguments...);
}

bool VemoraAdPlayerBase_p::onMessage(const std::shared_ptr<VMRRpc>& message) {
  if (!message) return false;
  if (message->isKindOf("ping")) {
    Vemora::log("Heartbeat Received");
    _heartbeatCheck(message->params());
  } else if (message->isKindOf("event")) {
    _evaluateEvent(message->params());
  } else if (message->isKindOf("window")) {
    _evaluateWindow(message->params());
  } else {
    return false;
  }
  return true;
}

void VemoraAdPlayerBase_p::_evaluateEvent(const JsonValue& parameters) {
  const JsonValue name = parameters["event"];
  const VemoraAdEvent event = VemoraAdEventFromNSString(name.asString());
  const auto ad = _findAdInGroup(adGroup(), parameters["id"]);
  Vemora::log("AdPlayer Event: " + describe(name));
  Vemora::log("Playing Ad: " +
              (ad && !ad->id().isNull() ? describe(ad->id()) : std::string("No Playing Ad")));
  dispatch().mainAsync([self = sharedSelf(this), parameters, ad, event] {
    if (const auto tracker = self->moatTracker())
      tracker->trackEvent(event, parameters, ad, self->_getPlayerView());
    self->act(event, ad, parameters["data"]);
  });
}

void VemoraAdPlayerBase_p::act(VemoraAdEvent event, const std::shared_ptr<VemoraAd>& ad,
                               const JsonValue& data) {
  using Delegate = VemoraAdPlayerDelegate;
  switch (event) {
    case AdStarted:
      return tellDelegate(&Delegate::vemoraAdStart, ad);
    case AdSkipped:
      return tellDelegate(&Delegate::vemoraAdSkipped, ad);
    case AdVideoComplete:
      return tellDelegate(&Delegate::vemoraAdComplete, ad);
    case AdUserClose:
      return tellDelegate(&Delegate::vemoraAdUserClose, ad);
    case AdPaused:
      return tellDelegate(&Delegate::vemoraAdPaused, ad);
    case AdPlaying:
      return tellDelegate(&Delegate::vemoraAdPlaying, ad);
    case AdClickThru:
      return tellDelegate(&Delegate::vemoraAdClicked, ad);
    case AdTimeChange:
      return tellDelegate(&Delegate::vemoraAdTimeUpdate, ad, data.doubleValue());
    case AdGroupStart:
      return tellDelegate(&Delegate::vemoraAdGroupStart, adGroup());
    case AdGroupEnd:
      shutdown();
      return tellDelegate(&Delegate::vemoraAdGroupComplete, adGroup());
    case AdError:
      shutdown();
      return tellDelegate(&Delegate::vemoraAdError, ad, playbackFailed(data.isNull() ? "" : describe(data)));
    default:
      return;
  }
}

std::shared_ptr<VemoraAd> VemoraAdPlayerBase_p::_findAdInGroup(const std::shared_ptr<VemoraAdGroup>& group,
                                                               const JsonValue& id) {
  if (!group) return nullptr;
  for (const auto& ad : *group) {
    // Identity, not equality: kept on purpose. Interned ids make the two agree.
    if (ad->id().isIdenticalTo(id)) return ad;
  }
  return nullptr;
}

void VemoraAdPlayerBase_p::_evaluateWindow(const JsonValue& parameters) {
  const std::string event(parameters["event"].asString().value_or(std::string_view()));
  const JsonValue address = parameters["url"];
  const auto url = Platform::shared().system().urlWithString(address.asString().value_or(std::string_view()));
  if (event.empty() || !url) return;
  dispatch().mainAsync([self = sharedSelf(this), event, url = *url] {
    if (event == "open") self->_openWindow(url);
    if (event == "beacon") self->_fireBeacon(url);
  });
}

void VemoraAdPlayerBase_p::_openWindow(const URL& url) {
  const auto browser = Platform::shared().application().createSafariViewController(url);
  if (!browser) return;
  _heartbeatSuspend();
  sfvc_.set(browser);
  browser->setDelegate(std::weak_ptr<SFSafariViewControllerDelegate>(sharedSelf(this)));
  if (const auto top = topMostController()) top->presentViewController(browser, true, nullptr);
}

std::shared_ptr<ViewController> VemoraAdPlayerBase_p::topMostController() {
  const auto window = Platform::shared().application().keyWindow();
  auto top = window ? window->rootViewController() : nullptr;
  while (top && top->presentedViewController()) top = top->presentedViewController();
  return top;
}

void VemoraAdPlayerBase_p::safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>&) {
  _heartbeatResume();
  player()->resume();
}

void VemoraAdPlayerBase_p::_fireBeacon(const URL& url) {
  Vemora::log("Fire beacon: " + url.absoluteString);
  URLRequest request;
  request.url = url.absoluteString;
  request.cachePolicy = URLRequestCachePolicy::ReloadIgnoringLocalCacheData;
  const auto known = context();
  if (const auto userAgent = known ? known->userAgent() : std::nullopt)
    request.addValue(*userAgent, "User-Agent");
  Platform::shared().system().createEphemeralURLSession()->downloadTaskWithRequest(
      request, [](const std::optional<VMRError>& error) {
        if (error) Vemora::logError("Failed to fire beacon: " + toString(*error));
      });
}

// Heartbeat.

void VemoraAdPlayerBase_p::_heartbeatMonitor() {
  if (suspendHeartbeats_ > 0) return;
  Vemora::log("Monitor Heartbeat");
  const std::weak_ptr<VemoraAdPlayerBase_p> weak = sharedSelf(this);
  auto block = std::make_shared<DispatchBlock>([weak] {
    if (const auto self = weak.lock()) self->_heartbeatTimeout();
  });
  // A block that was armed before is forgotten, not cancelled, and still fires: kept on purpose.
  heartbeatBlock_.set(block);
  dispatch().globalAfter(kHeartbeatInterval, std::move(block));
}

void VemoraAdPlayerBase_p::_hearbeatCancel() {
  Vemora::log("Monitor Heartbeat Cancel");
  if (const auto block = heartbeatBlock_.exchange(nullptr)) block->cancel();
}

void VemoraAdPlayerBase_p::_heartbeatSuspend() {
  Vemora::log("Monitor Heartbeat Suspend");
  ++suspendHeartbeats_;
  _hearbeatCancel();
}

void VemoraAdPlayerBase_p::_heartbeatResume() {
  Vemora::log("Monitor Heartbeat Resume");
  std::int64_t depth = suspendHeartbeats_;
  while (depth > 0 && !suspendHeartbeats_.compare_exchange_weak(depth, depth - 1)) {
  }
  _heartbeatMonitor();
}

void VemoraAdPlayerBase_p::_heartbeatCheck(const JsonValue& parameters) {
  _hearbeatCancel();
  if (!parameters["shutdown"].boolValue()) {
    _heartbeatMonitor();
    return;
  }
  Vemora::log("Heartbeat SHUTDOWN!");
  const JsonValue reason = parameters["message"];
  endWithError(playbackFailed(reason.isNull() ? std::nullopt : std::optional(describe(reason))));
}

void VemoraAdPlayerBase_p::_heartbeatTimeout() {
  Vemora::log("Heartbeat Timeout");
  endWithError(makeError(VMRErrorNotResponding, "Player not responding"));
}

void VemoraAdPlayerBase_p::endWithError(const VMRError& error) {
  shutdown();
  dispatch().mainAsync([self = sharedSelf(this), error] {
    self->tellDelegate(&VemoraAdPlayerDelegate::vemoraAdError, std::shared_ptr<VemoraAd>(), error);
  });
}

}  // namespace vemora
