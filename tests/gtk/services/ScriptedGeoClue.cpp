#include "ScriptedGeoClue.h"

#include <algorithm>
#include <cstdlib>

namespace vemora::gtk::test {

namespace {

constexpr char kService[] = "org.freedesktop.GeoClue2";
constexpr char kManagerPath[] = "/org/freedesktop/GeoClue2/Manager";
constexpr char kClientPath[] = "/org/freedesktop/GeoClue2/Client/1";
constexpr char kLocationPath[] = "/org/freedesktop/GeoClue2/Client/1/Location/";
constexpr char kStoreService[] = "org.freedesktop.impl.portal.PermissionStore";
constexpr char kStorePath[] = "/org/freedesktop/impl/portal/PermissionStore";

constexpr char kInterfaces[] = R"(<node>
  <interface name="org.freedesktop.GeoClue2.Manager">
    <method name="GetClient"><arg type="o" direction="out"/></method>
    <method name="DeleteClient"><arg type="o" direction="in"/></method>
    <property name="AvailableAccuracyLevel" type="u" access="read"/>
  </interface>
  <interface name="org.freedesktop.GeoClue2.Client">
    <method name="Start"/>
    <method name="Stop"/>
    <property name="DesktopId" type="s" access="readwrite"/>
    <property name="RequestedAccuracyLevel" type="u" access="readwrite"/>
    <signal name="LocationUpdated"><arg type="o"/><arg type="o"/></signal>
  </interface>
  <interface name="org.freedesktop.GeoClue2.Location">
    <property name="Latitude" type="d" access="read"/>
    <property name="Longitude" type="d" access="read"/>
    <property name="Description" type="s" access="read"/>
  </interface>
  <interface name="org.freedesktop.impl.portal.PermissionStore">
    <method name="Lookup">
      <arg type="s" direction="in"/><arg type="s" direction="in"/>
      <arg type="a{sas}" direction="out"/><arg type="v" direction="out"/>
    </method>
    <signal name="Changed">
      <arg type="s"/><arg type="s"/><arg type="b"/><arg type="v"/><arg type="a{sas}"/>
    </signal>
  </interface>
</node>)";

GDBusInterfaceInfo* interfaceNamed(const char* name) {
  static GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(kInterfaces, nullptr);
  return g_dbus_node_info_lookup_interface(node, name);
}

}  // namespace

ScriptedGeoClue::ScriptedGeoClue(const std::string& busAddress) {
  run([this, &busAddress] {
    const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                         G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    bus_ = GObjectPtr<GDBusConnection>::adopt(
        g_dbus_connection_new_for_address_sync(busAddress.c_str(), flags, nullptr, nullptr, nullptr));
    registerObject(kManagerPath, "org.freedesktop.GeoClue2.Manager");
    registerObject(kClientPath, "org.freedesktop.GeoClue2.Client");
  });
}

ScriptedGeoClue::~ScriptedGeoClue() {
  run([this] {
    g_dbus_connection_close_sync(bus_.get(), nullptr, nullptr);
    bus_.reset();
  });
}

void ScriptedGeoClue::appear() {
  run([this] { ownName(kService); });
}

