#pragma once

#include <glib.h>

#include <chrono>
#include <functional>

namespace vemora::test {

/// Iterates the default main context until the condition holds; false when it does not after a generous
/// while.
inline bool pumpUntil(const std::function<bool()>& condition,
                      std::chrono::milliseconds limit = std::chrono::seconds(60)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  const guint ticker = g_timeout_add(
      2, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  while (!condition() && std::chrono::steady_clock::now() < end) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(ticker);
  return condition();
}

}  // namespace vemora::test
