#include "core/player/Heartbeat.h"

#include "core/inspect/Inspection.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

#include <utility>

namespace vemora {

namespace {

constexpr double kHeartbeatInterval = 5.0;

}  // namespace

void Heartbeat::arm(Check check) {
  Step step;
  {
    MutexLock lock(mutex_);
    armLocked(step, std::move(check));
  }
  finish("arm", step);
}

void Heartbeat::cancel() {
  Vemora::log("Monitor Heartbeat Cancel");
  Step step;
  {
    MutexLock lock(mutex_);
    cancelLocked(step);
  }
  finish("cancel", step);
}

void Heartbeat::rearm(Check check) {
  Vemora::log("Monitor Heartbeat Cancel");
  Step step;
  {
    MutexLock lock(mutex_);
    cancelLocked(step);
    armLocked(step, std::move(check));
  }
  finish("arm", step);
}

void Heartbeat::suspend() {
  Vemora::log("Monitor Heartbeat Suspend");
  Vemora::log("Monitor Heartbeat Cancel");
  Step step;
  {
    MutexLock lock(mutex_);
    ++depth_;
    cancelLocked(step);
  }
  finish("suspend", step);
}

void Heartbeat::resume(Check check) {
  Vemora::log("Monitor Heartbeat Resume");
  Step step;
  {
    MutexLock lock(mutex_);
    if (depth_ > 0) --depth_;
    armLocked(step, std::move(check));
  }
  finish("resume", step);
}

std::int64_t Heartbeat::depth() const {
  MutexLock lock(mutex_);
  return depth_;
}

void Heartbeat::armLocked(Step& step, Check check) {
  step.depth = depth_;
  if (depth_ > 0) return;
  const Block forgotten = armed_.lock();
  if (forgotten && !forgotten->isCancelled()) step.stale = lastNumber_;
  step.armed = ++lastNumber_;
  step.block = std::make_shared<DispatchBlock>(inspect::isOn() ? recordedWhenDue(std::move(check), step.armed)
                                                               : std::move(check));
  armed_ = step.block;
}

/// A check holds its session weakly, so that nothing of note is released under the lock.
void Heartbeat::cancelLocked(Step& step) {
  step.depth = depth_;
  const Block block = std::exchange(armed_, {}).lock();
  if (!block) return;
  block->cancel();
  step.cancelled = lastNumber_;
}

void Heartbeat::finish(const char* event, const Step& step) const {
  const auto numbered = [](std::uint64_t number) { return number > 0 ? JsonValue(number) : JsonValue(); };
  if (inspect::isOn())
    inspect::record("heartbeat", session_,
                    {{"event", event},
                     {"depth", step.depth},
                     {"check", numbered(step.armed)},
                     {"cancelled", numbered(step.cancelled)},
                     {"stale", numbered(step.stale)}});
  if (!step.block) return;
  Vemora::log("Monitor Heartbeat");
  dispatch().globalAfter(kHeartbeatInterval, step.block);
}

Heartbeat::Check Heartbeat::recordedWhenDue(Check check, std::uint64_t number) const {
  return [check = std::move(check), number, session = session_.load()] {
    if (inspect::isOn()) inspect::record("heartbeat", session, {{"event", "due"}, {"check", number}});
    check();
  };
}

}  // namespace vemora
