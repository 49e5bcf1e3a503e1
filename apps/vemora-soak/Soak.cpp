#include "Soak.h"

#include "../common/GObjectPtr.h"
#include "BareView.h"
#include "ProcessFigures.h"
#include "Trend.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/Vemora.h>
#include <Vemora/VemoraAdPlayerBase.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>

namespace vemora {

namespace {

constexpr gint64 kPatience = gint64{30} * G_USEC_PER_SEC;

double millisecondsNow() {
  return static_cast<double>(g_get_monotonic_time()) / 1000;
}

/// How long one turn of the main loop holds the main thread: what passes between two sleeps.
class MainThreadHolds {
 public:
  MainThreadHolds() {
    current_ = this;
    g_main_context_set_poll_func(nullptr, &MainThreadHolds::poll);
  }
  ~MainThreadHolds() { g_main_context_set_poll_func(nullptr, nullptr); }
  MainThreadHolds(const MainThreadHolds&) = delete;
  MainThreadHolds& operator=(const MainThreadHolds&) = delete;

  double takeLongest() { return std::exchange(longest_, 0); }

 private:
  static gint poll(GPollFD* descriptors, guint count, gint timeout) {
    current_->longest_ = std::max(current_->longest_, millisecondsNow() - current_->woke_);
    const gint result = g_poll(descriptors, count, timeout);
    current_->woke_ = millisecondsNow();
    return result;
  }

  static inline MainThreadHolds* current_ = nullptr;
  double woke_ = millisecondsNow();
  double longest_ = 0;
};

struct SoakDelegate final : VemoraAdPlayerDelegate {
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override { return request; }
  void vemoraDidLoadAds(const Player&, const AdGroup&, const std::optional<VMRError>& error) override {
    loaded = true;
    if (error) failure = toString(*error);
  }
  void vemoraAdStart(const Player&, const Ad&) override { started = true; }
  void vemoraAdGroupComplete(const Player&, const AdGroup&) override { ended = true; }
  void vemoraAdError(const Player&, const Ad&, const VMRError& error) override { failure = toString(error); }

  std::shared_ptr<VemoraAdRequest> request = VemoraAdRequest::initWithApiKey("soak");
  bool loaded = false;
  bool started = false;
  bool ended = false;
  std::optional<std::string> failure;
};

class Soak {
 public:
  Soak(const SoakOptions& options, std::string host, GTlsCertificate* certificate)
      : options_(options), host_(std::move(host)), certificate_(certificate) {
    window_ = GTK_WINDOW(gtk_window_new());
    place_ = options_.isBare ? gtk_box_new(GTK_ORIENTATION_VERTICAL, 0) : gtk::newAdView();
    gtk_window_set_default_size(window_, 640, 480);
    gtk_window_set_child(window_, place_);
    gtk_window_present(window_);
    runUntil([this] { return gtk_widget_get_width(place_) > 0; });
  }
  ~Soak() { gtk_window_destroy(window_); }
  Soak(const Soak&) = delete;
  Soak& operator=(const Soak&) = delete;

  bool run() {
    const double began = millisecondsNow();
    for (int i = 0; i < options_.warmUp + options_.cycles; ++i) {
      if (options_.maxSeconds > 0 && millisecondsNow() - began > options_.maxSeconds * 1000 &&
          i > options_.warmUp)
        break;
      if (!(options_.isBare ? bareCycle(i) : cycle(i))) return false;
    }
    return report();
  }

 private:
  struct Figure {
    const char* name;
    const char* unit;
    double allowedSlope;  ///< A cycle.
    double noise;         ///< What the last quarter may have more than the first, whatever the slope.
    std::vector<double> values{};
  };

  std::shared_ptr<VemoraAdPlayerBase> makePlayer(int cycle) const {
    const auto view = gtk::viewForWidget(place_);
    const auto placement =
        options_.placement == SoakPlacement::All ? static_cast<SoakPlacement>(cycle % 3) : options_.placement;
    if (placement == SoakPlacement::Inline) return VemoraInlineAdPlayer::initInView(view);
    if (placement == SoakPlacement::Resizable) return VemoraResizableAdPlayer::initInView(view);
    return VemoraInterstitialAdPlayer::initWithAdPlayerDelegate({});
  }

  /// Load, start, and one of: the page ends the group, the host shuts down, the host releases the player.
  bool cycle(int number) {
    holds_.takeLongest();
    const double began = millisecondsNow();
    auto delegate = std::make_shared<SoakDelegate>();
    if (options_.usesFeatures) delegate->request->setParam("features", "1");
    const int end = number / 3 % 3;
    if (end == 0) delegate->request->setParam("ends", "1");
    auto player = makePlayer(number);
    players_.push_back(player);
    player->setDelegate(delegate);
    player->load();
    rememberWebViews(GTK_WIDGET(window_));
    runUntil([&] { return delegate->loaded; });
    player->start();
    player->setSize(0.5F);
    runUntil([&] { return delegate->failure || (end == 0 ? delegate->ended : delegate->started); });
    if (delegate->failure) {
      std::fprintf(stderr, "vemora-soak: cycle %d failed: %s\n", number, delegate->failure->c_str());
      return false;
    }
    if (options_.usesFeatures) runFor(0.5);
    if (end == 1) player->shutdown();
    player.reset();
    const bool hasGone = runUntil([&] { return livingObjects() == 0; });
    const double took = millisecondsNow() - began;
    if (!hasGone)
      std::fprintf(stderr, "vemora-soak: cycle %d leaves %.0f objects\n", number, livingObjects());
    if (number >= options_.warmUp) record(took, holds_.takeLongest());
    return true;
  }

