#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <gio/gio.h>

namespace vemora::gtk::test {

/// A network monitor that says what it is told to.
GObjectPtr<GNetworkMonitor> makeFakeNetworkMonitor();
/// Sets the connectivity and emits "network-changed".
void changeNetwork(GNetworkMonitor* monitor, GNetworkConnectivity connectivity);

}  // namespace vemora::gtk::test
