#include "../common/GLibHandles.h"
#include "ChildServer.h"
#include "Soak.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <optional>
#include <string_view>

namespace {

using vemora::SoakOptions;
using vemora::SoakPlacement;

constexpr int kUsageError = 2;

std::optional<SoakPlacement> placementNamed(std::string_view name) {
  if (name == "inline") return SoakPlacement::Inline;
  if (name == "resizable") return SoakPlacement::Resizable;
  if (name == "interstitial") return SoakPlacement::Interstitial;
  if (name == "all") return SoakPlacement::All;
  return std::nullopt;
}

/// Absent, with a message on the standard error, when the arguments are invalid.
std::optional<SoakOptions> readCommandLine(int& argc, char**& argv) {
  SoakOptions options;
  gboolean usesFeatures = FALSE;
  gboolean isBare = FALSE;
  gboolean reportOnly = FALSE;
  char* placement = nullptr;
  const GOptionEntry entries[] = {
      {"cycles", 'n', 0, G_OPTION_ARG_INT, &options.cycles, "Number of cycles (default: 200)", "N"},
      {"placement", 0, 0, G_OPTION_ARG_STRING, &placement, "inline, resizable, interstitial or all (default)",
       "NAME"},
      {"features", 0, 0, G_OPTION_ARG_NONE, &usesFeatures,
       "The page uses dialogs, frames, windows, downloads, permission requests and media", nullptr},
      {"bare", 0, 0, G_OPTION_ARG_NONE, &isBare,
       "The same page in a web view without the SDK: what WebKit itself leaves behind", nullptr},
      {"warm-up", 0, 0, G_OPTION_ARG_INT, &options.warmUp, "Cycles before those that count (default: 10)",
       "N"},
      {"report-only", 0, 0, G_OPTION_ARG_NONE, &reportOnly, "Report growth without failing for it", nullptr},
      {"max-seconds", 0, 0, G_OPTION_ARG_DOUBLE, &options.maxSeconds, "Begin no cycle after this time", "S"},
      {"max-hold", 0, 0, G_OPTION_ARG_DOUBLE, &options.maxHoldMilliseconds,
       "Fail when the main thread was held for longer", "MS"},
      {nullptr, 0, 0, G_OPTION_ARG_NONE, nullptr, nullptr, nullptr}};
  const vemora::GOptionContextPtr context(g_option_context_new(nullptr));
  g_option_context_set_summary(
      context.get(),
      "Loads, starts, ends and releases players on a real page, and reports memory, threads,\n"
      "descriptors, objects, processes and times of each cycle, and whether they grow.");
  g_option_context_add_main_entries(context.get(), entries, nullptr);
  vemora::GErrorHolder error;
  const bool isRead = g_option_context_parse(context.get(), &argc, &argv, error.out()) != FALSE;
  const vemora::GStringPtr kept(placement);
  const auto chosen = placement ? placementNamed(placement) : SoakPlacement::All;
  if (!isRead) {
    std::fprintf(stderr, "vemora-soak: %s\n", error.message().c_str());
  } else if (argc > 1) {
    std::fprintf(stderr, "vemora-soak: unexpected argument '%s'\n", argv[1]);
  } else if (!chosen) {
    std::fprintf(stderr, "vemora-soak: no placement '%s'\n", placement);
  } else if (options.cycles < 1 || options.warmUp < 0) {
    std::fprintf(stderr, "vemora-soak: --cycles must be at least 1, and --warm-up not negative\n");
  } else {
    options.placement = *chosen;
    options.usesFeatures = usesFeatures != FALSE;
    options.isBare = isBare != FALSE;
    options.reportOnly = reportOnly != FALSE;
    return options;
  }
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  const auto options = readCommandLine(argc, argv);
  if (!options) return kUsageError;
  const vemora::ChildServer server(VEMORA_SOAK_PAGE);
  if (!gtk_init_check()) {
    std::fputs("vemora-soak: no display; run it with tests/gtk/run-under-display\n", stderr);
    return kUsageError;
  }
  // As a running application has it: no other thread may find the main context free and run its work.
  g_main_context_acquire(nullptr);
  const bool isFlat = vemora::soak(*options, server.host(), server.certificatePem());
  g_main_context_release(nullptr);
  return isFlat ? 0 : 1;
}
