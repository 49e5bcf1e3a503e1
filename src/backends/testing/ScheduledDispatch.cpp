#include "backends/testing/ScheduledDispatch.h"

#include <pthread.h>
#include <semaphore.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <utility>

namespace vemora::testing {

namespace {

constexpr std::size_t kChoicesKept = 400;

}  // namespace

struct ScheduledDispatch::Thread {
  Thread() { sem_init(&turn, 0, 0); }
  ~Thread() { sem_destroy(&turn); }

  ScheduledDispatch* owner = nullptr;
  sem_t turn;
  pthread_t native{};
  Work work;
  int number = 0;  ///< That of the work, for the schedule.
  int unpreemptable = 0;
  const void* blockedOn = nullptr;                       ///< A mutex or a condition.
  double deadline = std::numeric_limits<double>::max();  ///< Of a wait on a condition.
};

namespace {

thread_local ScheduledDispatch* schedulerOfThread = nullptr;
thread_local void* threadOfThread = nullptr;

}  // namespace

ScheduledDispatch::ScheduledDispatch() {
  threads_.push_back(std::make_unique<Thread>());
  threads_[0]->owner = this;
  threads_[0]->native = pthread_self();
  running_ = threads_[0].get();
  threadOfThread = running_;
}

ScheduledDispatch::~ScheduledDispatch() {
  reset();
  for (std::size_t i = 1; i < threads_.size(); ++i) {
    sem_post(&threads_[i]->turn);  // Without work: it ends.
    pthread_join(threads_[i]->native, nullptr);
  }
  schedulerOfThread = nullptr;
}

ScheduledDispatch* ScheduledDispatch::ofThisThread() {
  return schedulerOfThread;
}

bool ScheduledDispatch::isMainThread() const {
  return pthread_equal(pthread_self(), threads_[0]->native) != 0;
}

void ScheduledDispatch::restart(const Policy& policy) {
  reset();
  policy_ = policy;
  random_ = policy.seed.value_or(0) * 0x9E3779B97F4A7C15u + 1;
  now_ = 0;
  started_ = 0;
  choices_.clear();
  schedulerOfThread = this;
}

// The port.

void ScheduledDispatch::mainAsync(Work work) {
  if (stopping_ && live_ == 0 && !isMainThread()) return;
  main_.push_back(std::move(work));
  point("mainAsync");
}

void ScheduledDispatch::mainAfter(double seconds, Work work) {
  timers_.emplace(now_ + seconds, Timer{true, std::make_shared<DispatchBlock>(std::move(work))});
}

void ScheduledDispatch::globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) {
  timers_.emplace(now_ + seconds, Timer{false, std::move(block)});
  point("globalAfter");
}

void ScheduledDispatch::globalAsync(Work work) {
  detachNewThread(std::move(work));
}

void ScheduledDispatch::detachNewThread(Work work) {
  if (stopping_) return;
  Thread& thread = idleThread();
  thread.work = std::move(work);
  thread.number = ++started_;
  ++live_;
  ready_.push_back(&thread);
  point("detachNewThread");
}

bool ScheduledDispatch::waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline) {
  if (stopping_ || now_ >= deadline) return false;
  Thread& self = *running_;
  self.blockedOn = &condition;
  self.deadline = deadline;
  blocked_.push_back(&self);
  mutex.unlock();
  leave(self, "wait");
  mutex.lock();
  return !stopping_ && now_ < deadline;
}

// Threads and turns.

ScheduledDispatch::Thread& ScheduledDispatch::idleThread() {
  if (!idle_.empty()) {
    Thread& thread = *idle_.back();
    idle_.pop_back();
    return thread;
  }
  threads_.push_back(std::make_unique<Thread>());
  Thread& thread = *threads_.back();
  thread.owner = this;
  if (pthread_create(&thread.native, nullptr, &serve, &thread) != 0) std::abort();
  return thread;
}

void* ScheduledDispatch::serve(void* thread) {
  Thread& self = *static_cast<Thread*>(thread);
  schedulerOfThread = self.owner;
  threadOfThread = &self;
  for (;;) {
    sem_wait(&self.turn);
    if (!self.work) return nullptr;
    self.work();
    self.work = nullptr;
    self.owner->finishWork(self);
  }
}

void ScheduledDispatch::finishWork(Thread& self) {
  --live_;
  idle_.push_back(&self);
  Thread& next = nextThread("end");
  running_ = &next;
  sem_post(&next.turn);
}

/// Gives up the turn without being ready for another.
void ScheduledDispatch::leave(Thread& self, const char* place) {
  Thread& next = nextThread(place);
  if (&next != &self) handOver(self, next, place);
}

void ScheduledDispatch::handOver(Thread& self, Thread& next, const char*) {
  running_ = &next;
  sem_post(&next.turn);
  sem_wait(&self.turn);
}

void ScheduledDispatch::point(const char* place) {
  if (schedulerOfThread != this || running_->unpreemptable > 0 || !happens(policy_.preemption)) return;
  Thread& self = *running_;
  if (&self == threads_[0].get() && mainIsInLoop_) return;  // The test itself, between two steps.
  ready_.push_back(&self);
  leave(self, place);
}

void ScheduledDispatch::makeReady(Thread& thread) {
  thread.blockedOn = nullptr;
  thread.deadline = std::numeric_limits<double>::max();
  ready_.push_back(&thread);
}

void ScheduledDispatch::blockOn(const void* mutex) {
  Thread& self = *running_;
  self.blockedOn = mutex;
  blocked_.push_back(&self);
  leave(self, "locked");
}

