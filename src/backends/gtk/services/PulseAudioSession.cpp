#include "backends/gtk/services/PulseAudioSession.h"

#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/services/AudioOutputs.h"

#include <Vemora/NotificationCenter.h>

#include <glib.h>
#include <pulse/pulseaudio.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

namespace vemora::gtk {

namespace {

/// On a thread of its own: whoever hears of it may block.
void postRouteChange(AVAudioSessionRouteChangeReason reason) {
  dispatch().detachNewThread([reason] {
    const JsonValue userInfo =
        JsonValue::object({{AVAudioSessionRouteChangeReasonKey, static_cast<int>(reason)}});
    NotificationCenter::defaultCenter().postNotification(
        {AVAudioSessionRouteChangeNotification, nullptr, userInfo});
  });
}

AudioOutput outputFromSink(const pa_sink_info& sink) {
  AudioOutput output{
      sink.index, sink.name ? sink.name : "", sink.active_port ? sink.active_port->name : "", {}};
  for (std::uint32_t i = 0; i < sink.n_ports; ++i) {
    output.ports.push_back({sink.ports[i]->name, sink.ports[i]->available != PA_PORT_AVAILABLE_NO});
  }
  return output;
}

/// A connection to the server and what it last said of the outputs. Lives on the loop's thread; made and
/// destroyed while the loop stands still.
class RouteWatch {
 public:
  RouteWatch(pa_mainloop_api& api, const PulseAudioOptions& options)
      : api_(api), options_(options), retrySeconds_(options.retrySeconds) {}
  ~RouteWatch() {
    disconnect();
    for (pa_time_event* timer : {settleTimer_, retryTimer_}) {
      if (timer) api_.time_free(timer);
    }
  }
  RouteWatch(const RouteWatch&) = delete;
  RouteWatch& operator=(const RouteWatch&) = delete;

  void connect();

 private:
  using Step = void (RouteWatch::*)();

  void disconnect();
  void stateChanged();
  void retryLater();
  void subscribe();
  void settle();
  void takeStock();
  void compare();

  template <Step step>
  void startTimer(pa_time_event*& timer, double seconds);
  /// For operations whose outcome comes by callback; their own handle is of no use.
  static void letRun(pa_operation* operation) {
    if (operation) pa_operation_unref(operation);
  }
  static RouteWatch& from(void* self) { return *static_cast<RouteWatch*>(self); }

