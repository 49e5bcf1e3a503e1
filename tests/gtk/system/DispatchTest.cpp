#include "../../common/MainLoop.h"
#include "../../common/ProcessResources.h"
#include "ProcessEnd.h"
#include "backends/gtk/dispatch/GLibDispatch.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace vemora::gtk {

namespace {

using test::threadCount;
using test::waitUntil;
using Clock = std::chrono::steady_clock;

std::shared_ptr<DispatchBlock> makeBlock(std::function<void()> work) {
  return std::make_shared<DispatchBlock>(std::move(work));
}

bool eventually(const std::function<bool()>& condition) {
  const auto end = Clock::now() + std::chrono::seconds(60);
  while (!condition() && Clock::now() < end) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  return condition();
}

/// Reports, through the counter, that a block was destroyed, and where.
class Witness {
 public:
  explicit Witness(std::atomic<int>& destroyed, std::thread::id* destroyedOn = nullptr)
      : destroyed_(destroyed), destroyedOn_(destroyedOn) {}
  ~Witness() {
    if (destroyedOn_) *destroyedOn_ = std::this_thread::get_id();
    ++destroyed_;
  }

 private:
  std::atomic<int>& destroyed_;
  std::thread::id* const destroyedOn_;
};

TEST(MainQueueTest, KeepsTheOrderOfAllThreads) {
  constexpr std::size_t kThreads = 4;
  constexpr std::size_t kBlocks = 500;
  std::mutex mutex;
  int next = 0;
  std::vector<int> order;
  GLibDispatch dispatch;
  const auto post = [&] {
    const std::lock_guard lock(mutex);
    dispatch.mainAsync([&order, number = next++] { order.push_back(number); });
  };
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (std::size_t block = 0; block < kBlocks; ++block) post();
    });
  }
  // While some already run, and with the main thread among those that queue.
  for (std::size_t block = 0; block < kBlocks; ++block) {
    post();
    g_main_context_iteration(nullptr, FALSE);
  }
  for (std::thread& thread : threads) thread.join();
  ASSERT_TRUE(waitUntil([&] { return order.size() == (kThreads + 1) * kBlocks; }));
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST(MainQueueTest, QueuesBlocksOfTheMainThread) {
  std::string order;
  GLibDispatch dispatch;
  dispatch.mainAsync([&] {
    dispatch.mainAsync([&] { order += 'c'; });
    order += 'a';
  });
  dispatch.mainAsync([&] { order += 'b'; });
  EXPECT_EQ(order, "");
  ASSERT_TRUE(waitUntil([&] { return order.size() == 3; }));
  EXPECT_EQ(order, "abc");
}

TEST(MainQueueTest, RunsOneBlockAtATimeEvenInANestedLoop) {
  bool outerEnded = false, innerRan = false;
  GLibDispatch dispatch;
  dispatch.mainAsync([&] {
    dispatch.mainAsync([&] {
      EXPECT_TRUE(outerEnded);
      innerRan = true;
    });
    for (int i = 0; i < 10; ++i) g_main_context_iteration(nullptr, FALSE);
    outerEnded = true;
  });
  EXPECT_TRUE(waitUntil([&] { return innerRan; }));
}

TEST(MainQueueTest, WakesASleepingLoop) {
  bool ran = false;
  GLibDispatch dispatch;
  std::thread giver([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    dispatch.mainAsync([&] { ran = true; });
  });
  while (!ran) g_main_context_iteration(nullptr, TRUE);
  giver.join();
}

TEST(MainQueueTest, DoesNotStarveSourcesOfLowerPriority) {
  bool idleRan = false;
  GLibDispatch dispatch;
  std::function<void()> chain = [&] {
    if (!idleRan) dispatch.mainAsync(chain);
  };
  dispatch.mainAsync(chain);
  g_idle_add_full(
      G_PRIORITY_LOW,
      [](gpointer ran) -> gboolean {
        *static_cast<bool*>(ran) = true;
        return G_SOURCE_REMOVE;
      },
      &idleRan, nullptr);
  EXPECT_TRUE(waitUntil([&] { return idleRan; }));
  // The chain's last link must not outlive what it refers to.
  bool drained = false;
  dispatch.mainAsync([&] { drained = true; });
  EXPECT_TRUE(waitUntil([&] { return drained; }));
}

