#include "core/bridge/VMRRuntime.h"

#include "core/bridge/VMRBridgeErrors.h"
#include "core/bridge/VMRRpcTask.h"
#include "core/inspect/Inspection.h"
#include "ports/Platform.h"

#include <Vemora/InternalInconsistencyException.h>
#include <Vemora/Vemora.h>

namespace vemora {

namespace {

constexpr double kPageTimeout = 15.0;
constexpr double kReplyTimeout = 5.0;

VMRError unableToLoadController() {
  Bundle& bundle = Platform::shared().bundle();
  VMRError error = makeError(VMRErrorBridge, bundle.localizedString("Unable to Load Controller"),
                             bundle.localizedString("Unable to Load Controller"));
  error.recoverySuggestion = bundle.localizedString("Check your Adsmith settings");
  return error;
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): overrides move it on.
void VMRRuntime::postMessage(const std::shared_ptr<VMRRpc>&, ErrorHandler) {
  throw InternalInconsistencyException(std::string("Method called on the base class ") + className() +
                                       " that should be overridden");
}

void VMRRuntime::onMessage(const std::shared_ptr<VMRRpc>& message) {
  for (const Observer& observer : observersFor(message.get())) {
    const auto alive = observer.lock();
    if (alive && alive->onMessage(message)) return;
  }
  const std::string method = message ? message->method().stringValue().value_or("") : std::string();
  if (inspect::isOn()) inspect::record("unhandled", number(), {{"method", method}});
  Vemora::log("Unhandled RPC message: " + method);
}

std::shared_ptr<VMRFuture> VMRRuntime::exec(const std::shared_ptr<VMRRpc>& message) {
  return exec(message, kReplyTimeout);
}

std::shared_ptr<VMRFuture> VMRRuntime::exec(const std::shared_ptr<VMRRpc>& message, double timeout) {
  auto future = VMRFuture::init();
  if (!message) {
    future->fail(bridgeFailure("Missing response"));
    return future;
  }
  const auto page = loaded();
  // With a page that is ready there is nothing to wait for. The main thread does not write messages.
  if (page && page->isDone() && !dispatch().isMainThread()) {
    VMRRpcTask::initWithRuntime(shared_from_this(), message, future)->send(timeout);
    return future;
  }
  dispatch().globalAsync([self = shared_from_this(), message, future, timeout] {
    // A page that failed to load counts as done: its calls are posted and fail one by one.
    if (const auto ready = self->loaded(); !ready || !ready->wait(kPageTimeout)) {
      if (inspect::isOn())
        inspect::record("call", self->number(),
                        {{"id", message->ID()}, {"method", message->method()}, {"state", "notReady"}});
      Vemora::logError("Controller NOT READY");
      future->fail(unableToLoadController());
      return;
    }
    VMRRpcTask::initWithRuntime(self, message, future)->send(timeout);
  });
  return future;
}

}  // namespace vemora
