#pragma once

#include "ChildProcess.h"

#include <gio/gio.h>

#include <string>

namespace vemora::test {

/// A screen and a session bus for the programs that a test starts: both are in this process's environment
/// while it lives.
class HeadlessDesktop {
 public:
  HeadlessDesktop()
      : screen_({"Xvfb", "-displayfd", "1", "-screen", "0", "1280x1024x24", "-nolisten", "tcp"}),
        bus_(GObjectPtr<GTestDBus>::adopt(g_test_dbus_new(G_TEST_DBUS_NONE))) {
    g_test_dbus_up(bus_.get());
    // After the bus, which takes away any screen.
    g_setenv("DISPLAY", (":" + screen_.line().value_or("")).c_str(), TRUE);
    g_unsetenv("WAYLAND_DISPLAY");
  }
  HeadlessDesktop(const HeadlessDesktop&) = delete;
  HeadlessDesktop& operator=(const HeadlessDesktop&) = delete;
  ~HeadlessDesktop() {
    // A connection of GLib's to the bus would end this process with it.
    const auto connection =
        GObjectPtr<GDBusConnection>::adopt(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
    if (connection) g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
    g_test_dbus_stop(bus_.get());
  }

 private:
  ChildProcess screen_;
  GObjectPtr<GTestDBus> bus_;
};

}  // namespace vemora::test
