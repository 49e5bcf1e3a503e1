#pragma once

#include "backends/gtk/base/ConditionWait.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "base/Mutex.h"

#include <glib.h>

#include <functional>
#include <thread>

namespace vemora::gtk {

/// A thread that runs a main context of its own, for services that must not depend on the host's main loop.
/// The context is the thread-default one of the thread, so GLib delivers the results of asynchronous calls
/// and the signals that are subscribed to there on this thread.
///
/// Work runs in the order in which it was posted, and must not block for long. `post` is thread-safe.
class ContextThread {
 public:
  using Work = std::function<void()>;

  explicit ContextThread(const char* name);
  /// Runs the work that was posted before, then ends the thread. Not to be called on the thread itself.
  ~ContextThread();
  ContextThread(const ContextThread&) = delete;
  ContextThread& operator=(const ContextThread&) = delete;

  void post(Work work);
  /// As the destructor, but returns at `limit` at the latest and then leaves the thread running. A no-op on
  /// the thread itself and in a forked child, which has no such thread.
  void stop(SteadyTime limit);

 private:
  void run(const char* name);

  const GMainContextPtr context_;
  const GMainLoopPtr loop_;
  const GPid process_;

  Mutex mutex_;  ///< Guards `hasEnded_`.
  std::condition_variable ended_;
  bool hasEnded_ VMR_GUARDED_BY(mutex_) = false;
  std::thread thread_;  ///< Written by the constructor and by `stop` only.
};

/// Runs `work` once in an iteration of `context`, never before this returns. Thread-safe.
void runOnContext(GMainContext* context, std::function<void()> work);

}  // namespace vemora::gtk
