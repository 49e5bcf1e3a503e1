#include "core/bridge/VMRRpcTask.h"

#include "core/bridge/VMRBridgeErrors.h"
#include "core/bridge/VMRRuntime.h"
#include "core/inspect/Inspection.h"
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
    : sentAt_(inspect::kUnknownTime),
      runtime_(std::move(runtime)),
      message_(std::move(message)),
      future_(std::move(future)) {}

std::shared_ptr<VMRRpcTask> VMRRpcTask::initWithRuntime(std::shared_ptr<VMRRuntime> runtime,
                                                        std::shared_ptr<VMRRpc> message,
                                                        std::shared_ptr<VMRFuture> future) {
  return std::shared_ptr<VMRRpcTask>(
      new VMRRpcTask(std::move(runtime), std::move(message), std::move(future)));
}

VMRRpcTask::~VMRRpcTask() {
  runtime_->unregisterObserver(this);
}

void VMRRpcTask::send(double timeout) {
  if (inspect::isOn()) {
    sentAt_ = dispatch().now();
    inspect::record(
        "call", runtime_->number(),
        {{"id", message_->ID()}, {"method", message_->method()}, {"state", "sent"}, {"timeout", timeout}});
  }
  runtime_->registerObserver(shared_from_this());
  runtime_->postMessage(
      message_, [self = shared_from_this()](const VMRError& error) { self->complete(nullptr, error); });
  auto block = std::make_shared<DispatchBlock>([self = shared_from_this()] { self->timeout(); });
  {
    MutexLock lock(mutex_);
    // The reply may have come before the block was armed.
    if (didFireCallback_)
      block->cancel();
    else
      timeoutBlock_ = block;
  }
  dispatch().globalAfter(timeout, std::move(block));
}

bool VMRRpcTask::onMessage(const std::shared_ptr<VMRRpc>& message) {
  if (!message || !message->isResponse() || message->ID() != message_->ID()) return false;
  complete(message, std::nullopt);
  return true;
}

std::string_view VMRRpcTask::awaitedResponse() const {
  return *message_->ID().asString();
}

void VMRRpcTask::timeout() {
  complete(nullptr, bridgeTimeout());
}

void VMRRpcTask::complete(const std::shared_ptr<VMRRpc>& message, const std::optional<VMRError>& error) {
  if (!claimCompletion()) return;
  if (inspect::isOn()) recordEnd(error);
  if (future_) settle(message, error);
}

bool VMRRpcTask::claimCompletion() {
  std::shared_ptr<DispatchBlock> pending;  // Released outside the lock: it holds this task.
  MutexLock lock(mutex_);
  pending = std::exchange(timeoutBlock_, {}).lock();
  if (pending) pending->cancel();
  return !std::exchange(didFireCallback_, true);
}

void VMRRpcTask::recordEnd(const std::optional<VMRError>& error) const {
  const bool isTimeout = error == bridgeTimeout();
  inspect::record("call", runtime_->number(),
                  {{"id", message_->ID()},
                   {"method", message_->method()},
                   {"state", isTimeout ? "timedOut"
                             : error   ? "failed"
                                       : "replied"},
                   {"latency", inspect::durationSince(sentAt_)},
                   {"error", inspect::valueOf(error)}});
}

void VMRRpcTask::settle(const std::shared_ptr<VMRRpc>& message, const std::optional<VMRError>& error) {
  if (error) {
    future_->fail(inOurDomain(*error));
  } else if (message) {
    future_->resolve(message);
  } else {
    future_->fail(bridgeFailure("Missing response"));
  }
}

}  // namespace vemora
