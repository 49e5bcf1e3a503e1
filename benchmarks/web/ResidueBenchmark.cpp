#include "../../tests/common/ProcessResources.h"
#include "support/Report.h"
#include "web/LoadedPlayer.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

// What twelve loads and shutdowns of a player leave behind in the host app's process. The first four, in
// which the toolkit and its libraries set themselves up, do not count.

namespace {

using namespace vemora;
using namespace vemora::bench;

struct Residue {
  double descriptors = 0, threads = 0, memory = 0;
};

double privateDirtyKilobytes() {
  malloc_trim(0);
  std::ifstream file("/proc/self/smaps_rollup");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("Private_Dirty:"))
      return std::strtod(line.c_str() + std::strlen("Private_Dirty:"), nullptr);
  }
  return 0;
}

Residue residue() {
  return {static_cast<double>(test::openFileCount()), static_cast<double>(test::threadCount()),
          privateDirtyKilobytes() / 1024};
}

/// Web views and players that are still there.
class Living {
 public:
  void add(LoadedPlayer& loaded, const Host& host) {
    players_.push_back(loaded.player().weak_from_this());
    host.forEachWebView([this](WebKitWebView* view) {
      views_.push_back(std::make_unique<GWeakRef>());
      g_weak_ref_init(views_.back().get(), view);
    });
  }
  double count() const {
    double living = 0;
    for (const auto& player : players_) living += player.expired() ? 0 : 1;
    for (const auto& view : views_) {
      const auto held = gtk::GObjectPtr<GObject>::adopt(static_cast<GObject*>(g_weak_ref_get(view.get())));
      living += held ? 1 : 0;
    }
    return living;
  }
  std::size_t seen() const { return views_.size(); }

 private:
  std::vector<std::weak_ptr<VemoraAdPlayerBase>> players_;
  std::vector<std::unique_ptr<GWeakRef>> views_;
};

}  // namespace

int main(int argc, char** argv) {
  Report report("residue of loads and shutdowns", argc, argv);
  const PageServer server(VEMORA_REFERENCE_PAGE, VEMORA_DEMO_ADS);
  Host host(server);
  constexpr int kSettingUp = 4;
  constexpr int kCycles = 12;
  Living living;
  Residue before;
  for (int cycle = 0; cycle < kSettingUp + kCycles; ++cycle) {
    if (cycle == kSettingUp) {
      // Longer than idle threads of ours and of the toolkit's live.
      host.runFor(16);
      before = residue();
    }
    LoadedPlayer loaded(host);
    living.add(loaded, host);
  }
  host.runFor(16);
  const Residue after = residue();
  if (living.seen() < kSettingUp + kCycles) std::abort();
  report.value("web views and players left after 12 cycles", "objects", living.count(), 0);
  report.value("descriptors more after 12 cycles", "files", after.descriptors - before.descriptors, 0);
  report.value("threads more after 12 cycles", "threads", after.threads - before.threads, 0);
  report.value("private memory more after 12 cycles", "MB", after.memory - before.memory, 1);
  return report.finish();
}
