#include "backends/gtk/network/GioNetworkReachability.h"

#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/ContextThread.h"
#include "backends/gtk/network/NetworkFacts.h"
#include "base/Mutex.h"

#include <netinet/in.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

namespace vemora::gtk {

namespace {

/// Notified of network changes on the main thread.
class NetworkListener {
 public:
  virtual ~NetworkListener() = default;
  virtual void networkChanged() = 0;
};

/// The network monitor for all handles: one signal connection, and a copy of the connectivity that any thread
/// may read.
class NetworkWatch : public std::enable_shared_from_this<NetworkWatch> {
 public:
  NetworkWatch(GObjectPtr<GNetworkMonitor> monitor, std::string sysfs)
      : sysfs_(std::move(sysfs)),
        monitor_(std::move(monitor)),
        resolver_(GObjectPtr<GResolver>::adopt(g_resolver_get_default())),
        connectivity_(g_network_monitor_get_connectivity(monitor_.get())) {}
  ~NetworkWatch() { g_signal_handler_disconnect(monitor_.get(), handler_); }
  NetworkWatch(const NetworkWatch&) = delete;
  NetworkWatch& operator=(const NetworkWatch&) = delete;

  /// Once.
  void begin() {
    using Weak = std::weak_ptr<NetworkWatch>;
    handler_ = g_signal_connect_data(
        monitor_.get(), "network-changed", G_CALLBACK(+[](GNetworkMonitor*, gboolean, gpointer weak) {
          if (const auto self = static_cast<Weak*>(weak)->lock()) self->networkChanged();
        }),
        new Weak(weak_from_this()), [](gpointer weak, GClosure*) { delete static_cast<Weak*>(weak); },
        static_cast<GConnectFlags>(0));
  }

  GResolver* resolver() const { return resolver_.get(); }

  std::uint32_t flags(const sockaddr& address) const {
    return flagsForFacts(factsForAddress(address, connectivity_.load(std::memory_order_relaxed), sysfs_));
  }

  void add(std::weak_ptr<NetworkListener> listener) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    std::erase_if(listeners_, [](const auto& other) { return other.expired(); });
    listeners_.push_back(std::move(listener));
  }

 private:
  void networkChanged() VMR_EXCLUDES(mutex_) {
    connectivity_.store(g_network_monitor_get_connectivity(monitor_.get()), std::memory_order_relaxed);
    std::vector<std::weak_ptr<NetworkListener>> listeners;
    {
      MutexLock lock(mutex_);
      listeners = listeners_;
    }
    for (const auto& weak : listeners) {
      if (const auto listener = weak.lock()) listener->networkChanged();
    }
  }

  const std::string sysfs_;
  const GObjectPtr<GNetworkMonitor> monitor_;
  const GObjectPtr<GResolver> resolver_;
  std::atomic<GNetworkConnectivity> connectivity_;
  /// Guards `listeners_`.
  Mutex mutex_;
  std::vector<std::weak_ptr<NetworkListener>> listeners_ VMR_GUARDED_BY(mutex_);
  gulong handler_ = 0;
};

/// The addresses of a handle's target: given at creation, or resolved from a name, possibly several times.
class Target {
 public:
  explicit Target(const sockaddr& address) { addresses_ = {copyOf(address)}; }
  explicit Target(std::string name) : name_(std::move(name)) {}

  bool isName() const { return !name_.empty(); }

  /// Absent until the name was resolved once.
  std::optional<std::uint32_t> flags(const NetworkWatch& watch) VMR_EXCLUDES(mutex_) {
    std::optional<std::vector<sockaddr_storage>> addresses;
    {
      MutexLock lock(mutex_);
      addresses = addresses_;
    }
    if (!addresses) return std::nullopt;
    for (const sockaddr_storage& address : *addresses) {
      if (const std::uint32_t flags = watch.flags(reinterpret_cast<const sockaddr&>(address))) return flags;
    }
    return 0;
  }

  /// Blocks as long as the resolver does.
  void resolve(GResolver* resolver, GCancellable* cancellable) VMR_EXCLUDES(mutex_) {
    GList* found = g_resolver_lookup_by_name(resolver, name_.c_str(), cancellable, nullptr);
    std::vector<sockaddr_storage> addresses;
    for (const GList* item = found; item; item = item->next) {
      const auto address = GObjectPtr<GSocketAddress>::adopt(
          g_inet_socket_address_new(static_cast<GInetAddress*>(item->data), 0));
      sockaddr_storage native{};
      if (g_socket_address_to_native(address.get(), &native, sizeof native, nullptr))
        addresses.push_back(native);
    }
    g_resolver_free_addresses(found);
    MutexLock lock(mutex_);
    addresses_ = std::move(addresses);
  }

