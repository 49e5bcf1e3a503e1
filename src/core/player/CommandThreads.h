#pragma once

#include "base/Mutex.h"

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>

namespace vemora {

/// Runs each piece of work at once on a background thread of its own, unless as many as `kLimit` run already:
/// then it begins when one of those has ended, in the order of the calls. Any thread.
///
/// So a host that sends hundreds of commands to a page that does not answer holds up sixteen threads, not
/// hundreds. Work that waits keeps this object alive.
class CommandThreads : public std::enable_shared_from_this<CommandThreads> {
 public:
  using Work = std::function<void()>;
  static constexpr std::size_t kLimit = 16;

  void run(Work work);
  /// Drops the work that has not begun.
  void dropWaiting();

 private:
  void serve(Work work);
  bool takeNext(Work& work);

  Mutex mutex_;  ///< Guards both below. Not held while work runs.
  std::size_t running_ VMR_GUARDED_BY(mutex_) = 0;
  std::deque<Work> waiting_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora
