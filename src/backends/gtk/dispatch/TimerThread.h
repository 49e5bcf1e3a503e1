#pragma once

#include "backends/gtk/base/ConditionWait.h"
#include "base/Mutex.h"
#include "ports/Dispatch.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace vemora::gtk {

/// Where a block runs when it is due.
enum class TimerTarget : std::uint8_t { MainQueue, GlobalQueue };

/// Keeps blocks until they are due and then passes them to a handler. Runs none itself.
///
/// Nearly every block is the time-out of a call that was answered: it is armed, cancelled a moment later, and
/// due seconds later. So arming is cheap: one insertion, mostly at the end of the map, and no wake-up unless
/// the new deadline is the earliest. Cancelling does not involve this class. Cancelled blocks are released in
/// groups, shortly after their deadline, instead of waking the thread for each.
///
/// The thread starts with the first block. `arm` may be called from any thread; blocks of the same deadline
/// keep the order in which they were armed.
class TimerThread {
 public:
  struct DueBlock {
    TimerTarget target;
    std::shared_ptr<DispatchBlock> block;
  };
  /// Moves the blocks that it accepts out of the list. Called on the timer thread without a lock. Must not
  /// block.
  using Handler = std::function<void(std::vector<DueBlock>&)>;

  explicit TimerThread(Handler handler) : handler_(std::move(handler)) {}
  ~TimerThread() { stop(); }
  TimerThread(const TimerThread&) = delete;
  TimerThread& operator=(const TimerThread&) = delete;

  void arm(SteadyTime deadline, TimerTarget target, std::shared_ptr<DispatchBlock> block);
  /// Ends the thread. Blocks that are not due, or come later, are kept and never passed on.
  void stop();

 private:
  void startIfNeeded() VMR_REQUIRES(mutex_);
  void run();
  bool awaitDueBlocks(std::vector<DueBlock>& due);
  void takeDueBlocks(std::vector<DueBlock>& due) VMR_REQUIRES(mutex_);
  SteadyTime nextWake() const VMR_REQUIRES(mutex_);

  const Handler handler_;

  /// Guards everything below.
  Mutex mutex_;
  std::condition_variable changed_;
  std::multimap<SteadyTime, DueBlock> blocks_ VMR_GUARDED_BY(mutex_);
  /// When the sleeping thread will look again; the earliest time there is while it is awake.
  SteadyTime wakeTime_ VMR_GUARDED_BY(mutex_) = SteadyTime::min();
  bool stopping_ VMR_GUARDED_BY(mutex_) = false;
  std::thread thread_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora::gtk
