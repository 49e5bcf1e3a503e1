#pragma once

#include "base/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace vemora::gtk {

using SteadyTime = std::chrono::steady_clock::time_point;

/// Waits on the monotonic clock with `mutex` released meanwhile; false once `deadline` has passed. May wake
/// for no reason.
inline bool waitOnCondition(Mutex& mutex, std::condition_variable& condition, SteadyTime deadline)
    VMR_REQUIRES(mutex) {
  std::unique_lock<std::mutex> lock(mutex.native(), std::adopt_lock);
  bool inTime = true;
  if (deadline == SteadyTime::max()) {
    condition.wait(lock);  // NOLINT(bugprone-spuriously-wake-up-functions): the caller looks again.
  } else {
    inTime = condition.wait_until(lock, deadline) == std::cv_status::no_timeout;
  }
  lock.release();
  return inTime;
}

}  // namespace vemora::gtk
