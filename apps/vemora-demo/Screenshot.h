#pragma once

#include <gtk/gtk.h>

#include <filesystem>
#include <functional>
#include <string>

namespace vemora {

enum class ScreenshotResult {
  Taken,
  NothingThere,  ///< Taken, but what it is about shows hardly more than one colour.
  NotTaken,
};

/// Saves the next frame of what `window` shows as a PNG. `subject` says which part of it the picture is
/// about, in the window's coordinates.
///
/// Threads: the main one. Completion: `done` is called once, unless the window is destroyed before its next
/// frame. `problem` says why there is no file.
void saveScreenshot(GtkWindow* window, const graphene_rect_t& subject, const std::filesystem::path& file,
                    std::function<void(ScreenshotResult result, const std::string& problem)> done);

}  // namespace vemora
