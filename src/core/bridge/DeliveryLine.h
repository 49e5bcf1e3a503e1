#pragma once

#include "base/Mutex.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>

namespace vemora {

/// Hands messages to background threads so that they seldom overtake each other, yet never wait for long.
///
///     line->deliver([...] { observers see the message });
///
/// As a rule a piece of work begins when the one before it has ended, in the order of `deliver`. A piece that
/// is still at it after ten to twenty milliseconds, such as an observer that blocks, holds up nobody any
/// longer: the next ones go on beside it on another thread. So order is likely and not promised, and every
/// piece must bear others at its side.
///
/// Any thread may deliver. The line may go at any time; what was delivered is then still worked off.
class DeliveryLine : public std::enable_shared_from_this<DeliveryLine> {
 public:
  using Work = std::function<void()>;

  void deliver(Work work);

 private:
  using Runner = std::uint64_t;
  using Piece = std::uint64_t;

  Runner nextRunner() VMR_REQUIRES(mutex_);
  void start(Runner runner);
  void watch(Piece piece);
  void run(Runner self);
  bool take(Runner self, Work& work);
  void replaceRunnerStuckAt(Piece piece);

  Mutex mutex_;  ///< Guards all below. Not held while work runs.
  std::deque<Work> waiting_ VMR_GUARDED_BY(mutex_);
  Piece begun_ VMR_GUARDED_BY(mutex_) = 0;  ///< Pieces taken so far: tells whether the runner moves on.
  Runner inCharge_ VMR_GUARDED_BY(mutex_) =
      0;  ///< A runner that is not in charge any more ends with its piece.
  bool isRunning_ VMR_GUARDED_BY(mutex_) = false;
  bool isWatched_ VMR_GUARDED_BY(mutex_) = false;
};

}  // namespace vemora