TEST(DispatchTest, KnowsTheMainThread) {
  std::atomic<int> answer{-1};
  GLibDispatch dispatch;
  EXPECT_TRUE(dispatch.isMainThread());
  dispatch.detachNewThread([&] { answer = dispatch.isMainThread(); });
  EXPECT_TRUE(eventually([&] { return answer != -1; }));
  EXPECT_EQ(answer, 0);
}

TEST(DispatchTest, BlockedWorkDoesNotDelayOtherWork) {
  constexpr int kBlocked = 64;
  std::mutex mutex;
  std::condition_variable condition;
  bool release = false;
  std::atomic<int> started{0};
  std::atomic<bool> ran{false};
  GLibDispatch dispatch;
  for (int i = 0; i < kBlocked; ++i) {
    dispatch.globalAsync([&] {
      ++started;
      std::unique_lock lock(mutex);
      condition.wait(lock, [&] { return release; });
    });
  }
  EXPECT_TRUE(eventually([&] { return started == kBlocked; }));
  dispatch.globalAsync([&] { ran = true; });
  EXPECT_TRUE(eventually([&] { return ran.load(); }));
  const std::lock_guard lock(mutex);
  release = true;
  condition.notify_all();
}

TEST(DispatchTest, DestroysWorkOnTheThreadThatRanIt) {
  std::atomic<int> destroyed{0};
  std::thread::id ranOn, destroyedOn;
  GLibDispatch dispatch;
  const auto work = [&](std::shared_ptr<Witness> witness) {
    return [&ranOn, witness = std::move(witness)] { ranOn = std::this_thread::get_id(); };
  };
  dispatch.globalAsync(work(std::make_shared<Witness>(destroyed, &destroyedOn)));
  EXPECT_TRUE(eventually([&] { return destroyed == 1; }));
  EXPECT_EQ(ranOn, destroyedOn);
  dispatch.mainAsync(work(std::make_shared<Witness>(destroyed, &destroyedOn)));
  EXPECT_TRUE(waitUntil([&] { return destroyed == 2; }));
  EXPECT_EQ(destroyedOn, std::this_thread::get_id());
}

TEST(DispatchTest, WaitsUntilItsDeadline) {
  Mutex mutex;
  std::condition_variable condition;
  bool done = false;
  GLibDispatch dispatch;
  {
    MutexLock lock(mutex);
    const double deadline = dispatch.now() + 0.03;
    while (dispatch.waitUntil(mutex, condition, deadline)) {
    }
    EXPECT_GE(dispatch.now(), deadline - 1e-6);
    EXPECT_FALSE(dispatch.waitUntil(mutex, condition, dispatch.now() - 1));
  }
  dispatch.globalAsync([&] {
    MutexLock lock(mutex);
    done = true;
    condition.notify_all();
  });
  MutexLock lock(mutex);
  while (!done && dispatch.waitUntil(mutex, condition, dispatch.now() + 20)) {
  }
  EXPECT_TRUE(done);
}

TEST(TimerTest, QueuesBlocksInTheOrderOfTheirTimes) {
  std::mutex mutex;
  std::string order;
  std::atomic<bool> isHeldUp{false};
  TimerThread timers([&](std::vector<TimerThread::DueBlock>& due) {
    isHeldUp = true;
    const std::lock_guard lock(mutex);
    for (const TimerThread::DueBlock& block : due) block.block->run();
  });
  const SteadyTime begin = Clock::now();
  const auto arm = [&](int millisecondsAgo, char mark) {
    timers.arm(begin - std::chrono::milliseconds(millisecondsAgo), TimerTarget::GlobalQueue,
               makeBlock([&order, mark] { order += mark; }));
  };
  {
    const std::lock_guard lock(mutex);
    arm(0, '-');
    ASSERT_TRUE(eventually([&] { return isHeldUp.load(); }));
    arm(10, 'd');
    arm(20, 'b');
    arm(20, 'c');
    arm(30, 'a');
  }
  EXPECT_TRUE(eventually([&] {
    const std::lock_guard lock(mutex);
    return order.size() == 5;
  }));
  const std::lock_guard lock(mutex);
  EXPECT_EQ(order, "-abcd");
}

TEST(TimerTest, RunsBlocksOnTheMainQueue) {
  bool ran = false;
  GLibDispatch dispatch;
  dispatch.mainAfter(0.01, [&] {
    EXPECT_TRUE(dispatch.isMainThread());
    ran = true;
  });
  EXPECT_TRUE(waitUntil([&] { return ran; }));
}

