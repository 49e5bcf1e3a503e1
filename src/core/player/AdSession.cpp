#include "core/player/AdSession.h"

#include "core/client/VMRAdDumper.h"
#include "core/context/VMRContext.h"
#include "core/page/VMRWebViewRuntime.h"
#include "core/player/VemoraAdPlayerBase_p.h"
#include "core/viewability/VMRMoatTracker.h"
#include "ports/MainThreadRelease.h"
#include "ports/Platform.h"

#include <utility>

namespace vemora {

template <typename T>
T AdSession::get(T Fields::*field) const {
  MutexLock lock(mutex_);
  return fields_.*field;
}

template <typename T>
T AdSession::exchange(T Fields::*field, T value) {
  MutexLock lock(mutex_);
  std::swap(fields_.*field, value);
  return value;
}

template <typename T>
T AdSession::store(T Fields::*field, T value) {
  MutexLock lock(mutex_);
  if (fields_.state == State::Live) std::swap(fields_.*field, value);
  return value;
}

std::shared_ptr<AdSession> AdSession::none() {
  return std::shared_ptr<AdSession>(new AdSession);
}

std::shared_ptr<AdSession> AdSession::create(std::weak_ptr<VemoraAdPlayerBase_p> player,
                                             const AdSession& predecessor) {
  auto session = none();
  session->player_ = std::move(player);
  session->context_ = VMRContext::init();
  const auto runtime = VMRWebViewRuntime::init();
  session->number_ = runtime->number();
  runtime->registerObserver(session);
  auto client = VMRAdDumper::initWithContext(session->context_, runtime);
  client->setStartFailureHandler([weak = std::weak_ptr(session)](const VMRError& error) {
    const auto failed = weak.lock();
    const auto owner = failed ? failed->player_.lock() : nullptr;
    if (owner) owner->startFailed(failed, error);
  });
  const Fields before = [&predecessor] {
    MutexLock lock(predecessor.mutex_);
    return predecessor.fields_;
  }();
  MutexLock lock(session->mutex_);
  session->fields_ = {State::Live,   runtime,        std::move(client),  before.request,
                      before.config, before.adGroup, before.moatTracker, nullptr};
  return session;
}

AdSession::~AdSession() {
  // The page closes with the client, which nothing else holds now.
  releaseOnMainThread(exchange(&Fields::browser, {}));
  releaseOnMainThread(exchange(&Fields::moatTracker, {}));
}

bool AdSession::onMessage(const std::shared_ptr<VMRRpc>& message) {
  const auto player = player_.lock();
  return player && player->handleMessage(message, shared_from_this());
}

std::shared_ptr<VMRWebViewRuntime> AdSession::runtime() const {
  return get(&Fields::runtime);
}
std::shared_ptr<VMRAdDumper> AdSession::client() const {
  return get(&Fields::client);
}

void AdSession::close() {
  if (const auto runtime = exchange(&Fields::runtime, {})) runtime->unregisterObserver(this);
  if (const auto client = exchange(&Fields::client, {})) client->shutdown();
}

bool AdSession::isLive() const {
  return get(&Fields::state) == State::Live;
}

bool AdSession::beginEnding() {
  MutexLock lock(mutex_);
  if (fields_.state != State::Live) return false;
  fields_.state = State::Ending;
  return true;
}

bool AdSession::finish() {
  return exchange(&Fields::state, State::Over) == State::Ending;
}

void AdSession::abandon() {
  exchange(&Fields::state, State::Over);
}

std::shared_ptr<VemoraAdRequest> AdSession::request() const {
  return get(&Fields::request);
}
std::shared_ptr<VMRConfig> AdSession::config() const {
  return get(&Fields::config);
}
std::shared_ptr<VemoraAdGroup> AdSession::adGroup() const {
  return get(&Fields::adGroup);
}
std::shared_ptr<VMRMoatTracker> AdSession::moatTracker() const {
  return get(&Fields::moatTracker);
}
std::shared_ptr<SFSafariViewController> AdSession::browser() const {
  return get(&Fields::browser);
}

void AdSession::setRequest(std::shared_ptr<VemoraAdRequest> request) {
  store(&Fields::request, std::move(request));
}
void AdSession::setConfig(std::shared_ptr<VMRConfig> config) {
  store(&Fields::config, std::move(config));
}
void AdSession::setAdGroup(std::shared_ptr<VemoraAdGroup> group) {
  store(&Fields::adGroup, std::move(group));
}
void AdSession::setMoatTracker(std::shared_ptr<VMRMoatTracker> tracker) {
  releaseOnMainThread(store(&Fields::moatTracker, std::move(tracker)));
}
void AdSession::setBrowser(std::shared_ptr<SFSafariViewController> browser) {
  releaseOnMainThread(exchange(&Fields::browser, std::move(browser)));
}

AdSession::MainThread& AdSession::mainThread() {
  assertMainThread();
  return mainThread_;
}

}  // namespace vemora
