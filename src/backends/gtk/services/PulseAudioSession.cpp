#include "backends/gtk/services/PulseAudioSession.h"

#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/services/AudioOutputs.h"

#include <Vemora/NotificationCenter.h>

#include <glib.h>
#include <glib/gstdio.h>
#include <pulse/pulseaudio.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <utility>

namespace vemora::gtk {

namespace {

/// Uses a dedicated background thread, since observers may block.
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

/// libpulse makes a folder below the user's runtime or home folder. Where it cannot, it prints an error at
/// each attempt to connect.
bool canConnectQuietly() {
  const char* runtime = g_getenv("PULSE_RUNTIME_PATH");
  if (!runtime) runtime = g_getenv("XDG_RUNTIME_DIR");
  const char* parent = runtime ? runtime : g_get_home_dir();
  const GStringPtr folder(g_build_filename(parent, "pulse", nullptr));
  return g_access(parent, W_OK) == 0 || g_access(folder.get(), R_OK) == 0;
}

/// A connection to the server, and the outputs that it reported last. Belongs to the thread of the loop; made
/// and destroyed while the loop does not run.
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
  void queryOutputs();
  void compare();

  template <Step step>
  void startTimer(pa_time_event*& timer, double seconds);
  /// For operations whose result comes by callback and whose handle is not needed.
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
  bool isQuerying_ = false;
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
  if (!canConnectQuietly()) return retryLater();
  const char* name = g_get_application_name();
  context_ = pa_context_new(&api_, name ? name : "Vemora");
  pa_context_set_state_callback(
      context_, [](pa_context*, void* self) { from(self).stateChanged(); }, this);
  const char* server = options_.server.empty() ? nullptr : options_.server.c_str();
  // A failure is reported as a change of state.
  pa_context_connect(context_, server, PA_CONTEXT_NOAUTOSPAWN, nullptr);
}

void RouteWatch::disconnect() {
  if (!context_) return;
  pa_context_set_state_callback(context_, nullptr, nullptr);
  pa_context_set_subscribe_callback(context_, nullptr, nullptr);
  pa_context_disconnect(context_);
  pa_context_unref(std::exchange(context_, nullptr));
  // The outputs of another server, or of the same one later, are not compared with these.
  known_.reset();
  isQuerying_ = false;
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
  queryOutputs();
}

void RouteWatch::settle() {
  startTimer<&RouteWatch::queryOutputs>(settleTimer_, options_.settleSeconds);
}

void RouteWatch::queryOutputs() {
  if (!context_ || pa_context_get_state(context_) != PA_CONTEXT_READY) return;
  // The answers to two queries must not mix.
  if (isQuerying_) return settle();
  isQuerying_ = true;
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
        from(self).isQuerying_ = false;
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

/// The thread of the loop, and what runs on it.
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
    // Connecting reads files and talks to the server, which would block the caller.
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
