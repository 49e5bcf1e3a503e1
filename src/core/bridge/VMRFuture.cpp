#include "core/bridge/VMRFuture.h"

#include "ports/Platform.h"

#include <Vemora/NotificationCenter.h>

namespace vemora {

VMRFuture::VMRFuture() = default;
VMRFuture::~VMRFuture() = default;

std::shared_ptr<VMRFuture> VMRFuture::init() {
  struct Made final : VMRFuture {};
  return std::make_shared<Made>();
}

void VMRFuture::resolve(std::any value) {
  _resolveWithValue(std::move(value), std::nullopt, false);
}
void VMRFuture::fail(std::optional<VMRError> error) {
  _resolveWithValue({}, std::move(error), false);
}
void VMRFuture::cancel() {
  _resolveWithValue({}, std::nullopt, true);
}

void VMRFuture::_resolveWithValue(std::any value, std::optional<VMRError> error, bool cancelled) {
  if (isDone()) return;
  RecursiveMutexLock lock(completion_);
  if (isDone()) return;
  value_ = std::move(value);
  error_ = std::move(error);
  isCancelled_ = cancelled;
  {
    MutexLock waiters(waiters_);
    isDone_.store(true, std::memory_order_release);
  }
  condition_.notify_all();
  // Inside the lock on purpose: a second completion returns only when the first has been announced.
  NotificationCenter& center = NotificationCenter::defaultCenter();
  if (center.hasObservers(kVMRFutureCompleteNotification)) {
    center.postNotification({kVMRFutureCompleteNotification, shared_from_this(), nullptr});
  }
}

bool VMRFuture::wait(double timeout) {
  if (isDone()) return true;
  Dispatch& port = dispatch();
  const double deadline = port.now() + timeout;
  MutexLock lock(waiters_);
  while (!isDone() && port.waitUntil(waiters_, condition_, deadline)) {
  }
  return isDone();
}

}  // namespace vemora
