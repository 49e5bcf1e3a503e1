#include "core/player/Heartbeat.h"

#include "ports/Platform.h"

#include <Vemora/Vemora.h>

#include <utility>

namespace vemora {

namespace {

constexpr double kHeartbeatInterval = 5.0;

}  // namespace

void Heartbeat::arm(Check check) {
  Block block;
  {
    MutexLock lock(mutex_);
    block = armLocked(std::move(check));
  }
  schedule(block);
}

void Heartbeat::cancel() {
  Vemora::log("Monitor Heartbeat Cancel");
  MutexLock lock(mutex_);
  cancelLocked();
}

void Heartbeat::rearm(Check check) {
  Vemora::log("Monitor Heartbeat Cancel");
  Block block;
  {
    MutexLock lock(mutex_);
    cancelLocked();
    block = armLocked(std::move(check));
  }
  schedule(block);
}

void Heartbeat::suspend() {
  Vemora::log("Monitor Heartbeat Suspend");
  Vemora::log("Monitor Heartbeat Cancel");
  MutexLock lock(mutex_);
  ++depth_;
  cancelLocked();
}

void Heartbeat::resume(Check check) {
  Vemora::log("Monitor Heartbeat Resume");
  Block block;
  {
    MutexLock lock(mutex_);
    if (depth_ > 0) --depth_;
    block = armLocked(std::move(check));
  }
  schedule(block);
}

std::int64_t Heartbeat::depth() const {
  MutexLock lock(mutex_);
  return depth_;
}

Heartbeat::Block Heartbeat::armLocked(Check check) {
  if (depth_ > 0) return nullptr;
  auto block = std::make_shared<DispatchBlock>(std::move(check));
  armed_ = block;
  return block;
}

/// A check holds its session weakly, so that nothing of note is released under the lock.
void Heartbeat::cancelLocked() {
  if (const Block block = std::exchange(armed_, {}).lock()) block->cancel();
}

void Heartbeat::schedule(const Block& block) {
  if (!block) return;
  Vemora::log("Monitor Heartbeat");
  dispatch().globalAfter(kHeartbeatInterval, block);
}

}  // namespace vemora
