#include "backends/gtk/base/ContextThread.h"

#include <pthread.h>

#include <utility>

namespace vemora::gtk {

void runOnContext(GMainContext* context, std::function<void()> work) {
  const std::unique_ptr<GSource, GFree<g_source_unref>> source(g_idle_source_new());
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
    : context_(g_main_context_new()), loop_(g_main_loop_new(context_.get(), FALSE)) {
  thread_ = std::thread([this, name] {
    pthread_setname_np(pthread_self(), name);
    g_main_context_push_thread_default(context_.get());
    g_main_loop_run(loop_.get());
    g_main_context_pop_thread_default(context_.get());
  });
}

ContextThread::~ContextThread() {
  // Posted, so that it cannot come before the loop runs.
  post([this] { g_main_loop_quit(loop_.get()); });
  thread_.join();
}

void ContextThread::post(std::function<void()> work) {
  runOnContext(context_.get(), std::move(work));
}

}  // namespace vemora::gtk