TEST(TimerTest, IsNotEarlyAndWakesForAnEarlierTime) {
  std::atomic<double> ranAt{0};
  GLibDispatch dispatch;
  const double begin = dispatch.now();
  dispatch.globalAfter(3600, makeBlock([] { FAIL(); }));
  dispatch.globalAfter(0.02, makeBlock([&] { ranAt = dispatch.now(); }));
  EXPECT_TRUE(eventually([&] { return ranAt != 0; }));
  EXPECT_GE(ranAt, begin + 0.02);
  EXPECT_LT(ranAt, begin + 10);
}

TEST(TimerTest, ReleasesACancelledBlockShortlyAfterItsTime) {
  std::atomic<int> destroyed{0};
  std::atomic<bool> ran{false};
  GLibDispatch dispatch;
  const double begin = dispatch.now();
  {
    const auto witness = std::make_shared<Witness>(destroyed);
    const auto block = makeBlock([&ran, witness] { ran = true; });
    dispatch.globalAfter(0.05, block);
    block->cancel();
  }
  EXPECT_TRUE(eventually([&] {
    const bool isDestroyed = destroyed == 1;
    EXPECT_TRUE(!isDestroyed || dispatch.now() >= begin + 0.05);
    return isDestroyed;
  }));
  EXPECT_LT(dispatch.now(), begin + 10);
  EXPECT_FALSE(ran);
}

TEST(TimerTest, CancelledBlocksDoNotDelayOthers) {
  constexpr int kCancelled = 100'000;
  std::atomic<int> destroyed{0};
  std::atomic<double> ranAt{0};
  GLibDispatch dispatch;
  for (int i = 0; i < kCancelled; ++i) {
    const auto block = makeBlock([witness = std::make_shared<Witness>(destroyed)] { FAIL(); });
    dispatch.globalAfter(0.2 + i * 1e-6, block);
    block->cancel();
  }
  const double due = dispatch.now() + 0.05;
  dispatch.globalAfter(0.05, makeBlock([&] { ranAt = dispatch.now(); }));
  EXPECT_TRUE(eventually([&] { return ranAt != 0; }));
  EXPECT_GE(ranAt, due);
  EXPECT_TRUE(eventually([&] { return destroyed == kCancelled; }));
}

TEST(WorkerPoolTest, IdleWorkersExit) {
  std::thread([] {}).join();  // A sanitizer's own thread comes with the first.
  const std::size_t before = threadCount();
  std::atomic<int> done{0};
  WorkerPool pool(std::chrono::milliseconds(20));
  for (int round = 1; round <= 3; ++round) {
    for (int i = 0; i < 20; ++i) pool.run([&] { ++done; });
    EXPECT_TRUE(eventually([&] { return done == round * 20; }));
    EXPECT_TRUE(eventually([&] { return threadCount() <= before; }));
  }
}

TEST(WorkerPoolTest, PrefersAnIdleWorkerToANewThread) {
  std::atomic<int> done{0};
  WorkerPool pool;
  const auto giveAndAwait = [&] {
    const int wanted = done + 1;
    pool.run([&] { ++done; });
    return eventually([&] { return done == wanted; });
  };
  ASSERT_TRUE(giveAndAwait());
  const std::size_t before = threadCount();
  for (int i = 0; i < 50; ++i) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    ASSERT_TRUE(giveAndAwait());
  }
  // Seldom, a worker is given work before it went idle.
  EXPECT_LE(threadCount(), before + 5);
}

class ProcessEndTest : public testing::TestWithParam<const char*> {};

TEST_P(ProcessEndTest, IsPromptAndNothingRunsLater) {
  EXPECT_EQ(test::runProcessEnd(GetParam()), test::kProcessEndStatus);
}

INSTANTIATE_TEST_SUITE_P(Exits, ProcessEndTest,
                         testing::Values("main", "worker", "timer", "mainBlock", "blockedWorker"));

TEST(ForkedProcessEndTest, IsPromptWithoutTheThreads) {
  EXPECT_EQ(test::runProcessEnd("fork"), test::kProcessEndStatus);
}

}  // namespace

}  // namespace vemora::gtk

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--end-process") vemora::test::endProcess(argv[2]);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
