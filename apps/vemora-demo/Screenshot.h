#pragma once

#include <gtk/gtk.h>

#include <filesystem>
#include <optional>
#include <string>

namespace vemora {

/// Saves what `window` shows as a PNG. Absent when that succeeded; else what went wrong.
std::optional<std::string> saveScreenshot(GtkWindow* window, const std::filesystem::path& file);

}  // namespace vemora
