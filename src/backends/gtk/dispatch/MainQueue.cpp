#include "backends/gtk/dispatch/MainQueue.h"

#include <chrono>
#include <utility>

namespace vemora::gtk {

namespace {

using Clock = std::chrono::steady_clock;

/// How long a pass may begin new blocks, and how long the queue may stay busy before it yields for one
/// iteration.
constexpr std::chrono::milliseconds kPass{4};

}  // namespace

struct MainQueue::Source {
  GSource base;
  MainQueue* queue;

  static MainQueue& queueOf(GSource* source) { return *reinterpret_cast<Source*>(source)->queue; }
};

GSourceFuncs MainQueue::kFunctions = {prepare, check, dispatch, nullptr, nullptr, nullptr};

MainQueue::MainQueue() : context_(g_main_context_ref(g_main_context_default())) {
  source_ = g_source_new(&kFunctions, sizeof(Source));
  reinterpret_cast<Source*>(source_)->queue = this;
  g_source_set_static_name(source_, "Vemora main queue");
  g_source_attach(source_, context_);
}

MainQueue::~MainQueue() {
  g_source_destroy(source_);
  g_source_unref(source_);
  g_main_context_unref(context_);
}

void MainQueue::post(Work work) {
  bool wasEmpty = false;
  {
    MutexLock lock(mutex_);
    incoming_.push_back(std::move(work));
    wasEmpty = waiting_.fetch_add(1) == 0;
  }
  // The owner of the context is not asleep in it: it looks at the queue before it sleeps.
  if (wasEmpty && !closed_ && !g_main_context_is_owner(context_)) g_main_context_wakeup(context_);
}

void MainQueue::close() {
  closed_ = true;
}

void MainQueue::awaitIdle(SteadyTime limit) {
  MutexLock lock(mutex_);
  bool inTime = true;
  while (running_ && inTime) inTime = waitOnCondition(mutex_, idle_, limit);
}

bool MainQueue::hasWork() const {
  return waiting_ != 0 && !closed_;
}

gboolean MainQueue::prepare(GSource* source, int* timeout) {
  MainQueue& queue = Source::queueOf(source);
  const bool hasWork = queue.hasWork();
  queue.standsBack_ = hasWork && std::exchange(queue.standsBackNext_, false);
  *timeout = hasWork ? 0 : -1;
  return hasWork && !queue.standsBack_;
}

gboolean MainQueue::check(GSource* source) {
  const MainQueue& queue = Source::queueOf(source);
  return queue.hasWork() && !queue.standsBack_;
}

gboolean MainQueue::dispatch(GSource* source, GSourceFunc, gpointer) {
  Source::queueOf(source).runPass();
  return G_SOURCE_CONTINUE;
}

void MainQueue::runPass() {
  if (!beginPass()) return;
  const SteadyTime begin = Clock::now();
  SteadyTime now = begin;
  do {
    const Work work = std::move(pass_.front());
    pass_.pop_front();
    --waiting_;
    runBlock_.load(std::memory_order_relaxed)(work);
    now = Clock::now();
  } while (!pass_.empty() && !closed_ && now - begin < kPass);

  busySince_ = std::min(busySince_, begin);
  if (waiting_ == 0) {
    busySince_ = SteadyTime::max();
  } else if (now - busySince_ >= kPass) {
    busySince_ = SteadyTime::max();
    standsBackNext_ = true;
  }
  endPass();
}

bool MainQueue::beginPass() {
  MutexLock lock(mutex_);
  if (pass_.empty()) pass_.swap(incoming_);
  running_ = !pass_.empty() && !closed_;
  return running_;
}

void MainQueue::endPass() {
  {
    MutexLock lock(mutex_);
    running_ = false;
  }
  idle_.notify_all();
}

}  // namespace vemora::gtk
