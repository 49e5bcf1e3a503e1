#include "backends/gtk/services/GeoClueLocationServices.h"

#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/ContextThread.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/services/LocationPermission.h"
#include "backends/gtk/services/PrivateBus.h"
#include "base/Mutex.h"

#include <gio/gio.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace vemora::gtk {

namespace {

using Status = LocationAuthorizationStatus;

constexpr char kService[] = "org.freedesktop.GeoClue2";
constexpr char kManagerPath[] = "/org/freedesktop/GeoClue2/Manager";
constexpr char kManagerInterface[] = "org.freedesktop.GeoClue2.Manager";
constexpr char kClientInterface[] = "org.freedesktop.GeoClue2.Client";
constexpr char kLocationInterface[] = "org.freedesktop.GeoClue2.Location";
constexpr char kPropertiesInterface[] = "org.freedesktop.DBus.Properties";
constexpr char kStoreService[] = "org.freedesktop.impl.portal.PermissionStore";
constexpr char kStorePath[] = "/org/freedesktop/impl/portal/PermissionStore";
constexpr char kStoreTable[] = "location";
constexpr char kStoreId[] = "location";

/// City-level accuracy: enough for an ad, and it needs no satellite receiver.
constexpr guint32 kAccuracyLevelCity = 4;

constexpr int kShortCallMilliseconds = 2000;
/// Calls that may have to wait until the service has been started.
constexpr int kServiceCallMilliseconds = 25000;

/// How long after the start of the first look-up a question still waits for its outcome: one that is answered
/// too early costs the first load its location. On a bus that answers, ten milliseconds are usual.
constexpr double kMainThreadPatience = 0.05;
constexpr double kBackgroundPatience = 0.25;

bool isAuthorized(Status status) {
  return status == Status::AuthorizedAlways || status == Status::AuthorizedWhenInUse;
}

/// What the questions are answered from, by any thread.
class Answers {
 public:
  void publish(bool enabled, Status status) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    known_ = true;
    enabled_ = enabled;
    status_ = status;
    changed_.notify_all();
  }

  bool enabled() VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    waitUntilKnown();
    return enabled_;
  }

  Status status() VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    waitUntilKnown();
    return status_;
  }

 private:
  void waitUntilKnown() VMR_REQUIRES(mutex_) {
    const double patience = dispatch().isMainThread() ? kMainThreadPatience : kBackgroundPatience;
    while (!known_ && dispatch().waitUntil(mutex_, changed_, lookUpStarted_ + patience)) {
    }
  }

  const double lookUpStarted_ = dispatch().now();
  /// Guards everything below.
  Mutex mutex_;
  std::condition_variable changed_;
  bool known_ VMR_GUARDED_BY(mutex_) = false;
  bool enabled_ VMR_GUARDED_BY(mutex_) = false;
  Status status_ VMR_GUARDED_BY(mutex_) = Status::NotDetermined;
};

/// Delivers location fixes to one manager.
class Recipient : public std::enable_shared_from_this<Recipient> {
 public:
  void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) VMR_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    delegate_ = std::move(delegate);
  }

  void deliver(const Location& location) {
    if (!belongsToMainThread_) return call(location);
    dispatch().mainAsync([weak = weak_from_this(), location] {
      if (const auto self = weak.lock()) self->call(location);
    });
  }

 private:
  void call(const Location& location) VMR_EXCLUDES(mutex_) {
    std::shared_ptr<LocationManagerDelegate> delegate;
    {
      MutexLock lock(mutex_);
      delegate = delegate_.lock();
    }
    if (delegate) delegate->locationManagerDidUpdateLocations({location});
  }

  const bool belongsToMainThread_ = dispatch().isMainThread();
  /// Guards `delegate_`.
  Mutex mutex_;
  std::weak_ptr<LocationManagerDelegate> delegate_ VMR_GUARDED_BY(mutex_);
};

