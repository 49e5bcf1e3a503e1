#pragma once

#include "backends/gtk/dispatch/MainQueue.h"
#include "backends/gtk/dispatch/TimerThread.h"
#include "backends/gtk/dispatch/WaitRegistry.h"
#include "backends/gtk/dispatch/WorkerPool.h"
#include "ports/Dispatch.h"

#include <sys/types.h>

#include <chrono>
#include <vector>

namespace vemora::gtk {

/// The dispatch port: the main queue in GLib's default main context, one timer thread, and a pool of workers.
///
/// The main thread is the process's initial thread, the one whose thread id is the process id. That is where
/// a GTK application calls `gtk_init` and iterates the default main context, and, unlike the context's
/// present owner, it is known before the main loop runs and while it does not.
///
/// When the process ends, `stop` runs before the static objects that are older than the dispatch are
/// destroyed: waits are cut short, the timer thread and the workers are joined, the main queue begins no more
/// blocks. What had not begun is kept and never run. Work that does not end within a second is left behind,
/// since an exit must not hang.
class GLibDispatch final : public Dispatch {
 public:
  /// How long the end of the process waits for work that runs.
  static constexpr std::chrono::milliseconds kStopLimit{1000};

  explicit GLibDispatch(std::chrono::milliseconds stopLimit = kStopLimit);
  /// For tests; the process's own is never destroyed. Main thread.
  ~GLibDispatch() override;

  bool isMainThread() const override;
  void mainAsync(Work work) override;
  void mainAfter(double seconds, Work work) override;
  void globalAsync(Work work) override;
  void globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) override;
  void detachNewThread(Work work) override;
  double now() const override;
  bool waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline)
      VMR_REQUIRES(mutex) override;

  /// May be called from any thread, also from a block, and again.
  void stop(SteadyTime limit);
  /// Stops this dispatch, the first that asks, when the process ends.
  void stopWithProcess();
  /// For the end of the process.
  void stopAtProcessEnd();

 private:
  void handOn(std::vector<TimerThread::DueBlock>& due);

  const pid_t process_;
  const std::chrono::milliseconds stopLimit_;
  MainQueue mainQueue_;
  WaitRegistry waits_;
  WorkerPool pool_;
  TimerThread timers_;
};

}  // namespace vemora::gtk
