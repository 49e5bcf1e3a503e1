#include "backends/gtk/base/ContextThread.h"

#include <pthread.h>
#include <unistd.h>

#include <utility>

namespace vemora::gtk {

void runOnContext(GMainContext* context, std::function<void()> work) {
  const GSourcePtr source(g_idle_source_new());
  g_source_set_priority(source.get(), G_PRIORITY_DEFAULT);
  g_source_set_callback(
      source.get(),
      [](gpointer data) -> gboolean {
        (*static_cast<std::function<void()>*>(data))();
        return G_SOURCE_REMOVE;
      },
      new std::function<void()>(std::move(work)),
      [](gpointer data) { delete static_cast<std::function<void()>*>(data); });
  g_source_attach(source.get(), context);
}

ContextThread::ContextThread(const char* name)
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_.get(), FALSE)), process_(getpid()) {
  thread_ = std::thread([this, name] { run(name); });
}

ContextThread::~ContextThread() {
  stop(SteadyTime::max());
}

void ContextThread::post(Work work) {
  runOnContext(context_.get(), std::move(work));
}

void ContextThread::run(const char* name) {
  pthread_setname_np(pthread_self(), name);
  g_main_context_push_thread_default(context_.get());
  g_main_loop_run(loop_.get());
  g_main_context_pop_thread_default(context_.get());
  // Notified under the lock: the object may be destroyed as soon as the waiter has seen the flag.
  MutexLock lock(mutex_);
  hasEnded_ = true;
  ended_.notify_all();
}

void ContextThread::stop(SteadyTime limit) {
  if (!thread_.joinable() || getpid() != process_ || thread_.get_id() == std::this_thread::get_id()) return;
  // Posted, since a loop that does not run yet would not notice.
  post([this] { g_main_loop_quit(loop_.get()); });
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
