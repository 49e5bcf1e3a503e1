#include "../common/TestFolder.h"
#include "RecordedScenario.h"
#include "Replay.h"
#include "Scenario.h"

#include <gtest/gtest.h>

namespace vemora::scenarios {
namespace {

class RecordedScenarioTest : public ::testing::TestWithParam<Scenario> {};

std::vector<std::string> texts(const std::vector<ReplayResult::Callback>& callbacks) {
  std::vector<std::string> made;
  for (const auto& callback : callbacks) made.push_back(callback.text);
  return made;
}

TEST_P(RecordedScenarioTest, ReplaysWithTheSameCallbacks) {
  const test::TestFolder folder;
  const std::string file = folder.path("session.jsonl");
  // One placement each, and all of them in turn.
  static std::size_t turn = 0;
  const Placement placement = GetParam().placements[turn++ % GetParam().placements.size()];
  recordScenario(GetParam(), placement, file);
  const ReplayResult result = replay(Recording::read(file), scheduler());
  EXPECT_EQ(texts(result.recorded).size(), GetParam().outcome.callbacks.size());
  EXPECT_EQ(texts(result.replayed), texts(result.recorded)) << nameOf(placement) << "\n"
                                                            << folder.read("session.jsonl");
}

INSTANTIATE_TEST_SUITE_P(, RecordedScenarioTest, ::testing::ValuesIn(allScenarios()));

}  // namespace
}  // namespace vemora::scenarios
