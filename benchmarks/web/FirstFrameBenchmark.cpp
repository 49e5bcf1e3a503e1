#include "support/Report.h"
#include "web/Host.h"
#include "web/LoadedPlayer.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

// From `start` to the first frame of the ad's video, and from `play()` to the first frame of the same video
// in a bare page. Each side has loaded its page, and has been idle since.

namespace {

using namespace vemora;
using namespace vemora::bench;

constexpr double kIdleTime = 1.0;

/// Answers with the times of "control.start", of the call of `play` and of the first frame.
constexpr char kWatch[] = R"(return await new Promise((resolve) => {
  const now = () => performance.timeOrigin + performance.now();
  let start = 0;
  const bridge = window.VemoraProxy?.bridge;
  if (bridge) {
    const onMessage = bridge.onMessage;
    bridge.onMessage = (text) => {
      if (text.includes("control.start")) start = now();
      return onMessage.call(bridge, text);
    };
  }
  const play = HTMLMediaElement.prototype.play;
  HTMLMediaElement.prototype.play = function () {
    const called = now();
    this.requestVideoFrameCallback(() => resolve([start, called, now()]));
    return play.call(this);
  };
}))";

double now() {
  return static_cast<double>(g_get_real_time()) / 1000;
}

/// Milliseconds from a moment of the host's.
struct Times {
  double start = 0, play = 0, frame = 0;
};

/// Waits in the page for its first frame.
class FrameWatch {
 public:
  explicit FrameWatch(WebKitWebView* view) {
    webkit_web_view_call_async_javascript_function(
        view, kWatch, -1, nullptr, nullptr, nullptr, nullptr,
        [](GObject* source, GAsyncResult* result, gpointer times) {
          GError* error = nullptr;
          JSCValue* value =
              webkit_web_view_call_async_javascript_function_finish(WEBKIT_WEB_VIEW(source), result, &error);
          if (!value) {
            std::fprintf(stderr, "no first frame: %s\n", error->message);
            std::exit(1);
          }
          for (guint index = 0; index < 3; ++index) {
            JSCValue* time = jsc_value_object_get_property_at_index(value, index);
            static_cast<std::vector<double>*>(times)->push_back(jsc_value_to_double(time));
            g_object_unref(time);
          }
          g_object_unref(value);
        },
        &times_);
  }
  Times wait(const Host& host, double since) {
    host.runUntil([this] { return !times_.empty(); });
    return {times_[0] - since, times_[1] - since, times_[2] - since};
  }

 private:
  std::vector<double> times_;
};

Times playBare(Host& host) {
  BarePage page(host, [](JSCValue*) {});
  page.load("/video.html");
  host.runUntil([&page] { return page.isLoaded(); });
  const auto view = gtk::GObjectPtr<GtkWidget>::retain(page.widget());
  host.show(view.get());
  FrameWatch watch(WEBKIT_WEB_VIEW(view.get()));
  host.runFor(kIdleTime);
  const double since = now();
  page.evaluate("document.querySelector('video').play().catch(() => {}), 0");
  return watch.wait(host, since);
}

Times playOurs(Host& host) {
  const auto area = gtk::GObjectPtr<GtkWidget>::sink(gtk::newAdView());
  host.show(area.get());
  Times times;
  {
    LoadedPlayer player(host, gtk::viewForWidget(area.get()));
    std::unique_ptr<FrameWatch> watch;
    host.forEachWebView([&watch](WebKitWebView* view) { watch = std::make_unique<FrameWatch>(view); });
    host.runFor(kIdleTime);
    const double since = now();
    player.player().start();
    times = watch->wait(host, since);
  }
  host.remove(area.get());
  return times;
}

}  // namespace

int main(int argc, char** argv) {
  Report report("first frame", argc, argv);
  const PageServer server(VEMORA_REFERENCE_PAGE, VEMORA_DEMO_ADS, VEMORA_BENCH_PAGES, VEMORA_DEMO_MEDIA);
  Host host(server);
  Comparison frame;
  std::vector<double> start, play;
  takeTurns(
      report.rounds(15), [&host] { return playBare(host); }, [&host] { return playOurs(host); },
      [&](const Times& floor, const Times& ours) {
        frame.add(floor.frame, ours.frame);
        start.push_back(ours.start);
        play.push_back(ours.play);
      });
  report.ratio("start to the first frame, elapsed", "ms", "play() in a bare page", frame, 1.1);
  report.value("start to control.start in the page", "ms", median(start), 50);
  report.value("start to play() in the page", "ms", median(play), {});
  return report.finish();
}
