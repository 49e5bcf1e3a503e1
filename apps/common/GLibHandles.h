#pragma once

#include "../../src/backends/gtk/base/GObjectPtr.h"

namespace vemora {

/// The programs own what GLib returns in the same way as the library does.
using glib::GBytesPtr;
using glib::GErrorHolder;
using glib::GMainLoopPtr;
using glib::GOptionContextPtr;
using glib::GStringPtr;
using glib::GUriPtr;

}  // namespace vemora