/// The GeoClue client that all managers share. Lives on the service thread; only `answers` is thread-safe.
class GeoClueClient {
 public:
  explicit GeoClueClient(GeoClueOptions options)
      : options_(std::move(options)), cancellable_(GObjectPtr<GCancellable>::adopt(g_cancellable_new())) {}

  Answers& answers() { return answers_; }
  /// From any thread: stops waiting for a bus. A call that is under way goes on until its answer or its
  /// time-out, since GLib loses a connection whose answer meets a cancellation.
  void cancel() { g_cancellable_cancel(cancellable_.get()); }

  void open();
  void close();
  void add(std::shared_ptr<Recipient> recipient);
  void remove(const std::shared_ptr<Recipient>& recipient);

 private:
  using Handler = void (GeoClueClient::*)(GVariant* parameters);

  void openPermissionStore();
  void readConfiguration();
  bool isActivatable();
  void serviceAppeared();
  void serviceVanished();
  void readAvailableAccuracy();
  void permissionsChanged(GVariant* parameters);
  void managerPropertiesChanged(GVariant* parameters);
  void locationUpdated(GVariant* parameters);

  Status recordedPermission() const;
  Status status() const;
  void publish();

  void startIfWanted();
  bool setClientProperty(const char* name, GVariant* value);
  void stop();
  void forgetClient();
  void reportFix(const Location& fix);

  GVariantPtr call(PrivateBus& bus, const char* service, const char* path, const char* interface,
                   const char* method, GVariant* arguments, const char* reply, int milliseconds,
                   GErrorPtr* error = nullptr);
  GVariantPtr callService(const char* path, const char* interface, const char* method, GVariant* arguments,
                          const char* reply, GErrorPtr* error = nullptr) {
    return call(*systemBus_, kService, path, interface, method, arguments, reply, kServiceCallMilliseconds,
                error);
  }
  void tellService(const char* path, const char* interface, const char* method, GVariant* arguments);
  template <Handler handler>
  guint subscribe(PrivateBus& bus, const char* sender, const char* interface, const char* signal,
                  const char* path);
  static void unsubscribe(const std::unique_ptr<PrivateBus>& bus, guint& subscription);

  const GeoClueOptions options_;
  const GObjectPtr<GCancellable> cancellable_;
  Answers answers_;

  std::unique_ptr<PrivateBus> systemBus_;
  std::unique_ptr<PrivateBus> sessionBus_;
  guint nameWatch_ = 0;
  guint managerSubscription_ = 0;
  guint storeSubscription_ = 0;
  guint locationSubscription_ = 0;

  bool running_ = false;
  bool activatable_ = false;
  bool refused_ = false;
  bool hasSource_ = true;
  Status configured_ = Status::NotDetermined;
  Status stored_ = Status::NotDetermined;

  std::vector<std::shared_ptr<Recipient>> recipients_;
  std::string clientPath_;
  std::optional<Location> lastFix_;
};

GVariantPtr GeoClueClient::call(PrivateBus& bus, const char* service, const char* path, const char* interface,
                                const char* method, GVariant* arguments, const char* reply, int milliseconds,
                                GErrorPtr* error) {
  GError* failure = nullptr;
  GVariantPtr answer(g_dbus_connection_call_sync(bus.connection(), service, path, interface, method,
                                                 arguments, G_VARIANT_TYPE(reply), G_DBUS_CALL_FLAGS_NONE,
                                                 milliseconds, nullptr, &failure));
  GErrorPtr owned(failure);
  if (error) *error = std::move(owned);
  return answer;
}

void GeoClueClient::tellService(const char* path, const char* interface, const char* method,
                                GVariant* arguments) {
  g_dbus_connection_call(systemBus_->connection(), kService, path, interface, method, arguments, nullptr,
                         G_DBUS_CALL_FLAGS_NO_AUTO_START, -1, nullptr, nullptr, nullptr);
}

