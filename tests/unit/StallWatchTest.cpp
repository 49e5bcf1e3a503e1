#include "CoreTest.h"
#include "core/settings/StallWatch.h"

namespace vemora {
namespace {

class StallWatchTest : public CoreTest {};

TEST_F(StallWatchTest, ReportsOperationsThatBlockTheMainThread) {
  {
    StallWatch watch("load");
    advance(0.063);
  }
  EXPECT_TRUE(logged("Main thread held for 63 ms: load"));
}

TEST_F(StallWatchTest, DoesNotReportShortOperations) {
  {
    StallWatch watch("load");
    advance(0.049);
  }
  EXPECT_TRUE(system().lines().empty());
}

TEST_F(StallWatchTest, ReportsTheOutermostOperationOnly) {
  {
    StallWatch outer("main queue");
    StallWatch inner("shutdown");
    advance(0.1);
  }
  EXPECT_TRUE(logged("Main thread held for 100 ms: main queue"));
  EXPECT_EQ(system().lines().size(), 1u);
}

TEST_F(StallWatchTest, DoesNotCountTheHost) {
  {
    StallWatch watch("main queue");
    advance(0.03);
    {
      StallWatch::HostCall call;
      advance(5);
      StallWatch ofTheHost("shutdown");
      advance(0.2);
    }
    advance(0.03);
  }
  EXPECT_TRUE(logged("Main thread held for 200 ms: shutdown"));
  EXPECT_TRUE(logged("Main thread held for 60 ms: main queue"));
}

TEST_F(StallWatchTest, IgnoresOtherThreads) {
  dispatch().detachNewThread([] {
    StallWatch watch("shutdown");
    const StallWatch::HostCall call;
  });
  settle();
  advance(1);
  EXPECT_TRUE(system().lines().empty());
}

}  // namespace
}  // namespace vemora
