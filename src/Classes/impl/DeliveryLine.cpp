#include "Classes/impl/DeliveryLine.h"

#include "Platform/Ports/Platform.h"

namespace vemora {

namespace {

constexpr double kPatience = 0.01;

}  // namespace

void DeliveryLine::deliver(Work work) {
  MutexLock lock(mutex_);
  waiting_.push_back(std::move(work));
  if (!isRunning_) {
    startRunner();
  } else if (!isWatched_) {
    watch();
  }
}

void DeliveryLine::startRunner() {
  isRunning_ = true;
  dispatch().detachNewThread([self = shared_from_this(), runner = ++inCharge_] { self->run(runner); });
}

void DeliveryLine::watch() {
  isWatched_ = true;
  dispatch().globalAfter(
      kPatience, std::make_shared<DispatchBlock>(
                     [self = shared_from_this(), piece = begun_] { self->replaceRunnerStuckAt(piece); }));
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

void DeliveryLine::replaceRunnerStuckAt(std::uint64_t piece) {
  MutexLock lock(mutex_);
  isWatched_ = false;
  if (!isRunning_ || waiting_.empty()) return;
  if (begun_ == piece) startRunner();
  watch();
}

}  // namespace vemora
