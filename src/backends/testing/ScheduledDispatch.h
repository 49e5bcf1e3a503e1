#pragma once

#include "backends/testing/TestingDispatch.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora::testing {

/// A dispatch port that runs every thread of a session one at a time and chooses which one continues.
///
/// Real threads execute the work, but only the one that holds the turn runs. The turn can change at every
/// scheduling point: each operation of this port, each lock of a mutex and each wait. (A program that links
/// `vemora-scheduling` has its mutexes, condition variables and static initialisers report to the scheduler.)
/// The choice comes from a seeded generator, so that a schedule is repeated exactly by its seed. Without a
/// seed, the turn changes only when a thread ends or blocks, in round-robin order.
///
///     scheduler.restart({.seed = 7, .preemption = 0.1});
///     player->load();
///     scheduler.advance(5);  // on the main thread: its queue, the threads, timers and waits up to then
///
/// The thread that makes it is the main thread; it runs the main queue inside `step`, `run` and `advance`.
/// All public operations not inherited belong to it. A deadlock ends the process with the schedule.
class ScheduledDispatch final : public FakeDispatch {
 public:
  struct Policy {
    std::optional<std::uint64_t> seed;  ///< None: in order, without preemption.
    double preemption = 0;              ///< The probability that the turn changes at a scheduling point.
    double slowness = 0;                ///< The probability that time passes although work is ready.
  };

  ScheduledDispatch();
  ~ScheduledDispatch() override;

  bool isMainThread() const override;
  void mainAsync(Work work) override;
  void mainAfter(double seconds, Work work) override;
  void globalAsync(Work work) override;
  void globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) override;
  void detachNewThread(Work work) override;
  double now() const override { return now_; }
  bool waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline)
      VMR_REQUIRES(mutex) override;

  /// Time 0 and a fresh generator. Nothing may be left of the session before.
  void restart(const Policy& policy);
  /// Runs one main-queue block or gives one thread the turn; false when there is neither.
  bool step();
  /// Runs until all is idle at the present time.
  void run();
  void advance(double seconds);
  /// The same, without what comes due at the very end of that time.
  void approach(double seconds);
  /// Ends all waits, runs what is ready and drops what is queued or due later.
  void reset() override;

  std::size_t queuedBlocks() const { return main_.size(); }
  std::size_t pendingTimers() const { return timers_.size(); }
  std::size_t liveThreads() const { return live_; }
  /// The choices so far, one a line, the latest last.
  std::string schedule() const;

  // For the scheduling points that the linker puts in.

  /// The scheduler that this thread has to ask; null on a thread that runs freely.
  static ScheduledDispatch* ofThisThread();
  void point(const char* place);
  void blockOn(const void* mutex);
  void unblock(const void* mutex);
  void notify(const std::condition_variable* condition);
  /// Between the two, this thread keeps the turn: others would block where the scheduler cannot see it.
  void forbidPreemption();
  void allowPreemption();

 private:
  struct Thread;
  struct Timer {
    bool onMain;
    std::shared_ptr<DispatchBlock> block;
  };
  struct Choice {
    double now;
    int from, to;
    const char* place;
  };

  static void* serve(void* thread);
  void finishWork(Thread& self);
  void handOver(Thread& self, Thread& next, const char* place);
  void leave(Thread& self, const char* place);
  Thread& nextThread(const char* place);
  Thread& idleThread();
  std::size_t choose(std::size_t count);
  bool happens(double probability);
  void makeReady(Thread& thread);
  void wakeDue();
  bool moveClock(double limit);
  void runUntil(double limit);
  [[noreturn]] void reportDeadlock() const;

  // No mutex: only the thread with the turn touches these.
  Policy policy_;
  std::uint64_t random_ = 0;
  double now_ = 0;
  bool stopping_ = false;
  std::deque<Work> main_;
  std::multimap<double, Timer> timers_;
  std::vector<std::unique_ptr<Thread>> threads_;  ///< The main thread first.
  std::vector<Thread*> idle_;
  std::vector<Thread*> ready_;
  std::vector<Thread*> blocked_;
  Thread* running_ = nullptr;
  bool mainIsInLoop_ = true;
  std::size_t live_ = 0;
  int started_ = 0;
  std::deque<Choice> choices_;
};

}  // namespace vemora::testing
