#include "core/bridge/DeliveryLine.h"

#include "ports/Platform.h"

#include <optional>
#include <utility>

namespace vemora {

namespace {

constexpr double kPatience = 0.01;

}  // namespace

void DeliveryLine::deliver(Work work) {
  // A thread that is started under the lock would wake only to wait for it.
  std::optional<Runner> runner;
  std::optional<Piece> watched;
  {
    MutexLock lock(mutex_);
    waiting_.push_back(std::move(work));
    if (!isRunning_) {
      runner = nextRunner();
    } else if (!std::exchange(isWatched_, true)) {
      watched = begun_;
    }
  }
  if (runner) start(*runner);
  if (watched) watch(*watched);
}

DeliveryLine::Runner DeliveryLine::nextRunner() {
  isRunning_ = true;
  return ++inCharge_;
}

void DeliveryLine::start(Runner runner) {
  dispatch().detachNewThread([self = shared_from_this(), runner] { self->run(runner); });
}

void DeliveryLine::watch(Piece piece) {
  dispatch().globalAfter(kPatience, std::make_shared<DispatchBlock>([self = shared_from_this(), piece] {
                           self->replaceRunnerStuckAt(piece);
                         }));
}

void DeliveryLine::run(Runner self) {
  Work work;
  while (take(self, work)) {
    work();
    work = nullptr;
  }
}

bool DeliveryLine::take(Runner self, Work& work) {
  MutexLock lock(mutex_);
  if (inCharge_ != self) return false;
  isRunning_ = !waiting_.empty();
  if (!isRunning_) return false;
  work = std::move(waiting_.front());
  waiting_.pop_front();
  ++begun_;
  return true;
}

void DeliveryLine::replaceRunnerStuckAt(Piece piece) {
  std::optional<Runner> runner;
  {
    MutexLock lock(mutex_);
    isWatched_ = isRunning_ && !waiting_.empty();
    if (!isWatched_) return;
    if (begun_ == piece) runner = nextRunner();
    piece = begun_;
  }
  if (runner) start(*runner);
  watch(piece);
}

}  // namespace vemora
