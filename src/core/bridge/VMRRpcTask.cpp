#include "core/bridge/VMRRpcTask.h"

#include "core/bridge/VMRBridgeErrors.h"
#include "core/bridge/VMRRuntime.h"
#include "ports/Platform.h"

namespace vemora {

namespace {

VMRError inOurDomain(const VMRError& error) {
  if (error.domain == VMRErrorDomain) return error;
  VMRError wrapped = bridgeFailure(error.description);
  wrapped.underlyingError = std::make_shared<const VMRError>(error);
  return wrapped;
}

}  // namespace

VMRRpcTask::VMRRpcTask(std::shared_ptr<VMRRuntime> runtime, std::shared_ptr<VMRRpc> message,
                       std::shared_ptr<VMRFuture> future)
    : _runtime(std::move(runtime)), _message(std::move(message)), _future(std::move(future)) {}

std::shared_ptr<VMRRpcTask> VMRRpcTask::initWithRuntime(std::shared_ptr<VMRRuntime> runtime,
                                                        std::shared_ptr<VMRRpc> message,
                                                        std::shared_ptr<VMRFuture> future) {
  return std::shared_ptr<VMRRpcTask>(
      new VMRRpcTask(std::move(runtime), std::move(message), std::move(future)));
}

VMRRpcTask::~VMRRpcTask() {
  _runtime->unregisterObserver(this);
}

void VMRRpcTask::send(double timeout) {
  _runtime->registerObserver(shared_from_this());
  _runtime->postMessage(
      _message, [self = shared_from_this()](const VMRError& error) { self->complete(nullptr, error); });
  auto block = std::make_shared<DispatchBlock>([self = shared_from_this()] { self->timeout(); });
  {
    MutexLock lock(mutex_);
    // A reply may have overtaken the arming: the block then has nothing left to do when its time comes.
    if (_didFireCallback)
      block->cancel();
    else
      _timeoutBlock = block;
  }
  dispatch().globalAfter(timeout, std::move(block));
}

bool VMRRpcTask::onMessage(const std::shared_ptr<VMRRpc>& message) {
  if (!message || !message->isResponse() || message->ID() != _message->ID()) return false;
  complete(message, std::nullopt);
  return true;
}

std::string_view VMRRpcTask::awaitedResponse() const {
  return *_message->ID().asString();
}

void VMRRpcTask::timeout() {
  complete(nullptr, bridgeFailure("Timeout was reached"));
}

void VMRRpcTask::complete(const std::shared_ptr<VMRRpc>& message, const std::optional<VMRError>& error) {
  if (claimCompletion() && _future) settle(message, error);
}

bool VMRRpcTask::claimCompletion() {
  std::shared_ptr<DispatchBlock> pending;  // Let go of outside the lock: it holds this task.
  MutexLock lock(mutex_);
  pending = std::exchange(_timeoutBlock, {}).lock();
  if (pending) pending->cancel();
  return !std::exchange(_didFireCallback, true);
}

void VMRRpcTask::settle(const std::shared_ptr<VMRRpc>& message, const std::optional<VMRError>& error) {
  if (error) {
    _future->fail(inOurDomain(*error));
  } else if (message) {
    _future->resolve(message);
  } else {
    _future->fail(bridgeFailure("Missing response"));
  }
}

}  // namespace vemora