void ScriptedGeoClue::vanish() {
  run([this] {
    g_variant_unref(g_dbus_connection_call_sync(
        bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ReleaseName",
        g_variant_new("(s)", kService), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
  });
}

void ScriptedGeoClue::refuseStart() {
  run([this] { refusesStart_ = true; });
}

void ScriptedGeoClue::setAvailableAccuracy(guint32 level) {
  run([this, level] {
    availableAccuracy_ = level;
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&changed, "{sv}", "AvailableAccuracyLevel", g_variant_new_uint32(level));
    g_dbus_connection_emit_signal(
        bus_.get(), nullptr, kManagerPath, "org.freedesktop.DBus.Properties", "PropertiesChanged",
        g_variant_new("(sa{sv}as)", "org.freedesktop.GeoClue2.Manager", &changed, nullptr), nullptr);
  });
}

void ScriptedGeoClue::report(double latitude, double longitude) {
  run([this, latitude, longitude] {
    const std::string before = fixes_.empty() ? "/" : kLocationPath + std::to_string(fixes_.size() - 1);
    const std::string now = kLocationPath + std::to_string(fixes_.size());
    fixes_.emplace_back(latitude, longitude);
    registerObject(now.c_str(), "org.freedesktop.GeoClue2.Location");
    g_dbus_connection_emit_signal(bus_.get(), nullptr, kClientPath, "org.freedesktop.GeoClue2.Client",
                                  "LocationUpdated", g_variant_new("(oo)", before.c_str(), now.c_str()),
                                  nullptr);
  });
}

void ScriptedGeoClue::serveStore(const std::string& desktopId, const std::string& accuracy) {
  run([this, &desktopId, &accuracy] {
    storedId_ = desktopId;
    storedAccuracy_ = accuracy;
    registerObject(kStorePath, kStoreService);
    ownName(kStoreService);
  });
}

void ScriptedGeoClue::changePermission(const std::string& desktopId, const std::string& accuracy) {
  run([this, &desktopId, &accuracy] {
    storedId_ = desktopId;
    storedAccuracy_ = accuracy;
    g_dbus_connection_emit_signal(
        bus_.get(), nullptr, kStorePath, kStoreService, "Changed",
        g_variant_new("(ssbv@a{sas})", "location", "location", FALSE, g_variant_new_byte(0), permissions()),
        nullptr);
  });
}

std::vector<std::string> ScriptedGeoClue::calls() {
  MutexLock lock(mutex_);
  return calls_;
}

int ScriptedGeoClue::count(const std::string& call) {
  const std::vector<std::string> all = calls();
  return static_cast<int>(std::count(all.begin(), all.end(), call));
}

std::size_t ScriptedGeoClue::peers() {
  std::size_t count = 0;
  run([this, &count] {
    GVariant* answer = g_dbus_connection_call_sync(
        bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "ListNames",
        nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    GVariant* names = g_variant_get_child_value(answer, 0);
    count = g_variant_n_children(names);
    g_variant_unref(names);
    g_variant_unref(answer);
  });
  return count;
}

void ScriptedGeoClue::run(std::function<void()> work) {
  std::promise<void> done;
  thread_.post([&] {
    work();
    if (bus_) g_dbus_connection_flush_sync(bus_.get(), nullptr, nullptr);
    done.set_value();
  });
  done.get_future().wait();
}

void ScriptedGeoClue::note(const std::string& call) {
  MutexLock lock(mutex_);
  calls_.push_back(call);
}

guint ScriptedGeoClue::registerObject(const char* path, const char* interface) {
  return g_dbus_connection_register_object(bus_.get(), path, interfaceNamed(interface), &vtable(), this,
                                           nullptr, nullptr);
}

bool ScriptedGeoClue::ownName(const char* name) {
  GVariant* answer = g_dbus_connection_call_sync(
      bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
      g_variant_new("(su)", name, 4u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  if (answer) g_variant_unref(answer);
  return answer;
}

GVariant* ScriptedGeoClue::permissions() const {
  GVariantBuilder table;
  g_variant_builder_init(&table, G_VARIANT_TYPE("a{sas}"));
  if (!storedAccuracy_.empty()) {
    const char* entry[] = {storedAccuracy_.c_str(), "0", nullptr};
    g_variant_builder_add(&table, "{s@as}", storedId_.c_str(), g_variant_new_strv(entry, -1));
  }
  return g_variant_builder_end(&table);
}

void ScriptedGeoClue::handle(const char*, const char* method, GVariant* parameters,
                             GDBusMethodInvocation* invocation) {
  note(method);
  if (g_str_equal(method, "GetClient")) {
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(o)", kClientPath));
  } else if (g_str_equal(method, "Start") && refusesStart_) {
    g_dbus_method_invocation_return_error_literal(invocation, G_DBUS_ERROR, G_DBUS_ERROR_ACCESS_DENIED, "no");
  } else if (g_str_equal(method, "Lookup")) {
    const char* table = nullptr;
    g_variant_get_child(parameters, 0, "&s", &table);
    g_dbus_method_invocation_return_value(invocation,
                                          g_variant_new("(@a{sas}v)", permissions(), g_variant_new_byte(0)));
  } else {
    g_dbus_method_invocation_return_value(invocation, nullptr);
  }
}

GVariant* ScriptedGeoClue::property(const char* path, const char* name) const {
  if (g_str_equal(name, "AvailableAccuracyLevel")) return g_variant_new_uint32(availableAccuracy_);
  if (g_str_equal(name, "DesktopId") || g_str_equal(name, "Description")) return g_variant_new_string("");
  if (g_str_equal(name, "RequestedAccuracyLevel")) return g_variant_new_uint32(0);
  const auto& fix = fixes_.at(static_cast<std::size_t>(std::atoi(path + sizeof kLocationPath - 1)));
  return g_variant_new_double(g_str_equal(name, "Latitude") ? fix.first : fix.second);
}

const GDBusInterfaceVTable& ScriptedGeoClue::vtable() {
  static const GDBusInterfaceVTable table = {
      [](GDBusConnection*, const char*, const char* path, const char*, const char* method,
         GVariant* parameters, GDBusMethodInvocation* invocation, gpointer self) {
        static_cast<ScriptedGeoClue*>(self)->handle(path, method, parameters, invocation);
      },
      [](GDBusConnection*, const char*, const char* path, const char*, const char* name, GError**,
         gpointer self) -> GVariant* { return static_cast<ScriptedGeoClue*>(self)->property(path, name); },
      [](GDBusConnection*, const char*, const char*, const char*, const char* name, GVariant* value, GError**,
         gpointer self) -> gboolean {
        char* text = g_variant_print(value, FALSE);
        static_cast<ScriptedGeoClue*>(self)->note(std::string(name) + "=" + text);
        g_free(text);
        return TRUE;
      },
      {}};
  return table;
}

}  // namespace vemora::gtk::test
