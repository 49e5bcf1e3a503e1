#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <gio/gio.h>

#include <functional>
#include <memory>
#include <thread>

namespace vemora::gtk {

/// A thread that runs a main context of its own, for a service whose answers must not depend on the host's
/// main loop. The context is the thread's thread-default one: what is subscribed to on it is heard on it.
///
/// Work runs in the order in which it was posted. Destruction runs what was posted before, then ends the
/// thread; it may not happen on the thread itself.
class ContextThread {
 public:
  explicit ContextThread(const char* name);
  ~ContextThread();
  ContextThread(const ContextThread&) = delete;
  ContextThread& operator=(const ContextThread&) = delete;

  void post(std::function<void()> work);

 private:
  std::unique_ptr<GMainContext, GFree<g_main_context_unref>> context_;
  std::unique_ptr<GMainLoop, GFree<g_main_loop_unref>> loop_;
  std::thread thread_;
};

/// Runs `work` once on `context`, never before returning.
void runOnContext(GMainContext* context, std::function<void()> work);

}  // namespace vemora::gtk
