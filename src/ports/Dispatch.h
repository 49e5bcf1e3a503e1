#pragma once

#include "base/Mutex.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>

namespace vemora {

/// Work that can be cancelled until it has started. A cancelled block stays scheduled and is released, with
/// everything that it captures, when its time comes.
class DispatchBlock {
 public:
  explicit DispatchBlock(std::function<void()> work) : work_(std::move(work)) {}

  void cancel() { cancelled_.store(true, std::memory_order_relaxed); }
  bool isCancelled() const { return cancelled_.load(std::memory_order_relaxed); }
  /// For the dispatch port, once.
  void run() {
    if (!isCancelled()) work_();
  }

 private:
  const std::function<void()> work_;
  std::atomic<bool> cancelled_{false};
};

/// All queues, timers, threads and the clock.
///
/// Lifetime: As long as the platform. When the process ends, queued work is dropped, and waits end as if
/// their deadline had passed.
///
/// Threads: Thread-safe. Every operation except `waitUntil` returns at once.
///
/// Completion: The main queue runs its blocks one at a time on the main thread, in the order of the calls.
/// The global queue runs blocks concurrently on background threads. A block that waits does not keep another
/// from starting, but some platforms start no more while some tens of blocks wait. A block is destroyed on
/// the thread that ran it, soon after it has run.
///
/// Errors: None. A block must not throw.
class Dispatch {
 public:
  using Work = std::function<void()>;

  virtual ~Dispatch() = default;

  virtual bool isMainThread() const = 0;
  virtual void mainAsync(Work work) = 0;
  /// Runs `work` on the main queue, not before `seconds` have passed.
  virtual void mainAfter(double seconds, Work work) = 0;
  /// The global concurrent queue of default priority.
  virtual void globalAsync(Work work) = 0;
  virtual void globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) = 0;
  /// Starts `work` on a background thread that runs nothing else meanwhile.
  virtual void detachNewThread(Work work) = 0;

  /// Seconds on a monotonic clock. Where the device can sleep, it stands still meanwhile, as delays do.
  virtual double now() const = 0;
  /// Waits on `condition` with `mutex` released meanwhile, as condition variables do, until it is notified or
  /// `now()` reaches `deadline`. May wake for no reason. False once the deadline has passed.
  virtual bool waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline)
      VMR_REQUIRES(mutex) = 0;
};

}  // namespace vemora
