#include "fakes/Fake.h"

#import <Foundation/Foundation.h>
#import <mach/mach_time.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

std::mutex& mutex = *new std::mutex;
std::condition_variable& changed = *new std::condition_variable;
std::multimap<double, dispatch_block_t>& mainWork = *new std::multimap<double, dispatch_block_t>;
std::multimap<double, dispatch_block_t>& globalDelays = *new std::multimap<double, dispatch_block_t>;
double skipped = 0;
int busyThreads = 0;
int mainQueue, globalQueue;

double nowLocked() {
  return std::chrono::duration<double>(Clock::now().time_since_epoch()).count() + skipped;
}
double now() {
  std::lock_guard lock(mutex);
  return nowLocked();
}

void startThread(dispatch_block_t block) {
  {
    std::lock_guard lock(mutex);
    ++busyThreads;
  }
  std::thread([block]() mutable {
    @autoreleasepool {
      block();
      block = nil;
    }
    std::lock_guard lock(mutex);
    --busyThreads;
    changed.notify_all();
  }).detach();
}

/// Due work of the main queue, in the order of its times.
dispatch_block_t takeMainWork() {
  std::lock_guard lock(mutex);
  if (mainWork.empty() || mainWork.begin()->first > nowLocked()) return nil;
  dispatch_block_t block = mainWork.begin()->second;
  mainWork.erase(mainWork.begin());
  return block;
}

bool startDueDelays() {
  std::vector<dispatch_block_t> due;
  {
    std::lock_guard lock(mutex);
    while (!globalDelays.empty() && globalDelays.begin()->first <= nowLocked()) {
      due.push_back(globalDelays.begin()->second);
      globalDelays.erase(globalDelays.begin());
    }
  }
  for (dispatch_block_t block : due) startThread(block);
  return !due.empty();
}

bool runOne() {
  bool ran = startDueDelays();
  @autoreleasepool {
    if (dispatch_block_t block = takeMainWork()) {
      block();
      ran = true;
    }
  }
  return ran;
}

}  // namespace

dispatch_queue_t dispatch_get_main_queue() {
  return reinterpret_cast<dispatch_queue_t>(&mainQueue);
}
dispatch_queue_t dispatch_get_global_queue(intptr_t, uintptr_t) {
  return reinterpret_cast<dispatch_queue_t>(&globalQueue);
}
dispatch_time_t dispatch_time(dispatch_time_t, int64_t delta) {
  return static_cast<dispatch_time_t>(now() * 1e9 + static_cast<double>(delta));
}
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block) {
  if (queue != dispatch_get_main_queue()) return startThread(block);
  std::lock_guard lock(mutex);
  mainWork.emplace(nowLocked(), block);
  changed.notify_all();
}
void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
  std::lock_guard lock(mutex);
  auto& work = queue == dispatch_get_main_queue() ? mainWork : globalDelays;
  work.emplace(static_cast<double>(when) / 1e9, block);
  changed.notify_all();
}

bool fake::runUntil(const std::function<bool()>& done) {
  const auto end = Clock::now() + std::chrono::seconds(8);
  while (!done()) {
    if (runOne()) continue;
    if (Clock::now() > end) return false;
    std::unique_lock lock(mutex);
    changed.wait_for(lock, std::chrono::milliseconds(2));
  }
  return true;
}

void fake::settle() {
  const bool settled = runUntil([] {
    std::lock_guard lock(mutex);
    const double time = nowLocked();
    const auto isIdle = [time](const auto& work) { return work.empty() || work.begin()->first > time; };
    return busyThreads == 0 && isIdle(mainWork) && isIdle(globalDelays);
  });
  if (!settled) fault("the queues do not come to rest");
}

void fake::advance(double seconds) {
  settle();
  const double end = now() + seconds;
  for (;;) {
    {
      std::lock_guard lock(mutex);
      double next = end;
      for (const auto* work : {&mainWork, &globalDelays}) {
        if (!work->empty()) next = std::min(next, work->begin()->first);
      }
      skipped += std::max(next - nowLocked(), 0.0);
      if (nowLocked() >= end) break;
    }
    settle();
  }
  settle();
}

// In ticks of two nanoseconds.
int mach_timebase_info(mach_timebase_info_data_t* info) {
  *info = {2, 1};
  return 0;
}
uint64_t mach_absolute_time() {
  return static_cast<uint64_t>(now() * 1e9 / 2);
}

@interface NSThread (FakeBlocks)
@end
@implementation NSThread (FakeBlocks)
+ (void)detachNewThreadWithBlock:(void (^)(void))block {
  startThread(block);
}
@end
