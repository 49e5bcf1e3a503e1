#include "backends/gtk/dispatch/TimerThread.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

namespace vemora::gtk {

namespace {

/// How much longer than its time a cancelled block may be kept.
constexpr std::chrono::milliseconds kCancelledSlack{100};
/// How many blocks are looked at in one go while the lock is held.
constexpr std::size_t kBatch = 256;

}  // namespace

void TimerThread::arm(SteadyTime deadline, TimerTarget target, std::shared_ptr<DispatchBlock> block) {
  bool wakes = false;
  {
    MutexLock lock(mutex_);
    blocks_.emplace_hint(blocks_.end(), deadline, DueBlock{target, std::move(block)});
    if (stopping_) return;
    startIfNeeded();
    wakes = deadline < wakeTime_;
    if (wakes) wakeTime_ = deadline;
  }
  if (wakes) changed_.notify_one();
}

void TimerThread::startIfNeeded() {
  if (!thread_.joinable()) thread_ = std::thread([this] { run(); });
}

void TimerThread::stop() {
  std::thread thread;
  {
    MutexLock lock(mutex_);
    stopping_ = true;
    thread.swap(thread_);
  }
  changed_.notify_one();
  if (thread.joinable()) thread.join();
}

void TimerThread::run() {
  pthread_setname_np(pthread_self(), "vemora-timer");
  std::vector<DueBlock> due;
  while (awaitDueBlocks(due)) {
    handler_(due);
    due.clear();
  }
}

bool TimerThread::awaitDueBlocks(std::vector<DueBlock>& due) {
  MutexLock lock(mutex_);
  while (!stopping_) {
    takeDueBlocks(due);
    if (!due.empty()) return true;
    wakeTime_ = nextWake();
    waitOnCondition(mutex_, changed_, wakeTime_);
    wakeTime_ = SteadyTime::min();
  }
  return false;
}

void TimerThread::takeDueBlocks(std::vector<DueBlock>& due) {
  const SteadyTime now = std::chrono::steady_clock::now();
  while (due.size() < kBatch && !blocks_.empty() && blocks_.begin()->first <= now) {
    due.push_back(std::move(blocks_.begin()->second));
    blocks_.erase(blocks_.begin());
  }
}

/// The time of the first block that is still wanted, but not much later than the first of all.
SteadyTime TimerThread::nextWake() const {
  if (blocks_.empty()) return SteadyTime::max();
  const SteadyTime latest = blocks_.begin()->first + kCancelledSlack;
  SteadyTime wake = latest;
  std::size_t looked = 0;
  for (const auto& [deadline, due] : blocks_) {
    wake = std::min(deadline, latest);
    if (wake == latest || ++looked == kBatch || !due.block->isCancelled()) break;
  }
  return wake;
}

}  // namespace vemora::gtk
