#include "backends/testing/TestingPlatform.h"
#include "core/inspect/Inspection.h"
#include "support/Report.h"

#include <cstdint>
#include <string>

// What a place that records costs the thread that passes it: one branch while no recording is made, and the
// hand-over to the queue while one is. Redaction, conversion to text and writing happen on another thread.

namespace {

using namespace vemora;
using namespace vemora::bench;

/// The work that a place is in: the loop alone would be removed.
std::uint64_t step(std::uint64_t state) {
  asm volatile("" : "+r"(state));
  return state * 6364136223846793005u + 1442695040888963407u;
}

constexpr int kSteps = 20'000'000;

double withoutPlace() {
  const Usage used = usageOf([] {
    std::uint64_t state = 1;
    for (int i = 0; i < kSteps; ++i) state = step(state);
  });
  return used.cpu / kSteps * 1e9;
}

double withPlace() {
  const Usage used = usageOf([] {
    std::uint64_t state = 1;
    for (int i = 0; i < kSteps; ++i) {
      if (inspect::isOn()) inspect::record("heartbeat", state, {{"event", "arm"}, {"check", state}});
      state = step(state);
    }
  });
  return used.cpu / kSteps * 1e9;
}

/// Fewer records than may wait, so that each is taken.
double takingARecord() {
  constexpr int kRecords = 4000;
  const std::string file = "/dev/null";
  if (!inspect::Recorder::shared().start(file, true)) {
    const JsonValue body =
        JsonValue::parse(R"({"method":"event","params":{"event":"AdPlaying","id":"a"}})").value_or(nullptr);
    const Usage before = Usage::ofThread();
    for (int i = 0; i < kRecords; ++i)
      inspect::record("message", 1, {{"direction", "fromPage"}, {"body", body}});
    const Usage used = Usage::ofThread() - before;
    inspect::Recorder::shared().stop();
    return used.cpu / kRecords * 1e6;
  }
  return -1;
}

}  // namespace

int main(int argc, char** argv) {
  Report report("recording", argc, argv);
  testing::TestingPlatform::current().reset();
  Comparison off;
  takeTurns(report.rounds(15), withoutPlace, withPlace,
            [&](double floor, double ours) { off.add(floor, ours); });
  std::vector<double> taken;
  for (int i = 0; i < report.rounds(15); ++i) taken.push_back(takingARecord());
  std::vector<double> branch;
  for (std::size_t i = 0; i < off.ours.size(); ++i) branch.push_back(off.ours[i] - off.floor[i]);
  report.value("a place that records, recording off", "ns", median(branch), 1);
  report.value("a message taken, recording on, caller's CPU time", "us", median(taken), 5);
  return report.finish();
}
