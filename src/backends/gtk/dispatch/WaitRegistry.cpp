#include "backends/gtk/dispatch/WaitRegistry.h"

#include <chrono>
#include <thread>

namespace vemora::gtk {

bool WaitRegistry::waitUntil(Mutex& mutex, std::condition_variable& condition, SteadyTime deadline) {
  Conditions own{&condition};
  const Conditions::iterator entry = own.begin();
  {
    MutexLock lock(mutex_);
    if (cutShort_) return false;
    waiting_.splice(waiting_.end(), own);
  }
  const bool inTime = waitOnCondition(mutex, condition, deadline);
  MutexLock lock(mutex_);
  own.splice(own.begin(), waiting_, entry);
  return inTime && !cutShort_;
}

void WaitRegistry::cutShort(SteadyTime limit) {
  {
    MutexLock lock(mutex_);
    cutShort_ = true;
  }
  // A waiter that is registered may not be waiting yet, and its own mutex must not be taken here: so wake
  // until all have noticed.
  while (wakeAll() && std::chrono::steady_clock::now() < limit) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

bool WaitRegistry::wakeAll() {
  MutexLock lock(mutex_);
  for (std::condition_variable* condition : waiting_) condition->notify_all();
  return !waiting_.empty();
}

}  // namespace vemora::gtk
