#include "backends/gtk/dispatch/WorkerPool.h"

#include <pthread.h>

#include <system_error>
#include <utility>

namespace vemora::gtk {

namespace {

/// The pool that the current thread works for.
thread_local const WorkerPool* currentPool = nullptr;

}  // namespace

WorkerPool::~WorkerPool() {
  stop(SteadyTime::max());
}

void WorkerPool::run(Work work) {
  Worker* worker = nullptr;
  {
    MutexLock lock(mutex_);
    if (stopping_) {
      overflow_.push_back(std::move(work));
      return;
    }
    if (idle_.empty()) {
      startWorker(std::move(work));
      return;
    }
    busy_.splice(busy_.begin(), idle_, idle_.begin());
    worker = &busy_.front();
    worker->work = std::move(work);
  }
  worker->wake.notify_one();
}

void WorkerPool::startWorker(Work work) {
  if (vacant_.empty()) vacant_.emplace_front();
  const Workers::iterator worker = vacant_.begin();
  worker->work = std::move(work);
  try {
    worker->thread = std::thread([this, worker] { serve(worker); });
  } catch (const std::system_error&) {
    overflow_.push_back(std::exchange(worker->work, nullptr));
    return;
  }
  busy_.splice(busy_.begin(), vacant_, worker);
}

void WorkerPool::serve(Workers::iterator self) {
  currentPool = this;
  pthread_setname_np(pthread_self(), "vemora-worker");
  do {
    const Work work = std::exchange(self->work, nullptr);
    work();
  } while (awaitWork(self));
}

bool WorkerPool::awaitWork(Workers::iterator self) {
  Workers ended;
  {
    MutexLock lock(mutex_);
    if (!stopping_ && !overflow_.empty()) {
      self->work = std::move(overflow_.front());
      overflow_.pop_front();
      return true;
    }
    idle_.splice(idle_.begin(), busy_, self);
    const SteadyTime limit = std::chrono::steady_clock::now() + idleTime_;
    bool inTime = true;
    while (!self->work && !stopping_ && inTime) inTime = waitOnCondition(mutex_, self->wake, limit);
    if (self->work) return true;
    if (!stopping_) ended.splice(ended.begin(), left_);
    left_.splice(left_.begin(), idle_, self);
    workerLeft_.notify_all();
    // The thread that stops the pool either joins all workers or has detached this one. A detached worker
    // must not touch the pool, which may be destroyed at any moment.
    if (stopping_) return false;
  }
  join(ended);
  MutexLock lock(mutex_);
  vacant_.splice(vacant_.begin(), ended);
  return false;
}

void WorkerPool::stop(SteadyTime limit) {
  const std::size_t callers = currentPool == this ? 1 : 0;
  Workers ended;
  {
    MutexLock lock(mutex_);
    stopping_ = true;
    for (Worker& worker : idle_) worker.wake.notify_one();
    bool inTime = true;
    while (busy_.size() + idle_.size() > callers && inTime) {
      inTime = waitOnCondition(mutex_, workerLeft_, limit);
    }
    ended.splice(ended.begin(), left_);
    for (Worker& worker : busy_) {
      if (worker.thread.joinable()) worker.thread.detach();
    }
  }
  join(ended);
}

void WorkerPool::join(Workers& workers) {
  for (Worker& worker : workers) {
    if (worker.thread.joinable()) worker.thread.join();
  }
}

}  // namespace vemora::gtk
