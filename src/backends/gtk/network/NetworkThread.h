#pragma once

#include "backends/gtk/base/ConditionWait.h"
#include "base/Mutex.h"

#include <glib.h>

#include <functional>
#include <thread>

namespace vemora::gtk {

/// The thread that all URL sessions live on, with a main context of its own: requests wait for the network
/// most of their time, so one thread serves any number of them, and neither the application's main loop nor
/// its threads feel it.
///
/// Started by its first user and stopped when the process ends; what was posted and did not run is then
/// dropped. Work must not wait.
class NetworkThread {
 public:
  using Work = std::function<void()>;

  static NetworkThread& shared();

  NetworkThread(const NetworkThread&) = delete;
  NetworkThread& operator=(const NetworkThread&) = delete;

  /// Runs `work` on the thread, in order. From any thread.
  void post(Work work);

 private:
  NetworkThread();
  void run();
  void stop();

  GMainContext* const context_;
  GMainLoop* const loop_;
  const GPid process_;

  /// Guards everything below.
  Mutex mutex_;
  std::condition_variable ended_;
  bool hasEnded_ VMR_GUARDED_BY(mutex_) = false;
  std::thread thread_;  ///< Set by the constructor and touched again only by `stop`.
};

}  // namespace vemora::gtk