  pa_mainloop_api& api_;
  const PulseAudioOptions options_;
  double retrySeconds_;
  pa_context* context_ = nullptr;
  pa_time_event* settleTimer_ = nullptr;
  pa_time_event* retryTimer_ = nullptr;
  std::optional<AudioOutputs> known_;
  bool takingStock_ = false;
  AudioOutputs incoming_;
};

template <RouteWatch::Step step>
void RouteWatch::startTimer(pa_time_event*& timer, double seconds) {
  timeval when{};
  pa_gettimeofday(&when);
  pa_timeval_add(&when, static_cast<pa_usec_t>(seconds * PA_USEC_PER_SEC));
  if (timer) return api_.time_restart(timer, &when);
  timer = api_.time_new(
      &api_, &when,
      [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) { (from(self).*step)(); }, this);
}

void RouteWatch::connect() {
  disconnect();
  const char* name = g_get_application_name();
  context_ = pa_context_new(&api_, name ? name : "Vemora");
  pa_context_set_state_callback(
      context_, [](pa_context*, void* self) { from(self).stateChanged(); }, this);
  const char* server = options_.server.empty() ? nullptr : options_.server.c_str();
  // Failure is heard as a change of state.
  pa_context_connect(context_, server, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void RouteWatch::disconnect() {
  if (!context_) return;
  pa_context_set_state_callback(context_, nullptr, nullptr);
  pa_context_set_subscribe_callback(context_, nullptr, nullptr);
  pa_context_disconnect(context_);
  pa_context_unref(std::exchange(context_, nullptr));
  // Another server, or the same one later, starts from its own outputs.
  known_.reset();
  takingStock_ = false;
}

void RouteWatch::stateChanged() {
  switch (pa_context_get_state(context_)) {
    case PA_CONTEXT_READY:
      retrySeconds_ = options_.retrySeconds;
      return subscribe();
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED:
      return retryLater();
    default:
      return;
  }
}

void RouteWatch::retryLater() {
  startTimer<&RouteWatch::connect>(retryTimer_, retrySeconds_);
  retrySeconds_ = std::min(retrySeconds_ * 2, options_.mostRetrySeconds);
}

void RouteWatch::subscribe() {
  pa_context_set_subscribe_callback(
      context_,
      [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* self) { from(self).settle(); },
      this);
  const auto events =
      static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER);
  letRun(pa_context_subscribe(context_, events, nullptr, nullptr));
  takeStock();
}

void RouteWatch::settle() {
  startTimer<&RouteWatch::takeStock>(settleTimer_, options_.settleSeconds);
}

void RouteWatch::takeStock() {
  if (!context_ || pa_context_get_state(context_) != PA_CONTEXT_READY) return;
  // The answers to two stock-takings must not mix.
  if (takingStock_) return settle();
  takingStock_ = true;
  incoming_ = {};
  letRun(pa_context_get_server_info(
      context_,
      [](pa_context*, const pa_server_info* server, void* self) {
        if (server && server->default_sink_name) from(self).incoming_.defaultName = server->default_sink_name;
      },
      this));
  letRun(pa_context_get_sink_info_list(
      context_,
      [](pa_context*, const pa_sink_info* sink, int end, void* self) {
        if (sink && end == 0) return from(self).incoming_.outputs.push_back(outputFromSink(*sink));
        from(self).takingStock_ = false;
        if (end > 0) from(self).compare();
      },
      this));
}

void RouteWatch::compare() {
  AudioOutputs now = std::exchange(incoming_, {});
  const auto reason = known_ ? routeChangeReason(*known_, now) : std::nullopt;
  known_ = std::move(now);
  if (reason) postRouteChange(*reason);
}

/// The loop's thread and what runs on it.
class PulseAudioSession final : public AudioSession {
 public:
  explicit PulseAudioSession(PulseAudioOptions options) : options_(std::move(options)) {}
  ~PulseAudioSession() override {
    if (!loop_) return;
    pa_threaded_mainloop_stop(loop_.get());
    watch_.reset();
  }

  std::string category() override {
    std::call_once(started_, [this] { start(); });
    return "AVAudioSessionCategorySoloAmbient";
  }

 private:
  void start() {
    loop_.reset(pa_threaded_mainloop_new());
    if (!loop_) return;
    pa_threaded_mainloop_set_name(loop_.get(), "vemora-audio");
    pa_mainloop_api* api = pa_threaded_mainloop_get_api(loop_.get());
    watch_ = std::make_unique<RouteWatch>(*api, options_);
    // Connecting reads files and talks to the server: not on the caller's time.
    pa_mainloop_api_once(
        api, [](pa_mainloop_api*, void* watch) { static_cast<RouteWatch*>(watch)->connect(); }, watch_.get());
    pa_threaded_mainloop_start(loop_.get());
  }

  const PulseAudioOptions options_;
  std::once_flag started_;
  std::unique_ptr<pa_threaded_mainloop, GFree<pa_threaded_mainloop_free>> loop_;
  std::unique_ptr<RouteWatch> watch_;
};

}  // namespace

std::unique_ptr<AudioSession> makePulseAudioSession(PulseAudioOptions options) {
  return std::make_unique<PulseAudioSession>(std::move(options));
}

std::unique_ptr<AudioSession> makeAudioSession() {
  return makePulseAudioSession({});
}

}  // namespace vemora::gtk
