#include "core/bridge/VMRBridgeErrors.h"
#include "core/bridge/VMRRuntime.h"
#include "core/client/VMRAdDumper.h"
#include "core/context/VMRContext.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace vemora::gtk {

namespace {

/// A page that never answers.
class SilentRuntime final : public VMRRuntime {
 public:
  SilentRuntime() {
    setLoaded(VMRFuture::init());
    loaded()->resolve(true);
  }
  void postMessage(const std::shared_ptr<VMRRpc>&, ErrorHandler) override {}
};

// A call and the client's wait for it end at the same instant. Only the real clock shows which one is first,
// so this is the one test that takes the five seconds of a time-out.
TEST(SilentPageTest, EveryCommandReportsTheSameError) {
  constexpr std::size_t kCommands = 400;
  std::vector<std::shared_ptr<VMRAdDumper>> clients;
  for (std::size_t i = 0; i < kCommands; ++i)
    clients.push_back(
        VMRAdDumper::initWithContext(std::weak_ptr<VMRContext>(), std::make_shared<SilentRuntime>()));
  std::vector<std::thread> commands;
  for (const auto& client : clients) commands.emplace_back([&client] { client->play(nullptr); });
  for (auto& command : commands) command.join();
  for (const auto& client : clients)
    EXPECT_EQ(client->lastError(), bridgeFailure("Failed to send control.play"));
}

}  // namespace

}  // namespace vemora::gtk
