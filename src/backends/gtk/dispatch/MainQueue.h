#pragma once

#include "backends/gtk/base/ConditionWait.h"
#include "base/Mutex.h"

#include <glib.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>

namespace vemora::gtk {

/// Blocks for the main thread, in the order in which they were given, as one source of the default main
/// context.
///
/// All blocks share one source: creating a source is expensive, and GLib does not guarantee the order of
/// separate ones. The context is woken only when the queue was empty. A pass runs the blocks that were queued
/// when it began, for a few milliseconds at most. A queue that stays busy yields now and then, because
/// drawing has a lower priority.
///
/// `post` may be called from any thread; the rest belongs to the owner.
class MainQueue {
 public:
  using Work = std::function<void()>;
  using BlockRunner = void (*)(const Work& block);

  /// What calls each block from now on, such as a watch around it. Before the first block.
  static void setBlockRunner(BlockRunner runner) { runBlock_ = runner; }

  MainQueue();
  /// Main thread.
  ~MainQueue();
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;

  void post(Work work);
  /// No further block begins. Blocks that wait or come later are kept and never run.
  void close();
  /// Waits, until `limit`, for the block that runs. Not on the main thread.
  void awaitIdle(SteadyTime limit);

 private:
  struct Source;
  static gboolean prepare(GSource* source, int* timeout);
  static gboolean check(GSource* source);
  static gboolean dispatch(GSource* source, GSourceFunc, gpointer);
  static GSourceFuncs kFunctions;

  bool hasWork() const;
  void runPass();
  bool beginPass();
  void endPass();

  static inline std::atomic<BlockRunner> runBlock_{[](const Work& block) { block(); }};

  GMainContext* const context_;
  GSource* source_ = nullptr;
  std::atomic<std::size_t> waiting_{0};  ///< Blocks that have not begun.
  std::atomic<bool> closed_{false};

  // Main thread only.
  std::deque<Work> pass_;  ///< Older than all of `incoming_`.
  SteadyTime busySince_ = SteadyTime::max();
  bool standsBackNext_ = false;
  bool standsBack_ = false;

  /// Guards everything below.
  Mutex mutex_;
  std::deque<Work> incoming_ VMR_GUARDED_BY(mutex_);
  bool running_ VMR_GUARDED_BY(mutex_) = false;
  std::condition_variable idle_;
};

}  // namespace vemora::gtk
