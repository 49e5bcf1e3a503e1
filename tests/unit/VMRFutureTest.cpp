#include "CoreTest.h"
#include "core/bridge/VMRFuture.h"

#include <Vemora/NotificationCenter.h>

#include <atomic>
#include <thread>

namespace vemora {
namespace {

class VMRFutureTest : public CoreTest {
 protected:
  static VMRError error() { return {"Elsewhere", 1, "broken", {}, {}, nullptr}; }

  std::atomic<int> announced_{0};
  NotificationCenter::Token token_ = NotificationCenter::defaultCenter().addObserver(
      kVMRFutureCompleteNotification, [this](const Notification&) { ++announced_; });
};

TEST_F(VMRFutureTest, TheFirstCompletionWins) {
  const auto failed = VMRFuture::init();
  failed->fail(error());
  failed->resolve(1);
  failed->cancel();
  EXPECT_EQ(failed->error(), error());
  EXPECT_FALSE(failed->value().has_value());
  EXPECT_FALSE(failed->isCancelled());

  const auto resolved = VMRFuture::init();
  resolved->resolve(std::string("x"));
  resolved->cancel();
  resolved->fail(error());
  EXPECT_EQ(std::any_cast<std::string>(resolved->value()), "x");
  EXPECT_FALSE(resolved->error());
  EXPECT_FALSE(resolved->isCancelled());

  const auto cancelled = VMRFuture::init();
  EXPECT_FALSE(cancelled->isDone());
  cancelled->cancel();
  cancelled->fail(error());
  EXPECT_TRUE(cancelled->isDone());
  EXPECT_TRUE(cancelled->isCancelled());
  EXPECT_FALSE(cancelled->error());
  EXPECT_EQ(announced_, 3);
}

TEST_F(VMRFutureTest, IsAnnouncedInsideTheCompletion) {
  const auto future = VMRFuture::init();
  int announced = 0;
  const auto token = NotificationCenter::defaultCenter().addObserver(
      kVMRFutureCompleteNotification, [&](const Notification& notification) {
        ++announced;
        EXPECT_EQ(notification.object, future);
        EXPECT_TRUE(notification.userInfo.isNull());
        EXPECT_TRUE(future->isDone());
        future->cancel();  // Re-entry is safe and changes nothing.
      });
  std::thread([&] {
    const auto completing = std::this_thread::get_id();
    const auto where = NotificationCenter::defaultCenter().addObserver(
        kVMRFutureCompleteNotification,
        [completing](const Notification&) { EXPECT_EQ(std::this_thread::get_id(), completing); });
    future->resolve(1);
  }).join();
  EXPECT_EQ(announced, 1);
  EXPECT_FALSE(future->isCancelled());
}

TEST_F(VMRFutureTest, WaitDistinguishesDoneFromTimedOut) {
  const auto done = VMRFuture::init();
  done->cancel();
  EXPECT_TRUE(done->wait(0));
  const auto pending = VMRFuture::init();
  EXPECT_FALSE(pending->wait(0));
  EXPECT_FALSE(pending->wait(-1));

  int outcome = -1;
  dispatch().detachNewThread([&] { outcome = pending->wait(5); });
  advance(4.9);
  EXPECT_EQ(outcome, -1);
  advance(0.2);
  EXPECT_EQ(outcome, 0);
}

TEST_F(VMRFutureTest, WakesEveryWaiterForEveryOutcome) {
  const auto future = VMRFuture::init();
  std::atomic<int> woken{0};
  for (int i = 0; i < 3; ++i) dispatch().detachNewThread([&] { woken += future->wait(5); });
  advance(1);
  EXPECT_EQ(woken, 0);
  future->fail(error());
  settle();
  EXPECT_EQ(woken, 3);
  EXPECT_EQ(platform().fakeDispatch().now(), 1);
}

TEST_F(VMRFutureTest, CompletionsThatRaceLeaveOneOutcome) {
  constexpr int kRounds = 5000;
  std::vector<std::shared_ptr<VMRFuture>> futures;
  for (int i = 0; i < kRounds; ++i) futures.push_back(VMRFuture::init());
  // Skipping a future that is done is quicker than completing one, so that a slower thread catches up.
  const auto race = [&](const auto& complete) {
    for (const auto& future : futures) complete(*future);
  };
  std::thread resolving([&] { race([](VMRFuture& future) { future.resolve(1); }); });
  std::thread failing([&] { race([](VMRFuture& future) { future.fail(error()); }); });
  resolving.join();
  failing.join();
  for (const auto& future : futures) ASSERT_NE(future->value().has_value(), future->error().has_value());
  EXPECT_EQ(announced_, kRounds);
}

}  // namespace
}  // namespace vemora