void ScheduledDispatch::unblock(const void* mutex) {
  std::erase_if(blocked_, [this, mutex](Thread* thread) {
    if (thread->blockedOn != mutex) return false;
    makeReady(*thread);
    return true;
  });
}

void ScheduledDispatch::notify(const std::condition_variable* condition) {
  unblock(condition);
}

void ScheduledDispatch::forbidPreemption() {
  ++running_->unpreemptable;
}
void ScheduledDispatch::allowPreemption() {
  --running_->unpreemptable;
}

/// Who has the turn next. The loop of the main thread decides for itself, so it comes first when it runs.
ScheduledDispatch::Thread& ScheduledDispatch::nextThread(const char* place) {
  Thread& main = *threads_[0];
  if (mainIsInLoop_ && !main.blockedOn) return main;
  while (ready_.empty()) {
    // The main thread waits or blocks on a mutex, and no other thread can run.
    if (!moveClock(std::numeric_limits<double>::max())) reportDeadlock();
  }
  const auto chosen = ready_.begin() + static_cast<std::ptrdiff_t>(choose(ready_.size()));
  Thread& next = **chosen;
  ready_.erase(chosen);
  choices_.push_back({now_, running_->number, next.number, place});
  if (choices_.size() > kChoicesKept) choices_.pop_front();
  return next;
}

std::size_t ScheduledDispatch::choose(std::size_t count) {
  if (!policy_.seed || count < 2) return 0;
  happens(0.5);
  return (random_ >> 33) % count;
}

bool ScheduledDispatch::happens(double probability) {
  if (!policy_.seed || probability <= 0) return false;
  // xorshift64 (Marsaglia, 2003).
  random_ ^= random_ << 13;
  random_ ^= random_ >> 7;
  random_ ^= random_ << 17;
  return static_cast<double>(random_ >> 11) * 0x1p-53 < probability;
}

// The loop of the main thread.

bool ScheduledDispatch::step() {
  const std::size_t count = ready_.size() + (main_.empty() ? 0 : 1);
  if (count == 0) return false;
  const std::size_t chosen = choose(count);
  Thread& self = *threads_[0];
  if (chosen < ready_.size()) {
    const auto place = ready_.begin() + static_cast<std::ptrdiff_t>(chosen);
    Thread& next = **place;
    ready_.erase(place);
    choices_.push_back({now_, 0, next.number, "loop"});
    handOver(self, next, "loop");
  } else {
    Work work = std::move(main_.front());
    main_.pop_front();
    choices_.push_back({now_, 0, 0, "main queue"});
    mainIsInLoop_ = false;
    work();
    work = nullptr;
    mainIsInLoop_ = true;
  }
  if (choices_.size() > kChoicesKept) choices_.pop_front();
  return true;
}

void ScheduledDispatch::run() {
  while (step()) {
  }
}

void ScheduledDispatch::advance(double seconds) {
  const double limit = now_ + seconds;
  runUntil(limit);
  now_ = limit;
}

void ScheduledDispatch::approach(double seconds) {
  const double moment = now_ + seconds;
  runUntil(std::nextafter(moment, 0));
  now_ = moment;
}

void ScheduledDispatch::runUntil(double limit) {
  for (;;) {
    if (!happens(policy_.slowness) && step()) continue;
    if (!moveClock(limit) && ready_.empty() && main_.empty()) break;
  }
}

/// Advances to the next moment at which something is due; false when there is none up to the limit.
bool ScheduledDispatch::moveClock(double limit) {
  double next = std::numeric_limits<double>::max();
  if (!timers_.empty()) next = timers_.begin()->first;
  for (const Thread* thread : blocked_) next = std::min(next, thread->deadline);
  if (next > limit || next == std::numeric_limits<double>::max()) return false;
  now_ = std::max(now_, next);
  wakeDue();
  return true;
}

void ScheduledDispatch::wakeDue() {
  while (!timers_.empty() && timers_.begin()->first <= now_) {
    Timer timer = std::move(timers_.begin()->second);
    timers_.erase(timers_.begin());
    Work run = [block = std::move(timer.block)] { block->run(); };
    if (timer.onMain) {
      main_.push_back(std::move(run));
    } else if (!stopping_) {
      Thread& thread = idleThread();
      thread.work = std::move(run);
      thread.number = ++started_;
      ++live_;
      ready_.push_back(&thread);
    }
  }
  std::erase_if(blocked_, [this](Thread* thread) {
    if (thread->deadline > now_) return false;
    makeReady(*thread);
    return true;
  });
}

void ScheduledDispatch::reset() {
  stopping_ = true;
  do {
    std::erase_if(blocked_, [this](Thread* thread) {
      if (thread->deadline == std::numeric_limits<double>::max()) return false;
      makeReady(*thread);
      return true;
    });
    std::exchange(timers_, {}).clear();
    std::exchange(main_, {}).clear();
    run();
  } while (!timers_.empty() || !main_.empty() || !ready_.empty());
  if (live_ > 0) reportDeadlock();
  stopping_ = false;
  now_ = 0;
}

// Reports.

std::string ScheduledDispatch::schedule() const {
  std::string text;
  for (const Choice& choice : choices_) {
    char line[96];
    std::snprintf(line, sizeof line, "t=%.3f %s: thread %d -> %d\n", choice.now, choice.place, choice.from,
                  choice.to);
    text += line;
  }
  return text;
}

void ScheduledDispatch::reportDeadlock() const {
  std::fprintf(stderr, "ScheduledDispatch: no thread can go on (seed %llu)\n%s",
               static_cast<unsigned long long>(policy_.seed.value_or(0)), schedule().c_str());
  std::abort();
}

}  // namespace vemora::testing
