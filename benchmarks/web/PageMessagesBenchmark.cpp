#include "support/Report.h"
#include "web/BareBridge.h"
#include "web/LoadedPlayer.h"

#include <memory>

// A burst of events from the page, each to a callback on the main thread: by the bare shape (decode, hand to
// a thread, parse, hand to the main context) and by the SDK, whose callback is the delegate's.

namespace {

using namespace vemora;
using namespace vemora::bench;

/// As many as the page sends.
constexpr int kEvents = 5000;

struct Burst {
  Usage process;
  Usage mainThread;
};

template <typename Begin>
Burst burst(const Host& host, int& heard, Begin begin) {
  const int all = heard + kEvents;
  const Usage process = Usage::ofProcess();
  const Usage mainThread = Usage::ofThread();
  begin();
  host.runUntil([&] { return heard == all; });
  return {Usage::ofProcess() - process, Usage::ofThread() - mainThread};
}

}  // namespace

int main(int argc, char** argv) {
  Report report("page messages on real WebKit", argc, argv);
  const PageServer server(VEMORA_BENCH_PAGE, std::nullopt);
  Host host(server);
  {
    int heard = 0;
    BareBridge bare(host, [&heard](double) { ++heard; });
    bare.load();
    host.runUntil([&] { return bare.isLoaded(); });
    LoadedPlayer loaded(host);
    Comparison cpu, wall, mainThread, switches;
    takeTurns(
        report.rounds(15), [&] { return burst(host, heard, [&] { bare.post("control.play"); }); },
        [&] { return burst(host, loaded.delegate().updates, [&] { loaded.player().play(); }); },
        [&](const Burst& floor, const Burst& ours) {
          cpu.add(floor.process.cpu / kEvents * 1e6, ours.process.cpu / kEvents * 1e6);
          wall.add(floor.process.wall / kEvents * 1e6, ours.process.wall / kEvents * 1e6);
          mainThread.add(floor.mainThread.cpu / kEvents * 1e6, ours.mainThread.cpu / kEvents * 1e6);
          switches.add(floor.process.switches / kEvents, ours.process.switches / kEvents);
        });
    report.ratio("one of 5 000 events, CPU time", "us", "the bare shape on GLib", cpu, 1.15);
    report.ratio("one of 5 000 events, elapsed", "us", "the bare shape on GLib", wall, {});
    report.ratio("main thread held for each, CPU time", "us", "the bare shape on GLib", mainThread, {});
    report.ratio("context switches for each", "switches", "the bare shape on GLib", switches, {});
  }
  return report.finish();
}
