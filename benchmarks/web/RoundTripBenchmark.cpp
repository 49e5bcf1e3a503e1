#include "core/page/VMRWebViewRuntime.h"
#include "ports/Platform.h"
#include "support/Report.h"
#include "web/BareBridge.h"
#include "web/Host.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

// One call of the page and its reply: by the main thread with nothing in between, by the same steps as ours
// on GLib alone, and by the SDK. The caller of the latter two is a background thread that waits.

namespace {

using namespace vemora;
using namespace vemora::bench;

constexpr int kCalls = 300;

/// Makes the calls on a separate thread while the main loop runs.
template <typename Call>
Usage callsOnThread(const Host& host, Call call) {
  std::atomic<bool> done{false};
  return usageOf([&] {
    std::thread caller([&] {
      for (int i = 0; i < kCalls; ++i) call();
      done = true;
      g_main_context_wakeup(nullptr);
    });
    host.runUntil([&] { return done.load(); });
    caller.join();
  });
}

class Contestants {
 public:
  explicit Contestants(Host& host)
      : host_(host), direct_(host, [this](JSCValue*) { ++answers_; }), bare_(host) {
    direct_.load();
    bare_.load();
    runtime_ = VMRWebViewRuntime::init();
    Platform::shared().application().keyWindow()->addSubview(runtime_->getWebView());
    host.runUntil([this] { return direct_.isLoaded() && bare_.isLoaded() && runtime_->loaded()->isDone(); });
  }
  ~Contestants() {
    runtime_->close();
    host_.runFor(0.2);
  }

  /// The next call is made when the answer to the last has come.
  Usage direct(const std::string& method) {
    const std::string script = bridgeCall(R"({"jsonrpc":"2.0","id":"1","method":")" + method + "\"}");
    return usageOf([&] {
      for (int i = 0; i < kCalls; ++i) {
        const int before = answers_;
        direct_.evaluate(script);
        host_.runUntil([&] { return answers_ > before; });
      }
    });
  }
  Usage bare(const std::string& method) {
    return callsOnThread(host_, [&] {
      if (!bare_.call(method)) std::abort();
    });
  }
  Usage ours(const std::string& method) {
    return callsOnThread(host_, [&] {
      const auto future = runtime_->exec(VMRRpc::initWithMethod(method, nullptr));
      if (!future->wait(5) || future->error()) std::abort();
    });
  }

 private:
  Host& host_;
  int answers_ = 0;
  BarePage direct_;
  BareBridge bare_;
  std::shared_ptr<VMRWebViewRuntime> runtime_;
};

/// Which threads sleep during a call: WebKit's thread that receives from the web process always does.
void addSleepers(Report& report, Contestants& contestants) {
  const std::string kReceiver = "ReceiveQueue", kWorker = "vemora-worker";
  const double receivers = sleepsOfThreads(kReceiver), workers = sleepsOfThreads(kWorker);
  const Usage main = Usage::ofThread();
  const Usage process = contestants.ours("control.skip");
  const auto add = [&](const std::string& who, double sleeps) {
    report.value("a small call, sleeps of " + who, "switches", sleeps / kCalls, {});
  };
  const double received = sleepsOfThreads(kReceiver) - receivers;
  const double worked = sleepsOfThreads(kWorker) - workers;
  const double onMain = (Usage::ofThread() - main).voluntary;
  add("WebKit's receiving thread", received);
  add("the main thread", onMain);
  add("the delivering thread", worked);
  add("the caller and others", process.voluntary - received - worked - onMain);
}

void compare(Report& report, Contestants& contestants, const std::string& what, const std::string& method) {
  Comparison cpu, wall, switches, sleeps, raw, rawSleeps;
  takeTurns(
      report.rounds(25), [&] { return std::pair(contestants.direct(method), contestants.bare(method)); },
      [&] { return contestants.ours(method); },
      [&](const std::pair<Usage, Usage>& floors, const Usage& ours) {
        const auto& [direct, bare] = floors;
        cpu.add(bare.cpu / kCalls * 1e6, ours.cpu / kCalls * 1e6);
        wall.add(bare.wall / kCalls * 1e6, ours.wall / kCalls * 1e6);
        switches.add(bare.switches / kCalls, ours.switches / kCalls);
        sleeps.add(bare.voluntary / kCalls, ours.voluntary / kCalls);
        rawSleeps.add(direct.voluntary / kCalls, ours.voluntary / kCalls);
        raw.add(direct.cpu / kCalls * 1e6, ours.cpu / kCalls * 1e6);
      });
  report.ratio(what + ", CPU time", "us", "the bare shape on GLib", cpu, 1.10);
  report.ratio(what + ", CPU time", "us", "raw, on the main thread", raw, {});
  report.ratio(what + ", elapsed", "us", "the bare shape on GLib", wall, {});
  const std::optional<double> goal = method == "get.ads" ? std::nullopt : std::optional(7.5);
  report.value(what + ", context switches", "switches", median(switches.ours), goal);
  report.ratio(what + ", context switches", "switches", "the bare shape on GLib", switches, {});
  report.ratio(what + ", going to sleep", "switches", "the bare shape on GLib", sleeps, {});
  report.ratio(what + ", going to sleep", "switches", "raw, on the main thread", rawSleeps, {});
}

}  // namespace

int main(int argc, char** argv) {
  Report report("round trip on real WebKit", argc, argv);
  const PageServer server(VEMORA_BENCH_PAGE, std::nullopt);
  Host host(server);
  {
    Contestants contestants(host);
    compare(report, contestants, "a small call", "control.skip");
    addSleepers(report, contestants);
    compare(report, contestants, "a 3 KB reply", "get.ads");
  }
  return report.finish();
}
