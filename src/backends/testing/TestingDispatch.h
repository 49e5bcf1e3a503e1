#pragma once

#include "ports/Dispatch.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <thread>
#include <vector>

namespace vemora::testing {

/// A dispatch port that a test can stop: nothing of one test is left for the next.
class FakeDispatch : public Dispatch {
 public:
  /// Drops all that is queued or due later, ends all waits and all threads; then starts again at time 0.
  virtual void reset() = 0;
};

/// A dispatch port whose clock and main queue stop until the test advances them.
///
/// The thread that makes it is the main thread. Main-queue blocks run when the test calls `runMain` or
/// `settle`; delayed ones, and waits with a deadline, come due when it calls `advance`. Background blocks run
/// at once on real threads.
///
/// `settle` runs main-queue blocks until there are none and every background thread has ended or is waiting,
/// so that what a test checks next does not depend on timing. `advance` settles
/// before and after each step of the clock, and stops at every moment at which something comes due, in order.
class TestingDispatch final : public FakeDispatch {
 public:
  TestingDispatch();
  /// Ends all waits as if their deadlines had passed, and joins every thread.
  ~TestingDispatch() override;

  bool isMainThread() const override;
  void mainAsync(Work work) override;
  void mainAfter(double seconds, Work work) override;
  void globalAsync(Work work) override;
  void globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) override;
  void detachNewThread(Work work) override;
  double now() const override;
  bool waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline) override;

  void settle();
  void advance(double seconds);
  /// Runs the main-queue blocks that are there now, and nothing else.
  void runMain();
  void reset() override;

  std::size_t pendingTimers() const;

 private:
  struct Timer {
    bool onMain;
    std::shared_ptr<DispatchBlock> block;
  };
  /// The last wait of a background thread. The thread tests its condition again about every millisecond.
  struct Wait {
    const std::condition_variable* condition = nullptr;
    double deadline = 0;
    std::uint64_t round = 0;  ///< The latest round in which the condition was seen to be false.
  };

  void schedule(double seconds, Timer timer);
  bool runOneMain();
  void awaitBackground();
  std::uint64_t awaitRound();
  std::optional<double> nextMoment(double limit) const;
  std::optional<Timer> takeDueTimer();
  bool dropDueCancelled();
  void fire(Timer timer);
  void threadEnded();
  void joinEnded();
  void dropEverything();

  const std::thread::id mainThread_ = std::this_thread::get_id();
  mutable Mutex mutex_;  ///< Guards all below. Not held while work runs; taken under a waiter's own mutex.
  std::condition_variable changed_;
  double now_ VMR_GUARDED_BY(mutex_) = 0;
  bool stopping_ VMR_GUARDED_BY(mutex_) = false;
  std::uint64_t round_ VMR_GUARDED_BY(mutex_) = 0;
  std::uint64_t activity_ VMR_GUARDED_BY(mutex_) =
      0;  ///< Counts changes that may have made a waiter's condition true.
  std::deque<Work> main_ VMR_GUARDED_BY(mutex_);
  std::multimap<double, Timer> timers_ VMR_GUARDED_BY(mutex_);
  std::map<std::thread::id, std::thread> threads_ VMR_GUARDED_BY(mutex_);
  std::vector<std::thread> ended_ VMR_GUARDED_BY(mutex_);
  std::size_t running_ VMR_GUARDED_BY(mutex_) = 0;  ///< Background threads that are not in a wait.
  std::map<std::thread::id, Wait> waits_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora::testing
