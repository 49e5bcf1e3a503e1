#include "backends/testing/TestingDispatch.h"

#include <algorithm>
#include <chrono>

namespace vemora::testing {

namespace {

/// How often a waiting thread looks at its condition, in real time.
constexpr std::chrono::milliseconds kLookInterval{1};

}  // namespace

TestingDispatch::TestingDispatch() = default;
TestingDispatch::~TestingDispatch() {
  dropEverything();
}

bool TestingDispatch::isMainThread() const {
  return std::this_thread::get_id() == mainThread_;
}

void TestingDispatch::mainAsync(Work work) {
  MutexLock lock(mutex_);
  ++activity_;
  main_.push_back(std::move(work));
  changed_.notify_all();
}

void TestingDispatch::mainAfter(double seconds, Work work) {
  schedule(seconds, {true, std::make_shared<DispatchBlock>(std::move(work))});
}

void TestingDispatch::globalAfter(double seconds, std::shared_ptr<DispatchBlock> block) {
  schedule(seconds, {false, std::move(block)});
}

void TestingDispatch::schedule(double seconds, Timer timer) {
  MutexLock lock(mutex_);
  ++activity_;
  timers_.emplace(now_ + seconds, std::move(timer));
}

void TestingDispatch::globalAsync(Work work) {
  detachNewThread(std::move(work));
}

void TestingDispatch::detachNewThread(Work work) {
  MutexLock lock(mutex_);
  if (stopping_) return;
  ++activity_;
  ++running_;
  std::thread thread([this, work = std::move(work)]() mutable {
    work();
    work = nullptr;
    threadEnded();
  });
  const auto id = thread.get_id();
  threads_.emplace(id, std::move(thread));
}

void TestingDispatch::threadEnded() {
  MutexLock lock(mutex_);
  ++activity_;
  --running_;
  const auto self = threads_.find(std::this_thread::get_id());
  ended_.push_back(std::move(self->second));
  threads_.erase(self);
  waits_.erase(std::this_thread::get_id());
  changed_.notify_all();
}

void TestingDispatch::joinEnded() {
  std::vector<std::thread> ended;
  {
    MutexLock lock(mutex_);
    ended.swap(ended_);
  }
  for (std::thread& thread : ended) thread.join();
}

double TestingDispatch::now() const {
  MutexLock lock(mutex_);
  return now_;
}

bool TestingDispatch::waitUntil(Mutex& mutex, std::condition_variable& condition, double deadline) {
  const bool inBackground = !isMainThread();
  {
    MutexLock lock(mutex_);
    if (stopping_ || now_ >= deadline) return false;
    if (inBackground) {
      Wait& wait = waits_[std::this_thread::get_id()];
      if (wait.condition != &condition || wait.deadline != deadline) ++activity_;
      wait = {&condition, deadline, round_};
      --running_;
      changed_.notify_all();
    }
  }
  std::unique_lock<std::mutex> native(mutex.native(), std::adopt_lock);
  condition.wait_for(native, kLookInterval);
  native.release();
  MutexLock lock(mutex_);
  if (inBackground) ++running_;
  return !stopping_ && now_ < deadline;
}

bool TestingDispatch::runOneMain() {
  Work work;
  {
    MutexLock lock(mutex_);
    if (main_.empty()) return false;
    work = std::move(main_.front());
    main_.pop_front();
  }
  work();
  return true;
}

void TestingDispatch::runMain() {
  std::size_t count = 0;
  {
    MutexLock lock(mutex_);
    count = main_.size();
  }
  while (count-- > 0 && runOneMain()) {
  }
}

/// Until every background thread has ended or waits, or the main queue has work.
void TestingDispatch::awaitBackground() {
  MutexLock lock(mutex_);
  std::unique_lock<std::mutex> native(mutex_.native(), std::adopt_lock);
  while (running_ > 0 && main_.empty()) changed_.wait_for(native, kLookInterval);
  native.release();
}

/// Makes every waiting thread test its condition once more, and returns the number of changes up to then.
std::uint64_t TestingDispatch::awaitRound() {
  MutexLock lock(mutex_);
  const std::uint64_t round = ++round_;
  const auto hasLooked = [&](const auto& entry) { return entry.second.round >= round; };
  std::unique_lock<std::mutex> native(mutex_.native(), std::adopt_lock);
  while (running_ > 0 || !std::all_of(waits_.begin(), waits_.end(), hasLooked)) {
    if (!main_.empty()) break;
    changed_.wait_for(native, kLookInterval);
  }
  native.release();
  return activity_;
}

void TestingDispatch::settle() {
  for (;;) {
    while (runOneMain()) {
    }
    awaitBackground();
    const std::uint64_t before = awaitRound();
    const std::uint64_t after = awaitRound();
    joinEnded();
    MutexLock lock(mutex_);
    if (before == after && main_.empty() && running_ == 0) return;
  }
}

std::optional<double> TestingDispatch::nextMoment(double limit) const {
  MutexLock lock(mutex_);
  std::optional<double> next;
  const auto consider = [&next, limit, now = now_](double moment) {
    if (moment > now && moment <= limit && (!next || moment < *next)) next = moment;
  };
  if (!timers_.empty()) consider(timers_.begin()->first);
  for (const auto& [thread, wait] : waits_) consider(wait.deadline);
  return next;
}

std::optional<TestingDispatch::Timer> TestingDispatch::takeDueTimer() {
  MutexLock lock(mutex_);
  if (timers_.empty() || timers_.begin()->first > now_) return std::nullopt;
  Timer timer = std::move(timers_.begin()->second);
  timers_.erase(timers_.begin());
  return timer;
}

/// Releases cancelled blocks that are due, all of them on one background thread: there may be thousands.
bool TestingDispatch::dropDueCancelled() {
  std::vector<std::shared_ptr<DispatchBlock>> dropped;
  {
    MutexLock lock(mutex_);
    const auto end = timers_.upper_bound(now_);
    for (auto timer = timers_.begin(); timer != end;) {
      const bool cancelled = timer->second.block->isCancelled();
      if (cancelled) dropped.push_back(std::move(timer->second.block));
      timer = cancelled ? timers_.erase(timer) : std::next(timer);
    }
  }
  if (dropped.empty()) return false;
  detachNewThread([dropped = std::move(dropped)] {});
  return true;
}

void TestingDispatch::fire(Timer timer) {
  auto run = [block = std::move(timer.block)] { block->run(); };
  timer.onMain ? mainAsync(std::move(run)) : globalAsync(std::move(run));
}

void TestingDispatch::advance(double seconds) {
  const double limit = now() + seconds;
  for (;;) {
    settle();
    if (dropDueCancelled()) continue;
    if (auto timer = takeDueTimer()) {
      fire(*std::move(timer));
      continue;
    }
    const std::optional<double> next = nextMoment(limit);
    MutexLock lock(mutex_);
    if (!next && now_ == limit) return;
    now_ = next.value_or(limit);
  }
}

std::size_t TestingDispatch::pendingTimers() const {
  MutexLock lock(mutex_);
  return timers_.size();
}

/// Destroying a block may queue further blocks, so this repeats until the queues are empty.
void TestingDispatch::dropEverything() {
  for (;;) {
    std::deque<Work> main;
    std::multimap<double, Timer> timers;
    std::map<std::thread::id, std::thread> threads;
    {
      MutexLock lock(mutex_);
      stopping_ = true;
      main.swap(main_);
      timers.swap(timers_);
    }
    const bool hadWork = !main.empty() || !timers.empty();
    main.clear();
    timers.clear();
    {
      MutexLock lock(mutex_);
      std::unique_lock<std::mutex> native(mutex_.native(), std::adopt_lock);
      while (!threads_.empty()) changed_.wait_for(native, kLookInterval);
      native.release();
    }
    joinEnded();
    MutexLock lock(mutex_);
    if (!hadWork && main_.empty() && timers_.empty()) return;
  }
}

void TestingDispatch::reset() {
  dropEverything();
  MutexLock lock(mutex_);
  stopping_ = false;
  now_ = 0;
}

}  // namespace vemora::testing