 private:
  static sockaddr_storage copyOf(const sockaddr& address) {
    sockaddr_storage storage{};
    const std::size_t size = address.sa_family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
    std::memcpy(&storage, &address, size);
    return storage;
  }

  const std::string name_;
  /// Guards `addresses_`.
  Mutex mutex_;
  std::optional<std::vector<sockaddr_storage>> addresses_ VMR_GUARDED_BY(mutex_);
};

/// What a handle shares with the watch, the resolver and the run loop that it is scheduled with.
class Observation final : public NetworkListener, public std::enable_shared_from_this<Observation> {
 public:
  template <typename T>
  Observation(std::shared_ptr<NetworkWatch> watch, const T& target)
      : watch_(std::move(watch)), target_(target) {}

  void begin() {
    watch_->add(weak_from_this());
    if (target_.isName()) resolveInBackground();
  }
  void end() {
    g_cancellable_cancel(cancellable_.get());
    unschedule();
  }

  std::optional<std::uint32_t> flags() { return target_.flags(*watch_); }

  void setCallback(std::function<void()> callback) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    callback_ = std::move(callback);
  }

  void schedule(GMainContext* context) VMR_EXCLUDES(mutex_) {
    const std::optional<std::uint32_t> now = flags();
    MutexLock lock(mutex_);
    context_.reset(g_main_context_ref(context));
    ++schedule_;
    lastFlags_ = now;
  }
  bool isScheduledWith(GMainContext* context) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    return context_ && context_.get() == context;
  }
  void unschedule() VMR_EXCLUDES(mutex_) {
    std::unique_lock<std::mutex> lock(mutex_.native());
    forgetSchedule();
    // A callback that is running elsewhere ends before this returns; one that got us here cannot.
    idle_.wait(lock, [this] { return !isRunningElsewhere(); });
  }

  void networkChanged() override {
    if (target_.isName()) {
      resolveInBackground();
    } else {
      reportOnRunLoop();
    }
  }

 private:
  void forgetSchedule() VMR_ANNOTATE(no_thread_safety_analysis) {
    context_.reset();
    ++schedule_;
  }
  bool isRunningElsewhere() const VMR_ANNOTATE(no_thread_safety_analysis) {
    return caller_ != std::thread::id() && caller_ != std::this_thread::get_id();
  }

  /// One look-up at a time; a change meanwhile makes it look once more.
  void resolveInBackground() VMR_EXCLUDES(mutex_) {
    {
      MutexLock lock(mutex_);
      resolveAgain_ = resolving_;
      if (std::exchange(resolving_, true)) return;
    }
    dispatch().globalAsync([weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->resolve();
    });
  }
  void resolve() VMR_EXCLUDES(mutex_) {
    target_.resolve(watch_->resolver(), cancellable_.get());
    bool again = false;
    {
      MutexLock lock(mutex_);
      resolving_ = false;
      again = std::exchange(resolveAgain_, false) && !g_cancellable_is_cancelled(cancellable_.get());
    }
    reportOnRunLoop();
    if (again) resolveInBackground();
  }

  void reportOnRunLoop() VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    if (!context_) return;
    runOnContext(context_.get(), [weak = weak_from_this(), schedule = schedule_] {
      if (const auto self = weak.lock()) self->report(schedule);
    });
  }
  void report(std::uint64_t schedule) VMR_EXCLUDES(mutex_) {
    const std::optional<std::uint32_t> now = flags();
    std::function<void()> callback;
    {
      MutexLock lock(mutex_);
      if (schedule != schedule_ || std::exchange(lastFlags_, now) == now) return;
      callback = callback_;
      caller_ = std::this_thread::get_id();
    }
    if (callback) callback();
    MutexLock lock(mutex_);
    caller_ = {};
    idle_.notify_all();
  }

  const std::shared_ptr<NetworkWatch> watch_;
  Target target_;
  const GObjectPtr<GCancellable> cancellable_ = GObjectPtr<GCancellable>::adopt(g_cancellable_new());

  /// Guards everything below.
  Mutex mutex_;
  std::condition_variable idle_;
  std::function<void()> callback_ VMR_GUARDED_BY(mutex_);
  GMainContextPtr context_ VMR_GUARDED_BY(mutex_);
  /// Distinguishes reports for this schedule from those for an earlier one.
  std::uint64_t schedule_ VMR_GUARDED_BY(mutex_) = 0;
  std::optional<std::uint32_t> lastFlags_ VMR_GUARDED_BY(mutex_);
  std::thread::id caller_ VMR_GUARDED_BY(mutex_);
  bool resolving_ VMR_GUARDED_BY(mutex_) = false;
  bool resolveAgain_ VMR_GUARDED_BY(mutex_) = false;
};