template <GeoClueClient::Handler handler>
guint GeoClueClient::subscribe(PrivateBus& bus, const char* sender, const char* interface, const char* signal,
                               const char* path) {
  return g_dbus_connection_signal_subscribe(
      bus.connection(), sender, interface, signal, path, nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters,
         gpointer self) { (static_cast<GeoClueClient*>(self)->*handler)(parameters); },
      this, nullptr);
}

void GeoClueClient::unsubscribe(const std::unique_ptr<PrivateBus>& bus, guint& subscription) {
  if (subscription) g_dbus_connection_signal_unsubscribe(bus->connection(), std::exchange(subscription, 0));
}

void GeoClueClient::open() {
  readConfiguration();
  systemBus_ = PrivateBus::open(G_BUS_TYPE_SYSTEM, cancellable_.get());
  if (systemBus_) {
    openPermissionStore();
    const GVariantPtr owned =
        call(*systemBus_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
             "NameHasOwner", g_variant_new("(s)", kService), "(b)", kShortCallMilliseconds);
    gboolean running = FALSE;
    if (owned) g_variant_get(owned.get(), "(b)", &running);
    running_ = running;
    activatable_ = isActivatable();
    if (running_) readAvailableAccuracy();
  }
  publish();
  if (!systemBus_) return;

  managerSubscription_ = subscribe<&GeoClueClient::managerPropertiesChanged>(
      *systemBus_, kService, kPropertiesInterface, "PropertiesChanged", kManagerPath);
  nameWatch_ = g_bus_watch_name_on_connection(
      systemBus_->connection(), kService, G_BUS_NAME_WATCHER_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char*, gpointer self) {
        static_cast<GeoClueClient*>(self)->serviceAppeared();
      },
      [](GDBusConnection*, const char*, gpointer self) {
        static_cast<GeoClueClient*>(self)->serviceVanished();
      },
      this, nullptr);
}

void GeoClueClient::close() {
  stop();
  if (nameWatch_) g_bus_unwatch_name(std::exchange(nameWatch_, 0));
  unsubscribe(systemBus_, managerSubscription_);
  unsubscribe(sessionBus_, storeSubscription_);
  running_ = activatable_ = false;
  systemBus_.reset();
  sessionBus_.reset();
  recipients_.clear();
}

void GeoClueClient::openPermissionStore() {
  if (options_.desktopId.empty()) return;
  sessionBus_ = PrivateBus::open(G_BUS_TYPE_SESSION, cancellable_.get());
  if (!sessionBus_) return;
  storeSubscription_ = subscribe<&GeoClueClient::permissionsChanged>(*sessionBus_, kStoreService,
                                                                     kStoreService, "Changed", kStorePath);
  const GVariantPtr answer =
      call(*sessionBus_, kStoreService, kStorePath, kStoreService, "Lookup",
           g_variant_new("(ss)", kStoreTable, kStoreId), "(a{sas}v)", kShortCallMilliseconds);
  if (!answer) return;
  const GVariantPtr permissions(g_variant_get_child_value(answer.get(), 0));
  stored_ = storedLocationPermission(permissions.get(), options_.desktopId);
}

void GeoClueClient::permissionsChanged(GVariant* parameters) {
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssbva{sas})"))) return;
  const char* table = nullptr;
  const char* id = nullptr;
  gboolean deleted = FALSE;
  g_variant_get_child(parameters, 0, "&s", &table);
  g_variant_get_child(parameters, 1, "&s", &id);
  g_variant_get_child(parameters, 2, "b", &deleted);
  if (!g_str_equal(table, kStoreTable) || !g_str_equal(id, kStoreId)) return;
  const GVariantPtr permissions(g_variant_get_child_value(parameters, 4));
  stored_ = storedLocationPermission(deleted ? nullptr : permissions.get(), options_.desktopId);
  refused_ = false;
  if (!isAuthorized(recordedPermission())) stop();
  publish();
  startIfWanted();
}

