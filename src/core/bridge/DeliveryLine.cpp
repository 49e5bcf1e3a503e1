#include "core/bridge/DeliveryLine.h"

#include "ports/Platform.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace vemora {

namespace {

/// How long a piece may hold up the next one, in seconds.
constexpr double kPatience = 0.01;

}  // namespace

void DeliveryLine::deliver(Work work) {
  const double now = dispatch().now();
  std::optional<Runner> runner;
  std::optional<Piece> watched;
  {
    MutexLock lock(mutex_);
    waiting_.push_back(std::move(work));
    if (!isRunning_) {
      runner = nextRunner(now);
    } else if (!std::exchange(isWatched_, true)) {
      watched = begun_;
    }
  }
  if (runner) start(*runner);
  if (watched) watch(*watched);
}

DeliveryLine::Runner DeliveryLine::nextRunner(double now) {
  isRunning_ = true;
  begun_.since = now;  // It has as long to begin its first piece as each piece has.
  return ++inCharge_;
}

void DeliveryLine::start(Runner runner) {
  dispatch().detachNewThread([self = shared_from_this(), runner] { self->run(runner); });
}

void DeliveryLine::watch(Piece piece) {
  const double rest = piece.since + kPatience - dispatch().now();
  dispatch().globalAfter(std::max(rest, 0.0),
                         std::make_shared<DispatchBlock>(
                             [self = shared_from_this(), piece] { self->replaceRunnerStuckAt(piece); }));
}

void DeliveryLine::run(Runner self) {
  Work work;
  while (take(self, work)) {
    work();
    work = nullptr;
  }
}

bool DeliveryLine::take(Runner self, Work& work) {
  const double now = dispatch().now();
  MutexLock lock(mutex_);
  if (inCharge_ != self) return false;
  isRunning_ = !waiting_.empty();
  if (!isRunning_) return false;
  work = std::move(waiting_.front());
  waiting_.pop_front();
  begun_ = {begun_.number + 1, now};
  return true;
}

void DeliveryLine::replaceRunnerStuckAt(Piece piece) {
  const double now = dispatch().now();
  std::optional<Runner> runner;
  {
    MutexLock lock(mutex_);
    isWatched_ = isRunning_ && !waiting_.empty();
    if (!isWatched_) return;
    if (begun_.number == piece.number) runner = nextRunner(now);
    piece = begun_;
  }
  if (runner) start(*runner);
  watch(piece);
}

}  // namespace vemora