  /// The same without the SDK: load, run the page's start, release the web view.
  bool bareCycle(int number) {
    holds_.takeLongest();
    const double began = millisecondsNow();
    auto view = std::make_unique<BareView>(GTK_BOX(place_), host_, certificate_, options_.usesFeatures);
    rememberWebViews(view->widget());
    const bool hasStarted = runUntil([&] { return view->hasStarted(); });
    if (!hasStarted) std::fprintf(stderr, "vemora-soak: cycle %d failed: no start\n", number);
    if (options_.usesFeatures) runFor(0.5);
    view = nullptr;
    runUntil([&] { return livingObjects() == 0; });
    if (number >= options_.warmUp) record(millisecondsNow() - began, holds_.takeLongest());
    return hasStarted;
  }

  void record(double took, double hold) {
    const ProcessFigures used = ProcessFigures::now();
    const double values[] = {used.residentKilobytes, used.heapKilobytes, used.threads, used.descriptors,
                             livingObjects(),        used.webProcesses,  took,         hold};
    for (std::size_t i = 0; i < figures_.size(); ++i) figures_[i].values.push_back(values[i]);
  }

  bool report() {
    bool isFlat = true;
    std::printf("%-28s %8s %12s %12s %14s %12s\n", "figure", "unit", "first", "last", "slope a cycle",
                "highest");
    for (const Figure& figure : figures_) {
      const Trend trend = Trend::of(figure.values);
      const bool grows = trend.slope > figure.allowedSlope && trend.last - trend.first > figure.noise;
      isFlat = isFlat && !grows;
      std::printf("%-28s %8s %12.1f %12.1f %14.4f %12.1f%s\n", figure.name, figure.unit, trend.first,
                  trend.last, trend.slope, trend.highest, grows ? "  GROWS" : "");
    }
    const double hold = Trend::of(figures_.back().values).highest;
    std::printf("%zu cycles\n", figures_.back().values.size());
    if (options_.maxHoldMilliseconds <= 0 || hold <= options_.maxHoldMilliseconds)
      return isFlat || options_.reportOnly;
    std::fprintf(stderr, "vemora-soak: the main thread was held for %.0f ms\n", hold);
    return false;
  }

  double livingObjects() {
    std::erase_if(players_, [](const auto& player) { return player.expired(); });
    std::erase_if(views_, [](const auto& view) {
      return !GObjectPtr<GObject>::adopt(static_cast<GObject*>(g_weak_ref_get(view.get())));
    });
    return static_cast<double>(players_.size() + views_.size());
  }

  void rememberWebViews(GtkWidget* widget) {
    if (WEBKIT_IS_WEB_VIEW(widget)) {
      views_.push_back(std::unique_ptr<GWeakRef, void (*)(GWeakRef*)>(new GWeakRef, [](GWeakRef* weak) {
        g_weak_ref_clear(weak);
        delete weak;
      }));
      g_weak_ref_init(views_.back().get(), widget);
    }
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
         child = gtk_widget_get_next_sibling(child))
      rememberWebViews(child);
  }

  static bool runUntil(const std::function<bool()>& condition) {
    // Wakes the loop for conditions that no event announces.
    const guint pulse = g_timeout_add(
        5, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    const gint64 end = g_get_monotonic_time() + kPatience;
    bool holds = condition();
    while (!holds && g_get_monotonic_time() < end) {
      g_main_context_iteration(nullptr, TRUE);
      holds = condition();
    }
    g_source_remove(pulse);
    return holds;
  }

  static void runFor(double seconds) {
    const gint64 end = g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
    runUntil([end] { return g_get_monotonic_time() >= end; });
  }

  const SoakOptions options_;
  const std::string host_;
  GTlsCertificate* const certificate_;
  MainThreadHolds holds_;
  GtkWindow* window_ = nullptr;
  GtkWidget* place_ = nullptr;
  std::vector<std::weak_ptr<VemoraAdPlayerBase>> players_;
  std::vector<std::unique_ptr<GWeakRef, void (*)(GWeakRef*)>> views_;
  // What is allowed is far below what one leaked page costs. WebKit's caches and the load of the machine
  // vary.
  std::vector<Figure> figures_ = {{"resident memory", "kB", 15, 4096},
                                  {"heap", "kB", 5, 4096},
                                  {"threads", "", 0.01, 4},
                                  {"descriptors", "", 0.01, 2},
                                  {"players and web views", "", 0, 0},
                                  {"WebKit processes", "", 0.01, 1},
                                  {"time of a cycle", "ms", 0.1, 150},
                                  {"longest hold of a cycle", "ms", 0.05, 50}};
};

}  // namespace

bool soak(const SoakOptions& options, const std::string& host, const std::string& certificatePem) {
  const auto certificate =
      GObjectPtr<GTlsCertificate>::adopt(g_tls_certificate_new_from_pem(certificatePem.c_str(), -1, nullptr));
  gtk::allowTLSCertificateForHost(certificate.get(), host.substr(0, host.find(':')));
  gtk::setInfoDictionaryEntry("VemoraControllerHost", host);
  return Soak(options, host, certificate.get()).run();
}

}  // namespace vemora
