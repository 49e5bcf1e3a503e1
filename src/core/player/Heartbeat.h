#pragma once

#include "base/Mutex.h"
#include "ports/Dispatch.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>

namespace vemora {

/// The watch over a page that has to ping: a check that comes due five seconds after it was armed, and a
/// depth of suspensions while which nothing is armed. Any thread.
///
/// Each operation is one step under one lock, so that a ping that crosses a suspension or another ping leaves
/// no check that cannot be cancelled. The depth belongs to the player and outlives its sessions: on purpose.
class Heartbeat {
 public:
  using Check = std::function<void()>;

  /// Arms a check, unless suspended. A check that was armed before is forgotten, not cancelled, and still
  /// comes due: kept on purpose.
  void arm(Check check);
  void cancel();
  /// Cancels the armed check and arms a new one, unless suspended.
  void rearm(Check check);
  /// Raises the depth and cancels.
  void suspend();
  /// Lowers the depth, to 0 at the least, and arms when it is then 0.
  void resume(Check check);

  std::int64_t depth() const;
  /// The session that recordings show the steps with.
  void setSession(std::uint64_t number) { session_ = number; }

 private:
  using Block = std::shared_ptr<DispatchBlock>;
  /// What a step did. Checks are numbered from 1, for recordings.
  struct Step {
    Block block;  ///< Armed, and still to be scheduled.
    std::uint64_t armed = 0;
    std::uint64_t stale = 0;  ///< Was armed, and can no longer be cancelled.
    std::uint64_t cancelled = 0;
    std::int64_t depth = 0;
  };
  void armLocked(Step& step, Check check) VMR_REQUIRES(mutex_);
  void cancelLocked(Step& step) VMR_REQUIRES(mutex_);
  void finish(const char* event, const Step& step) const;
  Check recordedWhenDue(Check check, std::uint64_t number) const;

  std::atomic<std::uint64_t> session_{0};
  mutable Mutex mutex_;  ///< Guards all below. Nothing is locked under it.
  std::int64_t depth_ VMR_GUARDED_BY(mutex_) = 0;
  std::uint64_t lastNumber_ VMR_GUARDED_BY(mutex_) = 0;
  /// Weak: the queue that the block waits in holds it.
  std::weak_ptr<DispatchBlock> armed_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora
