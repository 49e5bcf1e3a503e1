#include "ports/Platform.h"
#include "support/Report.h"

#include <glib.h>
#include <time.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <memory>
#include <thread>
#include <vector>

// The time-out of a call: what arming and cancelling one costs while a thousand are outstanding, and how late
// one of five seconds fires, compared with GLib's time-outs and a thread that sleeps until then.

namespace {

using namespace vemora;
using namespace vemora::bench;

constexpr double kReplyTimeout = 5;
constexpr int kOutstanding = 1000;
constexpr int kBatch = 2000;

void armOutstanding() {
  for (int i = 0; i < kOutstanding; ++i) dispatch().globalAfter(600, std::make_shared<DispatchBlock>([] {}));
}

double armAndCancel() {
  const Usage used = usageOf([] {
    for (int i = 0; i < kBatch; ++i) {
      auto block = std::make_shared<DispatchBlock>([] {});
      dispatch().globalAfter(kReplyTimeout, block);
      block->cancel();
    }
  });
  return used.cpu / kBatch * 1e6;
}

double armAndCancelWithGLib() {
  const Usage used = usageOf([] {
    for (int i = 0; i < kBatch; ++i)
      g_source_remove(g_timeout_add(
          5000, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr));
  });
  return used.cpu / kBatch * 1e6;
}

void sleepUntil(double moment) {
  timespec time{static_cast<time_t>(moment), static_cast<long>(std::fmod(moment, 1.0) * 1e9)};
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0) {
  }
}

struct Lateness {
  std::vector<double> bare, ours;
};

/// Many time-outs of five seconds, some milliseconds apart; the bare sleeper's moments lie between ours.
Lateness lateness() {
  constexpr int kTimers = 400;
  constexpr double kSpacing = 0.005;
  struct Shared {
    std::vector<double> late = std::vector<double>(kTimers);
    std::atomic<int> fired{0};
  };
  const auto shared = std::make_shared<Shared>();
  Lateness result;
  const double begin = dispatch().now();
  std::thread sleeper([&] {
    for (int i = 0; i < kTimers; ++i) {
      const double moment = begin + kReplyTimeout + (i + 0.5) * kSpacing;
      sleepUntil(moment);
      result.bare.push_back((dispatch().now() - moment) * 1e3);
    }
  });
  for (int i = 0; i < kTimers; ++i) {
    sleepUntil(begin + i * kSpacing);
    const double moment = dispatch().now() + kReplyTimeout;
    dispatch().globalAfter(kReplyTimeout, std::make_shared<DispatchBlock>([shared, moment, i] {
                             shared->late[static_cast<std::size_t>(i)] = (dispatch().now() - moment) * 1e3;
                             ++shared->fired;
                           }));
  }
  sleeper.join();
  while (shared->fired < kTimers) sleepUntil(dispatch().now() + 0.01);
  result.ours = shared->late;
  return result;
}

}  // namespace

int main(int argc, char** argv) {
  Report report("timers", argc, argv);
  armOutstanding();
  report.ratio("arming and cancelling, 1 000 outstanding", "us", "GLib's time-out",
               takeTurns(report.rounds(31), armAndCancelWithGLib, armAndCancel), {});
  std::vector<double> costs;
  for (int round = 0; round < report.rounds(31); ++round) costs.push_back(armAndCancel());
  report.value("arming and cancelling, 1 000 outstanding", "us", median(costs), 0.5);
  const Lateness late = lateness();
  report.value("a thread's own sleep of 5 s, late at p99", "ms", quantile(late.bare, 0.99), {});
  report.value("a time-out of 5 s, late in the median", "ms", quantile(late.ours, 0.5), {});
  report.value("a time-out of 5 s, late at p99", "ms", quantile(late.ours, 0.99), 1);
  return report.finish();
}
