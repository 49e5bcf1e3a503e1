#pragma once

#include <glib.h>

#include <chrono>
#include <functional>

namespace vemora::gtk::test {

/// Runs the main loop until `done` holds; false when it did not within a time that only a fault can take.
inline bool runUntil(const std::function<bool()>& done,
                     std::chrono::seconds most = std::chrono::seconds(20)) {
  const auto deadline = std::chrono::steady_clock::now() + most;
  const guint tick = g_timeout_add(
      2, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  bool held = done();
  while (!held && std::chrono::steady_clock::now() < deadline) {
    g_main_context_iteration(nullptr, TRUE);
    held = done();
  }
  g_source_remove(tick);
  return held;
}

/// Runs what the main loop has ready now.
inline void runPending() {
  while (g_main_context_iteration(nullptr, FALSE)) {
  }
}

}  // namespace vemora::gtk::test
