#pragma once

#include "backends/gtk/base/ConditionWait.h"
#include "base/Mutex.h"

#include <condition_variable>
#include <list>

namespace vemora::gtk {

/// Waits on other people's conditions, and can cut all of them short when the process ends.
class WaitRegistry {
 public:
  /// False once `deadline` has passed or the waits were cut short.
  bool waitUntil(Mutex& mutex, std::condition_variable& condition, SteadyTime deadline) VMR_REQUIRES(mutex);
  /// Makes every wait end, those under way and those to come; returns when the first have ended, at the
  /// latest at `limit`.
  void cutShort(SteadyTime limit);

 private:
  using Conditions = std::list<std::condition_variable*>;

  bool wakeAll();

  /// Guards everything below. Taken with the waiter's own mutex held, never the other way round.
  Mutex mutex_;
  /// One entry for each wait under way; a waiter keeps its condition alive while it is in here.
  Conditions waiting_ VMR_GUARDED_BY(mutex_);
  bool cutShort_ VMR_GUARDED_BY(mutex_) = false;
};

}  // namespace vemora::gtk