void GeoClueClient::readConfiguration() {
  configured_ = configuredLocationPermission(options_.configurationFile, options_.configurationFolder,
                                             options_.desktopId);
}

bool GeoClueClient::isActivatable() {
  const GVariantPtr answer =
      call(*systemBus_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
           "ListActivatableNames", nullptr, "(as)", kShortCallMilliseconds);
  if (!answer) return false;
  const GVariantPtr list(g_variant_get_child_value(answer.get(), 0));
  const std::unique_ptr<const char*, GFree<g_free>> names(g_variant_get_strv(list.get(), nullptr));
  return g_strv_contains(names.get(), kService);
}

void GeoClueClient::serviceAppeared() {
  running_ = true;
  readConfiguration();
  readAvailableAccuracy();
  publish();
  startIfWanted();
}

void GeoClueClient::serviceVanished() {
  running_ = false;
  refused_ = false;
  hasSource_ = true;
  forgetClient();
  publish();
}

void GeoClueClient::readAvailableAccuracy() {
  const GVariantPtr answer =
      call(*systemBus_, kService, kManagerPath, kPropertiesInterface, "Get",
           g_variant_new("(ss)", kManagerInterface, "AvailableAccuracyLevel"), "(v)", kShortCallMilliseconds);
  GVariantPtr level;
  if (answer) {
    const GVariantPtr boxed(g_variant_get_child_value(answer.get(), 0));
    level.reset(g_variant_get_variant(boxed.get()));
  }
  hasSource_ = !level || !g_variant_is_of_type(level.get(), G_VARIANT_TYPE_UINT32) ||
               g_variant_get_uint32(level.get()) != 0;
}

void GeoClueClient::managerPropertiesChanged(GVariant*) {
  readAvailableAccuracy();
  publish();
}

Status GeoClueClient::recordedPermission() const {
  return configured_ != Status::NotDetermined ? configured_ : stored_;
}

Status GeoClueClient::status() const {
  if (refused_) return Status::Denied;
  const Status recorded = recordedPermission();
  return isAuthorized(recorded) && !hasSource_ ? Status::Restricted : recorded;
}

void GeoClueClient::publish() {
  answers_.publish(running_ || activatable_, status());
}

void GeoClueClient::add(std::shared_ptr<Recipient> recipient) {
  recipients_.push_back(std::move(recipient));
  if (lastFix_) recipients_.back()->deliver(*lastFix_);
  startIfWanted();
}

void GeoClueClient::remove(const std::shared_ptr<Recipient>& recipient) {
  std::erase(recipients_, recipient);
  if (recipients_.empty()) stop();
}

void GeoClueClient::startIfWanted() {
  if (recipients_.empty() || !clientPath_.empty() || !(running_ || activatable_)) return;
  if (refused_ || !isAuthorized(recordedPermission())) return;

  const GVariantPtr client = callService(kManagerPath, kManagerInterface, "GetClient", nullptr, "(o)");
  if (!client) return;
  const char* path = nullptr;
  g_variant_get(client.get(), "(&o)", &path);
  clientPath_ = path;
  locationSubscription_ = subscribe<&GeoClueClient::locationUpdated>(*systemBus_, kService, kClientInterface,
                                                                     "LocationUpdated", path);
  GErrorPtr error;
  const bool started =
      setClientProperty("DesktopId", g_variant_new_string(options_.desktopId.c_str())) &&
      setClientProperty("RequestedAccuracyLevel", g_variant_new_uint32(kAccuracyLevelCity)) &&
      callService(path, kClientInterface, "Start", nullptr, "()", &error);
  if (started) return;
  refused_ = g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED);
  stop();
  publish();
}

bool GeoClueClient::setClientProperty(const char* name, GVariant* value) {
  return callService(clientPath_.c_str(), kPropertiesInterface, "Set",
                     g_variant_new("(ssv)", kClientInterface, name, value), "()") != nullptr;
}

