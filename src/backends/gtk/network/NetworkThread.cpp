#include "backends/gtk/network/NetworkThread.h"

#include "backends/gtk/base/ContextThread.h"

#include <pthread.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <utility>

namespace vemora::gtk {

namespace {

constexpr std::chrono::seconds kStopLimit{1};

}  // namespace

NetworkThread& NetworkThread::shared() {
  static NetworkThread& thread = *new NetworkThread;
  return thread;
}

NetworkThread::NetworkThread()
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)), process_(getpid()) {
  thread_ = std::thread([this] { run(); });
  std::atexit([] { shared().stop(); });
}

void NetworkThread::post(Work work) {
  runOnContext(context_, std::move(work));
}

void NetworkThread::run() {
  pthread_setname_np(pthread_self(), "vemora-network");
  g_main_context_push_thread_default(context_);
  g_main_loop_run(loop_);
  g_main_context_pop_thread_default(context_);
  {
    MutexLock lock(mutex_);
    hasEnded_ = true;
  }
  ended_.notify_all();
}

void NetworkThread::stop() {
  if (getpid() != process_ || thread_.get_id() == std::this_thread::get_id()) return;
  // Posted, since quitting a loop that does not run yet would be lost.
  post([this] { g_main_loop_quit(loop_); });
  const SteadyTime limit = std::chrono::steady_clock::now() + kStopLimit;
  bool hasEnded = false;
  {
    MutexLock lock(mutex_);
    bool inTime = true;
    while (!hasEnded_ && inTime) inTime = waitOnCondition(mutex_, ended_, limit);
    hasEnded = hasEnded_;
  }
  if (hasEnded) thread_.join();
}

}  // namespace vemora::gtk
