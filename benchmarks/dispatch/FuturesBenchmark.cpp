#include "core/bridge/VMRFuture.h"
#include "ports/Platform.h"
#include "support/Report.h"

#include <sched.h>

#include <any>
#include <condition_variable>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

// From the completion of a future to its waiter awake, compared with a condition variable with a mutex, a
// flag and a deadline. Two threads hand the turn back and forth, so every completion wakes a thread that
// sleeps. Both run on one processor: waking another one costs several times as much, and in one round twice
// as much as in the next, on any thread.

namespace {

using namespace vemora;
using namespace vemora::bench;

constexpr int kHandOvers = 4000;
constexpr double kLimit = 5;

class BareSignal {
 public:
  void complete() {
    {
      const std::lock_guard lock(mutex_);
      done_ = true;
    }
    condition_.notify_all();
  }
  void wait() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(kLimit);
    std::unique_lock lock(mutex_);
    while (!done_ && condition_.wait_until(lock, deadline) == std::cv_status::no_timeout) {
    }
  }

 private:
  std::mutex mutex_;
  std::condition_variable condition_;
  bool done_ = false;
};

class FutureSignal {
 public:
  void complete() { future_->resolve({}); }
  void wait() { future_->wait(kLimit); }

 private:
  std::shared_ptr<VMRFuture> future_ = VMRFuture::init();
};

template <typename Signal>
Usage handOver() {
  std::vector<Signal> there(kHandOvers), back(kHandOvers);
  std::thread other([&] {
    for (int i = 0; i < kHandOvers; ++i) {
      there[static_cast<std::size_t>(i)].wait();
      back[static_cast<std::size_t>(i)].complete();
    }
  });
  Usage used = usageOf([&] {
    for (int i = 0; i < kHandOvers; ++i) {
      there[static_cast<std::size_t>(i)].complete();
      back[static_cast<std::size_t>(i)].wait();
    }
  });
  other.join();
  return used;
}

void stayOnThisProcessor() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  CPU_SET(static_cast<std::size_t>(sched_getcpu()), &processors);
  if (sched_setaffinity(0, sizeof processors, &processors) != 0) std::abort();
}

}  // namespace

int main(int argc, char** argv) {
  Report report("futures", argc, argv);
  stayOnThisProcessor();
  Comparison cpu, wall, switches;
  takeTurns(report.rounds(31), handOver<BareSignal>, handOver<FutureSignal>,
            [&](const Usage& floor, const Usage& ours) {
              const double wakes = 2 * kHandOvers;
              cpu.add(floor.cpu / wakes * 1e6, ours.cpu / wakes * 1e6);
              wall.add(floor.wall / wakes * 1e6, ours.wall / wakes * 1e6);
              switches.add(floor.switches / wakes, ours.switches / wakes);
            });
  report.ratio("completion to woken waiter, CPU time", "us", "condition variable", cpu, 1.1);
  report.ratio("completion to woken waiter, elapsed", "us", "condition variable", wall, {});
  report.ratio("context switches for each", "switches", "condition variable", switches, {});
  return report.finish();
}
