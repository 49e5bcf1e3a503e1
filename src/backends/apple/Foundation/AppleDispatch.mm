#include "backends/apple/ApplePorts.h"

#import <Foundation/Foundation.h>
#import <mach/mach_time.h>

#include <algorithm>
#include <chrono>

namespace vemora::apple {

namespace {

/// Longer than any wait, and short enough for every clock's type.
constexpr double kFarFuture = 1e9;

dispatch_time_t timeAfter(double seconds) {
  const double bounded = seconds > 0 ? std::min(seconds, kFarFuture) : 0;
  return dispatch_time(DISPATCH_TIME_NOW, static_cast<int64_t>(bounded * NSEC_PER_SEC));
}

dispatch_queue_t globalQueue() {
  return dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0);
}

/// The queue destroys a block when it likes. What the block holds must go as soon as it has run.
dispatch_block_t blockOf(Dispatch::Work work) {
  auto held = std::make_shared<Dispatch::Work>(std::move(work));
  return ^{
    @autoreleasepool {
      (*held)();
      *held = nullptr;
    }
  };
}

class AppleDispatch final : public Dispatch {
 public:
  bool isMainThread() const override { return [NSThread isMainThread]; }

  void mainAsync(Work work) override { dispatch_async(dispatch_get_main_queue(), blockOf(std::move(work))); }
  void mainAfter(double seconds, Work work) override {
    dispatch_after(timeAfter(seconds), dispatch_get_main_queue(), blockOf(std::move(work)));
  }
  void globalAsync(Work work) override { dispatch_async(globalQueue(), blockOf(std::move(work))); }
  void globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) override {
    dispatch_after(timeAfter(seconds), globalQueue(), blockOf([block = std::move(block)] { block->run(); }));
  }
  void detachNewThread(Work work) override { [NSThread detachNewThreadWithBlock:blockOf(std::move(work))]; }

  /// The clock of the queues' delays. Unlike `steady_clock`, it stands still while the device sleeps.
  double now() const override { return static_cast<double>(mach_absolute_time()) * secondsPerTick_; }

  bool waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline) override {
    std::unique_lock<std::mutex> lock(mutex.native(), std::adopt_lock);
    const double left = std::min(deadline - now(), kFarFuture);
    if (left > 0) condition.wait_for(lock, std::chrono::duration<double>(left));
    lock.release();
    return now() < deadline;
  }

 private:
  static double secondsPerTick() {
    mach_timebase_info_data_t base;
    mach_timebase_info(&base);
    return 1e-9 * base.numer / base.denom;
  }

  const double secondsPerTick_ = secondsPerTick();
};

}  // namespace

std::unique_ptr<Dispatch> makeDispatch() {
  return std::make_unique<AppleDispatch>();
}

}  // namespace vemora::apple