class GioNetworkReachability final : public NetworkReachability {
 public:
  explicit GioNetworkReachability(std::shared_ptr<Observation> observation)
      : observation_(std::move(observation)) {
    observation_->begin();
  }
  ~GioNetworkReachability() override { observation_->end(); }

  std::optional<std::uint32_t> flags() override { return observation_->flags(); }
  bool setCallback(std::function<void()> callback) override {
    observation_->setCallback(std::move(callback));
    return true;
  }
  bool scheduleWithRunLoop() override {
    observation_->schedule(GMainContextPtr(g_main_context_ref_thread_default()).get());
    return true;
  }
  void unscheduleFromRunLoop() override {
    const GMainContextPtr here(g_main_context_ref_thread_default());
    if (observation_->isScheduledWith(here.get())) observation_->unschedule();
  }

 private:
  const std::shared_ptr<Observation> observation_;
};

class GioNetworkReachabilityFactory final : public NetworkReachabilityFactory {
 public:
  GioNetworkReachabilityFactory(GObjectPtr<GNetworkMonitor> monitor, std::string sysfs)
      : watch_(std::make_shared<NetworkWatch>(std::move(monitor), std::move(sysfs))) {
    watch_->begin();
  }

  std::unique_ptr<NetworkReachability> createWithName(std::string_view hostName) override;
  std::unique_ptr<NetworkReachability> createWithAddress(const sockaddr& address) override {
    if (address.sa_family != AF_INET && address.sa_family != AF_INET6) return nullptr;
    return std::make_unique<GioNetworkReachability>(std::make_shared<Observation>(watch_, address));
  }

 private:
  const std::shared_ptr<NetworkWatch> watch_;
};

std::unique_ptr<NetworkReachability> GioNetworkReachabilityFactory::createWithName(
    std::string_view hostName) {
  if (hostName.empty() || hostName.find('\0') != std::string_view::npos) return nullptr;
  const std::string name(hostName);
  const auto literal =
      GObjectPtr<GSocketAddress>::adopt(g_inet_socket_address_new_from_string(name.c_str(), 0));
  sockaddr_storage native{};
  if (literal && g_socket_address_to_native(literal.get(), &native, sizeof native, nullptr)) {
    return createWithAddress(reinterpret_cast<const sockaddr&>(native));
  }
  const bool valid = g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr);
  const GStringPtr ascii(valid ? g_hostname_to_ascii(name.c_str()) : nullptr);
  if (!ascii) return nullptr;
  return std::make_unique<GioNetworkReachability>(
      std::make_shared<Observation>(watch_, std::string(ascii.get())));
}

/// GLib's monitor speaks on the context that was the thread's default when it was made, so it is made where
/// that is the main one.
GNetworkMonitor* monitorOfMainContext() {
  if (!g_main_context_get_thread_default()) return g_network_monitor_get_default();
  GNetworkMonitor* monitor = nullptr;
  std::thread([&monitor] { monitor = g_network_monitor_get_default(); }).join();
  return monitor;
}

}  // namespace

std::unique_ptr<NetworkReachabilityFactory> makeGioNetworkReachability(GObjectPtr<GNetworkMonitor> monitor,
                                                                       std::string sysfs) {
  return std::make_unique<GioNetworkReachabilityFactory>(std::move(monitor), std::move(sysfs));
}

std::unique_ptr<NetworkReachabilityFactory> makeNetworkReachability() {
  return makeGioNetworkReachability(GObjectPtr<GNetworkMonitor>::retain(monitorOfMainContext()), "/sys");
}

}  // namespace vemora::gtk
