#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <gio/gio.h>

namespace vemora::gtk::test {

/// A network monitor whose state the test sets.
GObjectPtr<GNetworkMonitor> makeFakeNetworkMonitor();
/// Sets the connectivity and emits "network-changed".
void changeNetwork(GNetworkMonitor* monitor, GNetworkConnectivity connectivity);

}  // namespace vemora::gtk::test
