#include "support/Report.h"
#include "web/BareBridge.h"
#include "web/LoadedPlayer.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

// From nothing to loaded ads, and what a loaded player weighs: the reference page in a separate process
// each time, by the SDK's `load` and by a bare web view that makes the same two calls. One process per load,
// so that each starts cold.
//
// The program runs itself: `bench-load --side bare|ours HOST PEM-FILE` is one load, which prints its figures.

extern char** environ;

namespace {

using namespace vemora;
using namespace vemora::bench;

/// Kilobytes that this process alone holds.
double privateMemory() {
  std::ifstream file("/proc/self/smaps_rollup");
  double sum = 0;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("Private_Clean:") || line.starts_with("Private_Dirty:")) {
      sum += std::strtod(line.c_str() + std::strlen("Private_Clean:"), nullptr);
    }
  }
  return sum;
}

struct Load {
  double wall = 0, cpu = 0, heldWall = 0, heldCpu = 0, memory = 0;
};

/// The bare side: "get.config" and "get.ads" with the params of an ad request, one after the other.
class BareLoad {
 public:
  explicit BareLoad(Host& host) : host_(host) {}

  Usage run() {
    const Usage before = Usage::ofThread();
    page_ = std::make_unique<BarePage>(host_, [this](JSCValue* body) { receive(body); });
    page_->load();
    const Usage held = Usage::ofThread() - before;
    host_.runUntil([this] { return page_->isLoaded(); });
    page_->evaluate(call("get.config"));
    host_.runUntil([this] { return ads_; });
    return held;
  }

 private:
  static std::string call(const std::string& method) {
    return bridgeCall(
        R"({"jsonrpc":"2.0","id":")" + method + R"(","method":")" + method +
        R"(","params":{"apikey":"benchmark","params":{"placement_type":"inline"},"custom":{},)" +
        R"("playback":{},"device":{},"app":{},"imp":{}}})");
  }
  void receive(JSCValue* body) {
    const std::unique_ptr<char, gtk::GFree<g_free>> json(jsc_value_to_json(body, 0));
    const auto message = JsonValue::parse(json.get()).value_or(nullptr);
    if (message["id"] == JsonValue("get.config")) page_->evaluate(call("get.ads"));
    if (message["id"] == JsonValue("get.ads")) ads_ = true;
  }

  Host& host_;
  std::unique_ptr<BarePage> page_;
  bool ads_ = false;
};

int runSide(const std::string& side, const std::string& address, const char* pemFile) {
  std::ifstream file(pemFile);
  const std::string pem(std::istreambuf_iterator<char>(file), {});
  const PageServer server = PageServer::runningAt(address, pem);
  Host host(server);
  const Usage before = Usage::ofProcess();
  std::unique_ptr<LoadedPlayer> player;
  BareLoad bare(host);
  Usage held;
  if (side == "ours") {
    player = std::make_unique<LoadedPlayer>(host);
    held = player->loadCall();
  } else {
    held = bare.run();
  }
  const Usage used = Usage::ofProcess() - before;
  host.runFor(0.5);
  std::printf("%f %f %f %f %f\n", used.wall * 1e3, used.cpu * 1e3, held.wall * 1e3, held.cpu * 1e3,
              privateMemory() / 1024);
  std::fflush(stdout);
  // What is left is the toolkit's own end, which is not measured.
  _exit(0);
}

Load spawnSide(const char* side, const PageServer& server, const char* pemFile) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
  posix_spawn_file_actions_addclose(&actions, ends[0]);
  const std::string host = server.host();
  const char* arguments[] = {"bench-load", "--side", side, host.c_str(), pemFile, nullptr};
  pid_t process = 0;
  if (posix_spawn(&process, "/proc/self/exe", &actions, nullptr, const_cast<char**>(arguments), environ) != 0)
    std::abort();
  posix_spawn_file_actions_destroy(&actions);
  close(ends[1]);
  FILE* report = fdopen(ends[0], "r");
  Load load;
  const int read = std::fscanf(report, "%lf %lf %lf %lf %lf", &load.wall, &load.cpu, &load.heldWall,
                               &load.heldCpu, &load.memory);
  std::fclose(report);
  int status = 0;
  waitpid(process, &status, 0);
  if (read == 5 && status == 0) return load;
  std::fprintf(stderr, "a load failed (%s)\n", side);
  std::exit(1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 5 && std::strcmp(argv[1], "--side") == 0) return runSide(argv[2], argv[3], argv[4]);
  Report report("load of the reference page, cold", argc, argv);
  const PageServer server(VEMORA_REFERENCE_PAGE, VEMORA_DEMO_ADS);
  char pemFile[] = "/tmp/vemora-bench-XXXXXX";
  close(mkstemp(pemFile));
  std::ofstream(pemFile) << server.certificatePem();
  Comparison wall, cpu, heldWall, heldCpu, memory;
  takeTurns(
      report.rounds(15), [&] { return spawnSide("bare", server, pemFile); },
      [&] { return spawnSide("ours", server, pemFile); },
      [&](const Load& floor, const Load& ours) {
        wall.add(floor.wall, ours.wall);
        cpu.add(floor.cpu, ours.cpu);
        heldWall.add(floor.heldWall, ours.heldWall);
        heldCpu.add(floor.heldCpu, ours.heldCpu);
        memory.add(floor.memory, ours.memory);
      });
  unlink(pemFile);
  report.ratio("load to loaded ads, elapsed", "ms", "a bare web view", wall, 1.05);
  report.ratio("load to loaded ads, CPU time", "ms", "a bare web view", cpu, {});
  report.ratio("main thread held by load, elapsed", "ms", "making the bare web view", heldWall, {});
  report.ratio("main thread held by load, CPU time", "ms", "making the bare web view", heldCpu, {});
  report.ratio("private memory of the host app, loaded", "MB", "a bare web view", memory, {});
  return report.finish();
}
