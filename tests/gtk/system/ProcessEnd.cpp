#include "ProcessEnd.h"

#include "backends/gtk/dispatch/GLibDispatch.h"

#include <glib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <thread>

namespace vemora::test {

namespace {

/// Older than the dispatch, so destroyed after its stop.
struct StaticObject {
  std::atomic<bool> isDestroyed{false};
  std::atomic<int> waits{0};  ///< In progress.
  std::atomic<std::chrono::steady_clock::time_point> exitLimit{std::chrono::steady_clock::time_point::max()};
  ~StaticObject() {
    isDestroyed = true;
    if (waits != 0) std::abort();
    // Only work that does not end may delay it.
    if (std::chrono::steady_clock::now() > exitLimit.load()) std::abort();
    // Leaves time to detect work that still runs.
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
  }
  void use() {
    if (isDestroyed) std::abort();
  }
};

StaticObject staticObject;

/// Work of every kind, some of it without an end.
class Load {
 public:
  explicit Load(Dispatch& dispatch) : dispatch_(dispatch) {}

  void start() {
    for (int i = 0; i < 8; ++i) dispatch_.globalAsync([this] { wait(); });
    for (int i = 0; i < 4; ++i) dispatch_.detachNewThread([this] { repost(); });
    for (int i = 0; i < 1000; ++i) {
      dispatch_.globalAfter(i % 2 ? 3600 : i * 1e-4,
                            std::make_shared<DispatchBlock>([] { staticObject.use(); }));
    }
    dispatch_.mainAfter(0.001, [] { staticObject.use(); });
    chain();
  }

 private:
  void wait() {
    ++staticObject.waits;
    MutexLock lock(mutex_);
    while (dispatch_.waitUntil(mutex_, condition_, dispatch_.now() + 3600)) {
    }
    staticObject.use();
    --staticObject.waits;
  }

  void repost() {
    staticObject.use();
    dispatch_.mainAsync([] { staticObject.use(); });
    std::this_thread::sleep_for(std::chrono::microseconds(100));
    dispatch_.globalAsync([this] { repost(); });
  }

  void chain() {
    staticObject.use();
    dispatch_.mainAsync([this] { chain(); });
  }

  Dispatch& dispatch_;
  Mutex mutex_;
  std::condition_variable condition_;
};

[[noreturn]] void iterateForever() {
  for (;;) g_main_context_iteration(nullptr, TRUE);
}

[[noreturn]] void exitNow() {
  staticObject.exitLimit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  std::exit(kProcessEndStatus);
}

/// What a program does whose child could not start another program.
[[noreturn]] void exitInForkedChild() {
  const pid_t child = fork();
  if (child == 0) {
    staticObject.waits = 0;  // Those are the parent's.
    exitNow();
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) std::abort();
  if (WEXITSTATUS(status) != kProcessEndStatus) std::abort();
  exitNow();
}

}  // namespace

int runProcessEnd(const std::string& way) {
  std::string option = "--end-process";
  std::string argument = way;
  std::string program = "/proc/self/exe";
  char* arguments[] = {program.data(), option.data(), argument.data(), nullptr};
  int status = -1;
  const bool ran = g_spawn_sync(nullptr, arguments, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr,
                                nullptr, &status, nullptr);
  return ran && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void endProcess(const std::string& way) {
  // Work that does not end is left behind; everything else is given the time that a busy machine may need.
  const bool isBlocked = way == "blockedWorker";
  const std::chrono::milliseconds stopLimit(isBlocked ? 200 : 60'000);
  // Reachable to the end, as the platform's is.
  static gtk::GLibDispatch& dispatch = *new gtk::GLibDispatch(stopLimit);
  dispatch.stopWithProcess();
  static Load& load = *new Load(dispatch);
  if (isBlocked) {
    dispatch.globalAsync([] {
      dispatch.mainAsync(exitNow);
      for (;;) pause();
    });
    iterateForever();
  }
  load.start();
  for (int i = 0; i < 200; ++i) g_main_context_iteration(nullptr, FALSE);
  if (way == "main") exitNow();
  if (way == "fork") exitInForkedChild();
  if (way == "worker") dispatch.globalAsync(exitNow);
  if (way == "timer") dispatch.globalAfter(0.01, std::make_shared<DispatchBlock>(exitNow));
  if (way == "mainBlock") dispatch.mainAsync(exitNow);
  iterateForever();
}

}  // namespace vemora::test
