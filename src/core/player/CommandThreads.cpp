#include "core/player/CommandThreads.h"

#include "ports/Platform.h"

#include <utility>

namespace vemora {

void CommandThreads::run(Work work) {
  {
    MutexLock lock(mutex_);
    if (running_ == kLimit) {
      waiting_.push_back(std::move(work));
      return;
    }
    ++running_;
  }
  dispatch().detachNewThread(
      [self = shared_from_this(), work = std::move(work)]() mutable { self->serve(std::move(work)); });
}

void CommandThreads::dropWaiting() {
  std::deque<Work> dropped;  // Released outside the lock.
  MutexLock lock(mutex_);
  dropped.swap(waiting_);
}

void CommandThreads::serve(Work work) {
  do {
    work();
    work = nullptr;  // Whatever it holds goes before the next piece begins.
  } while (takeNext(work));
}

bool CommandThreads::takeNext(Work& work) {
  MutexLock lock(mutex_);
  if (waiting_.empty()) {
    --running_;
    return false;
  }
  work = std::move(waiting_.front());
  waiting_.pop_front();
  return true;
}

}  // namespace vemora
