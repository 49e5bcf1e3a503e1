#include "backends/gtk/services/PrivateBus.h"

#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>

namespace vemora::gtk {

namespace {

/// GLib would start a session bus where there is none.
bool wouldStartBus(GBusType type) {
  if (type != G_BUS_TYPE_SESSION || std::getenv("DBUS_SESSION_BUS_ADDRESS")) return false;
  return access((std::string(g_get_user_runtime_dir()) + "/bus").c_str(), F_OK) != 0;
}

}  // namespace

std::unique_ptr<PrivateBus> PrivateBus::open(GBusType type, GCancellable* cancellable) {
  if (wouldStartBus(type)) return nullptr;
  const GStringPtr address(g_dbus_address_get_for_bus_sync(type, cancellable, nullptr));
  if (!address) return nullptr;
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  auto connection = GObjectPtr<GDBusConnection>::adopt(
      g_dbus_connection_new_for_address_sync(address.get(), flags, nullptr, cancellable, nullptr));
  return connection ? std::unique_ptr<PrivateBus>(new PrivateBus(std::move(connection))) : nullptr;
}

PrivateBus::PrivateBus(GObjectPtr<GDBusConnection> connection) : connection_(std::move(connection)) {
  g_signal_connect(connection_.get(), "closed",
                   G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, gpointer closed) {
                     *static_cast<bool*>(closed) = true;
                   }),
                   &closed_);
}

PrivateBus::~PrivateBus() {
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
  while (!closed_) g_main_context_iteration(g_main_context_get_thread_default(), TRUE);
  g_signal_handlers_disconnect_by_data(connection_.get(), &closed_);
}

}  // namespace vemora::gtk
