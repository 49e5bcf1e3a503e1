#pragma once

#include <glib.h>

#include <functional>
#include <utility>

namespace vemora {

/// Runs `work` once on the main thread when the time has passed. Returns the id of its source, with which it
/// can be cancelled.
inline guint addTimeout(unsigned milliseconds, std::function<void()> work) {
  return g_timeout_add_full(
      G_PRIORITY_DEFAULT, milliseconds,
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(work)),
      [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
}

}  // namespace vemora
