#pragma once

#include <glib.h>

#include <functional>

namespace vemora::test {

/// Runs the default main context until the condition holds; false when it does not within the seconds. The
/// default is a time that only a fault takes.
inline bool waitUntil(const std::function<bool()>& condition, double seconds = 60) {
  const gint64 end = g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
  // Wakes the loop for conditions that no event announces.
  constexpr guint kTick = 2;
  const guint tick = g_timeout_add(
      kTick, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  bool holds = condition();
  while (!holds && g_get_monotonic_time() < end) {
    g_main_context_iteration(nullptr, TRUE);
    holds = condition();
  }
  g_source_remove(tick);
  return holds;
}

/// Runs what the default main context has ready now.
inline void runPending() {
  while (g_main_context_iteration(nullptr, FALSE)) continue;
}

}  // namespace vemora::test
