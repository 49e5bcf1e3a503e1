#pragma once

#include "base/Mutex.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace vemora {

/// Runs the deliveries of messages on background threads, one after the other as a rule, without letting one
/// that blocks hold up the rest.
///
///     line->deliver([...] { pass the message to the observers });
///
/// A piece of work begins when the one before it has ended, in the order of `deliver`. When a piece takes
/// longer than ten milliseconds, because an observer blocks, the next ones go on beside it on another thread.
/// So the order is likely but not guaranteed, and pieces must tolerate running concurrently.
///
/// Any thread may deliver. The line may be released at any time; what was delivered is then still run.
class DeliveryLine : public std::enable_shared_from_this<DeliveryLine> {
 public:
  using Work = std::function<void()>;

  void deliver(Work work);

 private:
  using Runner = std::uint64_t;
  /// The piece that was begun last, and since when the next one could have been.
  struct Piece {
    std::uint64_t number = 0;
    double since = 0;
  };

  Runner nextRunner(double now) VMR_REQUIRES(mutex_);
  void start(Runner runner);
  void watch(Piece piece);
  void run(Runner self);
  bool take(Runner self, Work& work);
  void replaceRunnerStuckAt(Piece piece);

  Mutex mutex_;  ///< Guards all below. Not held while work runs.
  std::deque<Work> waiting_ VMR_GUARDED_BY(mutex_);
  Piece begun_ VMR_GUARDED_BY(mutex_);
  /// A runner that is not in charge any more ends with its piece.
  Runner inCharge_ VMR_GUARDED_BY(mutex_) = 0;
  bool isRunning_ VMR_GUARDED_BY(mutex_) = false;
  bool isWatched_ VMR_GUARDED_BY(mutex_) = false;
};

}  // namespace vemora
