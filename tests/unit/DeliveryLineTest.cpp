#include "CoreTest.h"
#include "core/bridge/DeliveryLine.h"
#include "core/bridge/VMRFuture.h"

#include <vector>

namespace vemora {
namespace {

class DeliveryLineTest : public CoreTest {
 protected:
  void deliver(int number) {
    line_->deliver([this, number] { seen(number); });
  }
  /// A piece that ends only when `future` is done.
  void deliverBlocking(int number, const std::shared_ptr<VMRFuture>& future) {
    line_->deliver([this, number, future] {
      seen(number);
      future->wait(60);
    });
  }
  void seen(int number) {
    MutexLock lock(mutex_);
    order_.push_back(number);
  }
  std::vector<int> order() {
    MutexLock lock(mutex_);
    return order_;
  }

  std::shared_ptr<DeliveryLine> line_ = std::make_shared<DeliveryLine>();

 private:
  Mutex mutex_;
  std::vector<int> order_;
};

TEST_F(DeliveryLineTest, KeepsTheOrderOfABurst) {
  std::vector<int> expected;
  for (int i = 0; i < 2000; ++i) {
    deliver(i);
    expected.push_back(i);
  }
  settle();
  EXPECT_EQ(order(), expected);
}

TEST_F(DeliveryLineTest, ContinuesWhileAPieceBlocks) {
  const auto first = VMRFuture::init();
  const auto second = VMRFuture::init();
  deliverBlocking(1, first);
  settle();
  deliverBlocking(2, second);
  deliver(3);
  settle();
  EXPECT_EQ(order(), std::vector<int>({1}));
  advance(0.01);
  EXPECT_EQ(order(), std::vector<int>({1, 2}));
  advance(0.02);
  EXPECT_EQ(order(), std::vector<int>({1, 2, 3}));

  // Those that were left behind end without taking anything more.
  deliver(4);
  settle();
  first->resolve({});
  second->resolve({});
  settle();
  deliver(5);
  settle();
  EXPECT_EQ(order(), std::vector<int>({1, 2, 3, 4, 5}));
}

TEST_F(DeliveryLineTest, APieceHoldsUpTheNextForTenMilliseconds) {
  const auto first = VMRFuture::init();
  const auto second = VMRFuture::init();
  deliverBlocking(1, first);
  settle();
  deliverBlocking(2, second);  // The first piece is watched from here on.
  advance(0.006);
  first->resolve({});
  settle();
  deliver(3);
  settle();
  EXPECT_EQ(order(), std::vector<int>({1, 2}));
  advance(0.0095);
  EXPECT_EQ(order(), std::vector<int>({1, 2}));
  advance(0.001);
  EXPECT_EQ(order(), std::vector<int>({1, 2, 3})) << "ten milliseconds after the second piece began";
  second->resolve({});
  settle();
}

TEST_F(DeliveryLineTest, RunsWhatItHasWhenItsOwnerReleasesIt) {
  deliver(1);
  deliver(2);
  line_ = nullptr;
  settle();
  EXPECT_EQ(order(), std::vector<int>({1, 2}));
}

}  // namespace
}  // namespace vemora
