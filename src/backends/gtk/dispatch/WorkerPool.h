#pragma once

#include "backends/gtk/base/ConditionWait.h"
#include "base/Mutex.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <thread>

namespace vemora::gtk {

/// Threads for work that may block for any time. Work is never queued behind other work: it goes to the
/// worker that became idle last, or else to a new thread. Workers that were idle for some seconds end.
///
/// For the caller it behaves like a new thread for each piece of work, at a fifth of the cost.
///
/// Work is destroyed on the thread that ran it, before that thread takes more. `run` may be called from any
/// thread, also from a worker.
class WorkerPool {
 public:
  using Work = std::function<void()>;

  static constexpr std::chrono::milliseconds kIdleTime{5000};

  explicit WorkerPool(std::chrono::milliseconds idleTime = kIdleTime) : idleTime_(idleTime) {}
  /// Waits for all workers. No other thread may use the pool any more.
  ~WorkerPool();
  WorkerPool(const WorkerPool&) = delete;
  WorkerPool& operator=(const WorkerPool&) = delete;

  void run(Work work);
  /// Waits until `limit` for running work to end, except for that of a calling worker. Work that is passed to
  /// `run` afterwards is kept and never run.
  void stop(SteadyTime limit);

 private:
  struct Worker {
    std::thread thread;
    std::condition_variable wake;
    /// Set by the giver while the worker is idle or not yet started; the worker's own afterwards.
    Work work;
  };
  /// Workers move between lists and are never destroyed before the pool, so that a giver may wake one that
  /// meanwhile did its work and left.
  using Workers = std::list<Worker>;

  void startWorker(Work work) VMR_REQUIRES(mutex_);
  void serve(Workers::iterator self);
  bool awaitWork(Workers::iterator self);
  static void join(Workers& workers);

  const std::chrono::milliseconds idleTime_;

  /// Guards everything below.
  Mutex mutex_;
  Workers busy_ VMR_GUARDED_BY(mutex_);
  Workers idle_ VMR_GUARDED_BY(mutex_);    ///< The one that went idle last comes first.
  Workers left_ VMR_GUARDED_BY(mutex_);    ///< Their threads are ending.
  Workers vacant_ VMR_GUARDED_BY(mutex_);  ///< Without a thread.
  /// Work for which the system had no thread to give; the next free worker takes it.
  std::deque<Work> overflow_ VMR_GUARDED_BY(mutex_);
  std::condition_variable workerLeft_;
  bool stopping_ VMR_GUARDED_BY(mutex_) = false;
};

}  // namespace vemora::gtk
