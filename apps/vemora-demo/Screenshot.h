#pragma once

#include <gtk/gtk.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace vemora {

/// Saves the next frame of what `window` shows as a PNG, and calls `done`, with what went wrong if something
/// did. A window that goes before that frame takes `done` with it.
///
/// Threads: the main one.
void saveScreenshot(GtkWindow* window, const std::filesystem::path& file,
                    std::function<void(const std::optional<std::string>& problem)> done);

}  // namespace vemora
