#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "ports/NetworkReachability.h"

#include <gio/gio.h>

#include <memory>
#include <string>

namespace vemora::gtk {

/// Reachability from the kernel's routes and interfaces, looked at again whenever `monitor` says that the
/// network has changed. The monitor emits its signals on the main context. Interfaces are described under
/// `sysfs`.
std::unique_ptr<NetworkReachabilityFactory> makeGioNetworkReachability(GObjectPtr<GNetworkMonitor> monitor,
                                                                       std::string sysfs);

}  // namespace vemora::gtk
