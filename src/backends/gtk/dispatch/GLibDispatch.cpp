#include "backends/gtk/dispatch/GLibDispatch.h"

#include "backends/gtk/GtkPorts.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>

namespace vemora::gtk {

namespace {

using Clock = std::chrono::steady_clock;

/// Longer than any real wait, and within the range of the clock's type.
constexpr double kFarFuture = 1e9;

SteadyTime timeAt(double seconds) {
  if (!(seconds < kFarFuture)) return SteadyTime::max();
  const std::chrono::duration<double> sinceEpoch(std::max(seconds, 0.0));
  return SteadyTime(std::chrono::duration_cast<SteadyTime::duration>(sinceEpoch));
}

SteadyTime timeAfter(double seconds) {
  const bool isPositive = seconds > 0;
  return Clock::now() + std::chrono::duration_cast<SteadyTime::duration>(
                            std::chrono::duration<double>(isPositive ? std::min(seconds, kFarFuture) : 0));
}

/// The dispatch that the process's end stops.
std::atomic<GLibDispatch*> processDispatch{nullptr};

void stopProcessDispatch() {
  if (GLibDispatch* dispatch = processDispatch.exchange(nullptr)) dispatch->stopAtProcessEnd();
}

}  // namespace

GLibDispatch::GLibDispatch(std::chrono::milliseconds stopLimit)
    : process_(getpid()),
      stopLimit_(stopLimit),
      timers_([this](std::vector<TimerThread::DueBlock>& due) { handOn(due); }) {}

GLibDispatch::~GLibDispatch() {
  GLibDispatch* self = this;
  processDispatch.compare_exchange_strong(self, nullptr);
  stop(SteadyTime::max());
}

bool GLibDispatch::isMainThread() const {
  static thread_local const bool isInitial = syscall(SYS_gettid) == getpid();
  return isInitial;
}

void GLibDispatch::mainAsync(Work work) {
  mainQueue_.post(std::move(work));
}

void GLibDispatch::mainAfter(double seconds, Work work) {
  timers_.arm(timeAfter(seconds), TimerTarget::MainQueue, std::make_shared<DispatchBlock>(std::move(work)));
}

void GLibDispatch::globalAsync(Work work) {
  pool_.run(std::move(work));
}

void GLibDispatch::globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) {
  timers_.arm(timeAfter(seconds), TimerTarget::GlobalQueue, std::move(block));
}

void GLibDispatch::detachNewThread(Work work) {
  pool_.run(std::move(work));
}

double GLibDispatch::now() const {
  return std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
}

bool GLibDispatch::waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline) {
  return waits_.waitUntil(mutex, condition, timeAt(deadline));
}

void GLibDispatch::handOn(std::vector<TimerThread::DueBlock>& due) {
  std::vector<std::shared_ptr<DispatchBlock>> cancelled;
  for (auto& [target, block] : due) {
    if (block->isCancelled()) {
      cancelled.push_back(std::move(block));
    } else if (target == TimerTarget::MainQueue) {
      mainQueue_.post([block = std::move(block)] { block->run(); });
    } else {
      pool_.run([block = std::move(block)] { block->run(); });
    }
  }
  // Destroying what the blocks hold may take time, so it does not happen on the timer thread.
  if (!cancelled.empty()) pool_.run([cancelled = std::move(cancelled)] {});
}

void GLibDispatch::stop(SteadyTime limit) {
  mainQueue_.close();
  timers_.stop();
  waits_.cutShort(limit);
  pool_.stop(limit);
  if (!isMainThread()) mainQueue_.awaitIdle(limit);
}

void GLibDispatch::stopAtProcessEnd() {
  // A forked child that exits has none of these threads.
  if (getpid() == process_) stop(Clock::now() + stopLimit_);
}

void GLibDispatch::stopWithProcess() {
  GLibDispatch* none = nullptr;
  if (processDispatch.compare_exchange_strong(none, this)) std::atexit(stopProcessDispatch);
}

void setMainQueueBlockRunner(void (*runner)(const std::function<void()>& block)) {
  MainQueue::setBlockRunner(runner);
}

std::unique_ptr<Dispatch> makeDispatch() {
  auto dispatch = std::make_unique<GLibDispatch>();
  dispatch->stopWithProcess();
  return dispatch;
}

}  // namespace vemora::gtk
