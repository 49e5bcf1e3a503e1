#include "base/JsonDescription.h"
#include "core/bridge/VMRBridgeErrors.h"
#include "core/client/VMRAdDumper.h"
#include "core/context/VMRContext.h"
#include "core/inspect/Inspection.h"
#include "core/model/VMRConfig.h"
#include "core/page/VMRWebViewRuntime.h"
#include "core/player/VemoraAdPlayerBase_p.h"
#include "core/settings/StallWatch.h"
#include "core/viewability/VMRMoatTracker.h"
#include "ports/MainThreadRelease.h"
#include "ports/Platform.h"

#include <Vemora/InternalInconsistencyException.h>
#include <Vemora/Vemora.h>
#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraTypes.h>

#include <cmath>
#include <deque>
#include <utility>

namespace vemora {

namespace {

/// In-app browsers that may be on the screen at once: one, and one that its page opens over it.
constexpr int kMaxBrowsers = 2;
/// How many a session may open in the period, in seconds.
constexpr std::size_t kBrowsersInPeriod = 5;
constexpr double kBrowserPeriod = 10;

int browsersOnScreen() {
  int count = 0;
  const auto window = Platform::shared().application().keyWindow();
  auto controller = window ? window->rootViewController() : nullptr;
  for (; controller; controller = controller->presentedViewController())
    count += std::dynamic_pointer_cast<SFSafariViewController>(controller) != nullptr;
  return count;
}

/// Why the session may open no further browser now; null when it may.
const char* browserRefusal(std::deque<double>& latest, double now) {
  if (browsersOnScreen() >= kMaxBrowsers) return "two are on the screen";
  while (!latest.empty() && now - latest.front() >= kBrowserPeriod) latest.pop_front();
  if (latest.size() >= kBrowsersInPeriod) return "five were opened within ten seconds";
  latest.push_back(now);
  return nullptr;
}

bool hasAds(const std::shared_ptr<VemoraAdGroup>& group) {
  return group && !group->ads().empty();
}

/// The shape of a video whose page reports its width and height; absent for any other data.
std::optional<double> aspectRatioIn(const JsonValue& data) {
  const double ratio = data["width"].doubleValue() / data["height"].doubleValue();
  return std::isfinite(ratio) && ratio > 0 ? std::optional(ratio) : std::nullopt;
}

}  // namespace

// The public face.

VemoraAdPlayerBase::VemoraAdPlayerBase(std::unique_ptr<VemoraAdPlayerBase_p> implementation)
    : d(std::move(implementation)) {
  // Only created here: some services look up first whether they may be used, and `load` waits for that.
  Platform::shared().locationServices();
}

VemoraAdPlayerBase::~VemoraAdPlayerBase() {
  d->playerReleased();
}

void VemoraAdPlayerBase::load() {
  const StallWatch watch("load");
  if (hasLostDelegate())
    Vemora::log(
        "The delegate was destroyed before the load. A player holds it weakly: keep it in a variable");
  d->player_.set(weak_from_this());
  d->load();
}
void VemoraAdPlayerBase::start() {
  const StallWatch watch("start");
  if (inspect::isOn()) d->recordCall("start");
  d->start();
}
void VemoraAdPlayerBase::play() {
  if (inspect::isOn()) d->recordCall("play");
  d->performInBackground(&VemoraAdPlayerBase_p::_play, nullptr);
}
void VemoraAdPlayerBase::stop() {
  if (inspect::isOn()) d->recordCall("stop");
  d->performInBackground(&VemoraAdPlayerBase_p::_stop, nullptr);
}
void VemoraAdPlayerBase::pause() {
  if (inspect::isOn()) d->recordCall("pause");
  d->performInBackground(&VemoraAdPlayerBase_p::_pause, nullptr);
}
void VemoraAdPlayerBase::resume() {
  if (inspect::isOn()) d->recordCall("resume");
  d->performInBackground(&VemoraAdPlayerBase_p::_resume, nullptr);
}
void VemoraAdPlayerBase::skip() {
  if (inspect::isOn()) d->recordCall("skip");
  d->performInBackground(&VemoraAdPlayerBase_p::_skip, nullptr);
}
void VemoraAdPlayerBase::close() {
  if (inspect::isOn()) d->recordCall("close");
  d->performInBackground(&VemoraAdPlayerBase_p::_close, nullptr);
}
void VemoraAdPlayerBase::shutdown() {
  const StallWatch watch("shutdown");
  if (inspect::isOn()) d->recordCall("shutdown");
  d->shutdown();
}
void VemoraAdPlayerBase::setSize(float size) {
  const StallWatch watch("setSize");
  if (inspect::isOn()) d->recordCall("setSize", size);
  d->setSize(size);
}
void VemoraAdPlayerBase::setStartTimeout(double seconds) {
  if (inspect::isOn()) d->recordCall("setStartTimeout", seconds);
  d->setStartTimeout(seconds);
}
double VemoraAdPlayerBase::startTimeout() const {
  return d->startTimeout();
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

/// A strong reference to the player for the length of a call. Such references are counted, so that a player
/// that nothing else holds is known as released by its host.
class VemoraAdPlayerBase_p::BorrowedPlayer {
 public:
  explicit BorrowedPlayer(VemoraAdPlayerBase_p& lender)
      : lender_(lender.shared_from_this()), player_(lender.player_.get().lock()) {
    if (player_) ++lender_->borrowed_;
  }
  ~BorrowedPlayer() {
    if (!player_) return;
    player_ = nullptr;
    --lender_->borrowed_;
  }
  BorrowedPlayer(const BorrowedPlayer&) = delete;
  BorrowedPlayer& operator=(const BorrowedPlayer&) = delete;

  const std::shared_ptr<VemoraAdPlayerBase>& get() const { return player_; }
  std::shared_ptr<VemoraAdPlayerDelegate> delegate() const {
    return player_ && player_.use_count() > lender_->borrowed_ ? player_->delegate() : nullptr;
  }

 private:
  const std::shared_ptr<VemoraAdPlayerBase_p> lender_;
  std::shared_ptr<VemoraAdPlayerBase> player_;
};

VemoraAdPlayerBase_p::VemoraAdPlayerBase_p() = default;
VemoraAdPlayerBase_p::~VemoraAdPlayerBase_p() = default;

void VemoraAdPlayerBase_p::recordCall(const char* operation, const JsonValue& value) const {
  inspect::hostCall(operation, number_, session()->number(), value);
}

void VemoraAdPlayerBase_p::load() {
  assertMainThread("VemoraAdPlayerBase::load");
  const Session previous = session();
  if (previous->wasLoaded())
    Vemora::log("This player has loaded before: after a shutdown its heartbeat is not watched again");
  const Session loading = AdSession::create(weak_from_this(), *previous);
  heartbeat_.setSession(loading->number());
  if (inspect::isOn()) inspect::hostCall("load", number_, loading->number(), {}, placementType());
  park(loading->runtime()->getWebView());
  previous->abandon();
  session_.set(loading);
  sessionDidEnd(previous);
  watchApplication();
  dispatch().detachNewThread([self = sharedSelf(this), loading] { self->_load(loading); });
}

/// The page loads before any placement shows it: in the window, so that it runs at full speed, but of no
/// size.
void VemoraAdPlayerBase_p::park(const std::shared_ptr<WebView>& webView) {
  if (!webView) return;
  webView->setFrame({});
  webView->setUserInteractionEnabled(false);
  webView->setOpaque(false);
  if (const auto window = Platform::shared().application().keyWindow()) window->addSubview(webView);
}

void VemoraAdPlayerBase_p::watchApplication() {
  const auto watch = [this](const char* name, void (VemoraAdPlayerBase_p::*handle)()) {
    applicationNotifications_.push_back(NotificationCenter::defaultCenter().addObserver(
        name, [weak = weak_from_this(), handle](const Notification&) {
          if (const auto self = weak.lock()) (self.get()->*handle)();
        }));
  };
  watch(UIApplicationDidBecomeActiveNotification,
        &VemoraAdPlayerBase_p::applicationDidBecomeActiveNotification);
  watch(UIApplicationWillResignActiveNotification,
        &VemoraAdPlayerBase_p::applicationWillResignActiveNotification);
}

void VemoraAdPlayerBase_p::playerReleased() {
  if (inspect::isOn()) recordCall("release");
  applicationNotifications_.clear();
  commands_->dropWaiting();
  const Session current = session();
  current->abandon();
  sessionDidEnd(current);
}

void VemoraAdPlayerBase_p::_load(const Session& session) {
  const auto answer = askForRequest();
  if (inspect::isOn())
    inspect::record("request", session->number(),
                    {{"delegate", answer.has_value()},
                     {"given", answer && *answer},
                     {"channel", answer && *answer && (*answer)->channel()}});
  if (!answer) return dispatch().mainAsync([self = sharedSelf(this), session] { self->loadDidEnd(session); });
  const auto& request = *answer;
  session->setRequest(request);
  if (!request) {
    session->setAdGroup(nullptr);
    return reportLoad(session, nullptr, makeError(VMRErrorNoRequest, "No ad request was given."));
  }
  request->setPlacementType(placementType());
  // The client is asked for anew at each step: a session that was shut down has none.
  const auto configClient = session->client();
  const auto config = configClient ? configClient->loadConfigForRequest(request) : nullptr;
  session->setConfig(config);
  createTrackerIfConfigured(*session, request, config.get());
  std::optional<VMRError> error;
  const auto adsClient = session->client();
  auto group = adsClient ? adsClient->loadAdsForRequest(request, error) : nullptr;
  if (!session->client()) {
    group = nullptr;
    error = std::nullopt;
  }
  session->setAdGroup(group);
  if (hasAds(group) && session->isLive()) heartbeat_.arm(heartbeatCheck(session));
  if (!error && !hasAds(group)) error = makeError(VMRErrorNoAds, "No ads available");
  reportLoad(session, group, error);
}

std::optional<std::shared_ptr<VemoraAdRequest>> VemoraAdPlayerBase_p::askForRequest() {
  auto player = std::make_shared<BorrowedPlayer>(*this);
  auto delegate = player->delegate();
  std::optional<std::shared_ptr<VemoraAdRequest>> request;
  if (delegate) request = delegate->requestForPlayer(player->get());
  // The host may have released them meanwhile, and both may hold what belongs to the main thread.
  releaseOnMainThread(std::move(delegate));
  releaseOnMainThread(std::move(player));
  return request;
}

void VemoraAdPlayerBase_p::createTrackerIfConfigured(AdSession& session,
                                                     const std::shared_ptr<VemoraAdRequest>& request,
                                                     const VMRConfig* config) {
  auto code = config && config->featureMOATEnabled() ? config->moatPartnerCode() : std::nullopt;
  if (code && !request->channel()) {
    Vemora::logError(
        "The configuration asks for viewability measurement, which needs a request with a channel");
    code = std::nullopt;
  }
  session.setMoatTracker(code ? VMRMoatTracker::initWithContext(session.context(), request, *code) : nullptr);
}

void VemoraAdPlayerBase_p::reportLoad(const Session& session, std::shared_ptr<VemoraAdGroup> group,
                                      std::optional<VMRError> error) {
  dispatch().mainAsync(
      [self = sharedSelf(this), session, group = std::move(group), error = std::move(error)] {
        // Every load is reported, also that of a session which has ended meanwhile.
        self->notifyDelegate(*session, "vemoraDidLoadAds", &VemoraAdPlayerDelegate::vemoraDidLoadAds, group,
                             error);
        self->loadDidEnd(session);
      });
}

void VemoraAdPlayerBase_p::loadDidEnd(const Session& session) {
  auto& state = session->mainThread();
  state.isLoading = false;
  if (const auto held = std::exchange(state.heldEnding, std::nullopt)) deliverEnding(session, *held);
}

void VemoraAdPlayerBase_p::start() {
  const Session current = session();
  if (!hasAds(current->adGroup())) return;
  if (startTimeout_ > 0)
    dispatch().mainAsync([self = sharedSelf(this), current] { self->watchStart(current); });
  performInBackground(&VemoraAdPlayerBase_p::_start, nullptr);
}

void VemoraAdPlayerBase_p::watchStart(const Session& session) {
  if (std::exchange(session->mainThread().isStartWatched, true)) return;
  const double limit = startTimeout_;
  dispatch().mainAfter(limit, [weak = weak_from_this(), weakSession = std::weak_ptr(session), limit] {
    const auto self = weak.lock();
    const auto watched = weakSession.lock();
    if (!self || !watched || watched->mainThread().hasStarted) return;
    self->endSession(watched, playbackFailed("No ad started within " + describe(limit) + " seconds"));
  });
}

void VemoraAdPlayerBase_p::startFailed(const Session& session, const VMRError& error) {
  dispatch().mainAsync([self = sharedSelf(this), session, error] {
    if (!session->isLive()) return;
    Vemora::logError("The ads were not started: " + toString(error));
    self->notifyDelegate(*session, "vemoraDidFailToStart", &VemoraAdPlayerDelegate::vemoraDidFailToStart,
                         error);
  });
}

void VemoraAdPlayerBase_p::performInBackground(Step step, const JsonValue& parameters) {
  commands_->run([self = sharedSelf(this), step, parameters] { (self.get()->*step)(parameters); });
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

// Endings.

void VemoraAdPlayerBase_p::shutdown() {
  const Session current = session();
  _heartbeatSuspend();
  current->abandon();
  sessionDidEnd(current);
  current->close();
}

void VemoraAdPlayerBase_p::endSession(const Session& session, AdSessionEnding ending) {
  if (!session->beginEnding()) return;
  if (inspect::isOn())
    inspect::record("ending", session->number(), {{"error", inspect::valueOf(ending.error)}});
  _heartbeatSuspend();
  sessionDidEnd(session);
  session->close();
  if (dispatch().isMainThread()) return deliverEnding(session, ending);
  dispatch().mainAsync([self = sharedSelf(this), session, ending = std::move(ending)] {
    self->deliverEnding(session, ending);
  });
}

void VemoraAdPlayerBase_p::deliverEnding(const Session& session, const AdSessionEnding& ending) {
  using Delegate = VemoraAdPlayerDelegate;
  auto& state = session->mainThread();
  if (state.isLoading) {
    state.heldEnding = ending;
  } else if (!session->finish()) {
    return;
  } else if (ending.error) {
    notifyDelegate(*session, "vemoraAdError", &Delegate::vemoraAdError, ending.ad, *ending.error);
  } else {
    notifyDelegate(*session, "vemoraAdGroupComplete", &Delegate::vemoraAdGroupComplete, session->adGroup());
  }
}

AdSessionEnding VemoraAdPlayerBase_p::playbackFailed(std::optional<std::string> reason) {
  return {nullptr, makeError(VMRErrorPlayback, "Ad playback failed", std::move(reason))};
}

// The application's life cycle.

void VemoraAdPlayerBase_p::applicationWillResignActiveNotification() {
  if (inspect::isOn()) inspect::record("application", session()->number(), {{"state", "inactive"}});
  _heartbeatSuspend();
  const auto asked = request();
  const auto vpaid = asked ? asked->paramDict().find("VPAID") : JsonDictionary::iterator();
  const bool isScripted = asked && vpaid != asked->paramDict().end() && vpaid->second == JsonValue("js");
  performInBackground(&VemoraAdPlayerBase_p::_pause,
                      JsonValue::object({{"background", true}, {"ignorePreviousState", isScripted}}));
}

void VemoraAdPlayerBase_p::applicationDidBecomeActiveNotification() {
  if (inspect::isOn()) inspect::record("application", session()->number(), {{"state", "active"}});
  _heartbeatResume();
  // "background" is true here as well: kept on purpose.
  performInBackground(&VemoraAdPlayerBase_p::_resume, JsonValue::object({{"background", true}}));
}

// Controller events, windows and beacons.

template <typename... Parameters, typename... Arguments>
void VemoraAdPlayerBase_p::notifyDelegate(
    const AdSession& session, const char* name,
    void (VemoraAdPlayerDelegate::*callback)(const VemoraAdPlayerDelegate::Player&, Parameters...),
    const Arguments&... arguments) {
  const BorrowedPlayer player(*this);
  const auto delegate = player.delegate();
  const inspect::HostCallback recorded(name, number_, session.number(), delegate != nullptr, arguments...);
  if (!delegate) return;
  const StallWatch::HostCall hostCall;
  (delegate.get()->*callback)(player.get(), arguments...);
}

bool VemoraAdPlayerBase_p::handleMessage(const std::shared_ptr<VMRRpc>& message, const Session& session) {
  if (!message) return false;
  if (message->isKindOf("ping")) {
    Vemora::log("Heartbeat Received");
    _heartbeatCheck(message->params(), session);
  } else if (message->isKindOf("event")) {
    _evaluateEvent(message->params(), session);
  } else if (message->isKindOf("window")) {
    _evaluateWindow(message->params(), session);
  } else {
    return false;
  }
  return true;
}

void VemoraAdPlayerBase_p::_evaluateEvent(const JsonValue& parameters, const Session& session) {
  const JsonValue name = parameters["event"];
  const VemoraAdEvent event = VemoraAdEventFromNSString(name.asString());
  const auto ad = _findAdInGroup(session->adGroup(), parameters["id"]);
  Vemora::log("AdPlayer Event: " + describe(name));
  Vemora::log("Playing Ad: " +
              (ad && !ad->id().isNull() ? describe(ad->id()) : std::string("No Playing Ad")));
  dispatch().mainAsync([self = sharedSelf(this), session, parameters, ad, event] {
    self->track(*session, event, parameters, ad);
    if (session->isLive()) self->act(session, event, ad, parameters["data"]);
  });
}

void VemoraAdPlayerBase_p::track(AdSession& session, VemoraAdEvent event, const JsonValue& parameters,
                                 const std::shared_ptr<VemoraAd>& ad) {
  const auto tracker = session.moatTracker();
  if (!tracker) return;
  const auto channel = session.runtime();
  try {
    tracker->trackEvent(event, parameters, ad, channel ? channel->getWebView() : nullptr);
  } catch (const InternalInconsistencyException& error) {
    // The configuration asked for the tracker, not the host: no page may end the process with it.
    Vemora::logError(std::string("Viewability is not measured: ") + error.what());
    session.setMoatTracker(nullptr);
  }
}

void VemoraAdPlayerBase_p::act(const Session& session, VemoraAdEvent event,
                               const std::shared_ptr<VemoraAd>& ad, const JsonValue& data) {
  using Delegate = VemoraAdPlayerDelegate;
  switch (event) {
    case AdLoaded:
    case AdSizeChange:
      if (const auto ratio = aspectRatioIn(data))
        notifyDelegate(*session, "vemoraAdAspectRatio", &Delegate::vemoraAdAspectRatio, ad, *ratio);
      return;
    case AdStarted:
      session->mainThread().hasStarted = true;
      return notifyDelegate(*session, "vemoraAdStart", &Delegate::vemoraAdStart, ad);
    case AdSkipped:
      return notifyDelegate(*session, "vemoraAdSkipped", &Delegate::vemoraAdSkipped, ad);
    case AdVideoComplete:
      return notifyDelegate(*session, "vemoraAdComplete", &Delegate::vemoraAdComplete, ad);
    case AdUserClose:
      return notifyDelegate(*session, "vemoraAdUserClose", &Delegate::vemoraAdUserClose, ad);
    case AdPaused:
      return notifyDelegate(*session, "vemoraAdPaused", &Delegate::vemoraAdPaused, ad);
    case AdPlaying:
      return notifyDelegate(*session, "vemoraAdPlaying", &Delegate::vemoraAdPlaying, ad);
    case AdClickThru:
      return notifyDelegate(*session, "vemoraAdClicked", &Delegate::vemoraAdClicked, ad);
    case AdTimeChange:
      return notifyDelegate(*session, "vemoraAdTimeUpdate", &Delegate::vemoraAdTimeUpdate, ad,
                            data.doubleValue());
    case AdGroupStart:
      return notifyDelegate(*session, "vemoraAdGroupStart", &Delegate::vemoraAdGroupStart,
                            session->adGroup());
    case AdGroupEnd:
      return endSession(session, {});
    case AdError: {
      AdSessionEnding ending = playbackFailed(data.isNull() ? "" : describe(data));
      ending.ad = ad;
      return endSession(session, std::move(ending));
    }
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

void VemoraAdPlayerBase_p::_evaluateWindow(const JsonValue& parameters, const Session& session) {
  const std::string event(parameters["event"].asString().value_or(std::string_view()));
  const JsonValue address = parameters["url"];
  const auto url = Platform::shared().system().urlWithString(address.asString().value_or(std::string_view()));
  if (event.empty() || !url) return;
  dispatch().mainAsync([self = sharedSelf(this), session, event, url = *url] {
    if (event == "open" && session->isLive()) self->_openWindow(url, session);
    // A beacon that was asked for before the session ended still goes out.
    if (event == "beacon") _fireBeacon(url, *session);
  });
}

void VemoraAdPlayerBase_p::_openWindow(const URL& url, const Session& session) {
  const auto became = [&](const char* state, const JsonValue& reason = {}) {
    if (inspect::isOn())
      inspect::record("window", session->number(),
                      {{"state", state}, {"url", url.absoluteString}, {"reason", reason}});
  };
  const auto presenter = topMostController();
  if (!presenter) return became("noWindow");
  if (const char* refusal = browserRefusal(session->mainThread().browserTimes, dispatch().now())) {
    Vemora::log("In-app browser not opened, since " + std::string(refusal) + ": " + url.absoluteString);
    return became("refused", refusal);
  }
  const auto browser = Platform::shared().application().createSafariViewController(url);
  if (!browser) return became("unsupported");
  _heartbeatSuspend();
  session->setBrowser(browser);
  browser->setDelegate(weak_from_this());
  presenter->presentViewController(browser, true, nullptr);
  const bool isPresented = presents(*presenter, *browser);
  became(isPresented ? "opened" : "notPresented");
  // A browser that was not presented is never closed.
  if (!isPresented) _heartbeatResume();
}

std::shared_ptr<ViewController> VemoraAdPlayerBase_p::topMostController() {
  const auto window = Platform::shared().application().keyWindow();
  auto top = window ? window->rootViewController() : nullptr;
  while (top && top->presentedViewController()) top = top->presentedViewController();
  return top;
}

void VemoraAdPlayerBase_p::safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>&) {
  if (inspect::isOn()) inspect::record("window", session()->number(), {{"state", "closed"}});
  _heartbeatResume();
  performInBackground(&VemoraAdPlayerBase_p::_resume, nullptr);
}

void VemoraAdPlayerBase_p::_fireBeacon(const URL& url, const AdSession& session) {
  Vemora::log("Fire beacon: " + url.absoluteString);
  URLRequest request;
  request.url = url.absoluteString;
  request.cachePolicy = URLRequestCachePolicy::ReloadIgnoringLocalCacheData;
  const auto& known = session.context();
  if (const auto userAgent = known ? known->userAgent() : std::nullopt)
    request.addValue(*userAgent, "User-Agent");
  const auto beacon =
      inspect::isOn() ? inspect::beaconSent(session.number(), url.absoluteString) : inspect::Beacon();
  Platform::shared().system().createEphemeralURLSession()->downloadTaskWithRequest(
      request, [beacon](const std::optional<VMRError>& error) {
        if (inspect::isOn()) inspect::beaconEnded(beacon, error);
        if (error) Vemora::logError("Failed to fire beacon: " + toString(*error));
      });
}

// Heartbeat.

/// Belongs to its session: it does nothing once that has ended.
Heartbeat::Check VemoraAdPlayerBase_p::heartbeatCheck(const Session& session) {
  return [weak = weak_from_this(), weakSession = std::weak_ptr(session)] {
    const auto self = weak.lock();
    const auto watched = weakSession.lock();
    if (self && watched) self->_heartbeatTimeout(watched);
  };
}

void VemoraAdPlayerBase_p::_heartbeatMonitor() {
  heartbeat_.arm(heartbeatCheck(session()));
}
void VemoraAdPlayerBase_p::_hearbeatCancel() {
  heartbeat_.cancel();
}
void VemoraAdPlayerBase_p::_heartbeatSuspend() {
  heartbeat_.suspend();
}
void VemoraAdPlayerBase_p::_heartbeatResume() {
  heartbeat_.resume(heartbeatCheck(session()));
}

void VemoraAdPlayerBase_p::_heartbeatCheck(const JsonValue& parameters, const Session& session) {
  if (!session->isLive()) return;
  if (!parameters["shutdown"].boolValue()) return heartbeat_.rearm(heartbeatCheck(session));
  heartbeat_.cancel();
  Vemora::log("Heartbeat SHUTDOWN!");
  const JsonValue reason = parameters["message"];
  endSession(session, playbackFailed(reason.isNull() ? std::nullopt : std::optional(describe(reason))));
}

void VemoraAdPlayerBase_p::_heartbeatTimeout(const Session& session) {
  if (!session->isLive()) return;
  Vemora::log("Heartbeat Timeout");
  endSession(session, {nullptr, makeError(VMRErrorNotResponding, "Player not responding")});
}

}  // namespace vemora