void GeoClueClient::stop() {
  if (clientPath_.empty()) return;
  tellService(clientPath_.c_str(), kClientInterface, "Stop", nullptr);
  tellService(kManagerPath, kManagerInterface, "DeleteClient", g_variant_new("(o)", clientPath_.c_str()));
  forgetClient();
}

void GeoClueClient::forgetClient() {
  unsubscribe(systemBus_, locationSubscription_);
  clientPath_.clear();
  lastFix_.reset();
}

void GeoClueClient::locationUpdated(GVariant* parameters) {
  if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(oo)"))) return;
  const char* path = nullptr;
  g_variant_get_child(parameters, 1, "&o", &path);
  const GVariantPtr answer =
      call(*systemBus_, kService, path, kPropertiesInterface, "GetAll",
           g_variant_new("(s)", kLocationInterface), "(a{sv})", kShortCallMilliseconds);
  if (!answer) return;
  const GVariantPtr properties(g_variant_get_child_value(answer.get(), 0));
  Location fix;
  if (!g_variant_lookup(properties.get(), "Latitude", "d", &fix.latitude) ||
      !g_variant_lookup(properties.get(), "Longitude", "d", &fix.longitude)) {
    return;
  }
  // Also false for what is not a number.
  const bool onEarth =
      fix.latitude >= -90 && fix.latitude <= 90 && fix.longitude >= -180 && fix.longitude <= 180;
  if (onEarth) reportFix(fix);
}

void GeoClueClient::reportFix(const Location& fix) {
  lastFix_ = fix;
  // A delegate may release its manager.
  const std::vector<std::shared_ptr<Recipient>> recipients = recipients_;
  for (const auto& recipient : recipients) recipient->deliver(fix);
}

class GeoClueLocationManager final : public LocationManager {
 public:
  GeoClueLocationManager(std::shared_ptr<GeoClueClient> client, ContextThread& thread)
      : client_(std::move(client)), thread_(thread) {}
  ~GeoClueLocationManager() override {
    recipient_->setDelegate({});
    if (updating_) thread_.post([client = client_, recipient = recipient_] { client->remove(recipient); });
  }

  void setDelegate(std::weak_ptr<LocationManagerDelegate> delegate) override {
    recipient_->setDelegate(std::move(delegate));
  }
  void startUpdatingLocation() override {
    if (std::exchange(updating_, true)) return;
    thread_.post([client = client_, recipient = recipient_] { client->add(recipient); });
  }

 private:
  const std::shared_ptr<GeoClueClient> client_;
  ContextThread& thread_;
  const std::shared_ptr<Recipient> recipient_ = std::make_shared<Recipient>();
  bool updating_ = false;
};

class GeoClueLocationServices final : public LocationServices {
 public:
  explicit GeoClueLocationServices(GeoClueOptions options)
      : client_(std::make_shared<GeoClueClient>(std::move(options))) {
    thread_.post([client = client_] { client->open(); });
  }
  ~GeoClueLocationServices() override {
    client_->cancel();
    thread_.post([client = client_] { client->close(); });
  }

  bool locationServicesEnabled() override { return client_->answers().enabled(); }
  LocationAuthorizationStatus authorizationStatus() override { return client_->answers().status(); }
  std::unique_ptr<LocationManager> createLocationManager() override {
    return std::make_unique<GeoClueLocationManager>(client_, thread_);
  }

 private:
  const std::shared_ptr<GeoClueClient> client_;
  ContextThread thread_{"vemora-location"};
};

}  // namespace

std::unique_ptr<LocationServices> makeGeoClueLocationServices(GeoClueOptions options) {
  return std::make_unique<GeoClueLocationServices>(std::move(options));
}

std::unique_ptr<LocationServices> makeLocationServices() {
  GeoClueOptions options;
  GApplication* application = g_application_get_default();
  const char* id = application ? g_application_get_application_id(application) : nullptr;
  if (id) options.desktopId = id;
  return makeGeoClueLocationServices(std::move(options));
}

}  // namespace vemora::gtk
