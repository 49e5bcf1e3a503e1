#pragma once

#include "../../src/backends/gtk/base/GObjectPtr.h"

namespace vemora {

/// The programs own GObjects in the same way as the library's GTK backend.
using gtk::GObjectPtr;

}  // namespace vemora
