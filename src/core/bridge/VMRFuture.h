#pragma once

#include "base/Mutex.h"

#include <Vemora/VMRError.h>

#include <any>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <optional>

namespace vemora {

/// Posted once for each future, by the thread that completed it, with the future as object. Nothing in the
/// SDK observes it.
inline constexpr char kVMRFutureCompleteNotification[] = "kVMRFutureCompleteNotification";

/// A result that comes once: a value, an error, or a cancellation. The first completion wins and later ones
/// are ignored.
///
///     if (future->wait(5.0) && !future->error()) use(future->value());
///
/// Any thread may complete it, wait for it or read it. Own it with a shared pointer. An observer of the
/// notification runs inside the completion and must not block on another thread that waits for the same
/// completion to end.
class VMRFuture : public std::enable_shared_from_this<VMRFuture> {
 public:
  static std::shared_ptr<VMRFuture> init();
  virtual ~VMRFuture();
  VMRFuture(const VMRFuture&) = delete;
  VMRFuture& operator=(const VMRFuture&) = delete;

  void resolve(std::any value);
  void fail(std::optional<VMRError> error);
  void cancel();

  /// True when the future is done, however it was; false when `timeout` seconds have passed first.
  bool wait(double timeout);

  /// Empty and absent until done. A done future may hold neither.
  std::any value() const { return isDone() ? value_ : std::any(); }
  std::optional<VMRError> error() const { return isDone() ? error_ : std::nullopt; }
  bool isDone() const { return isDone_.load(std::memory_order_acquire); }
  bool isCancelled() const { return isDone() && isCancelled_; }

 protected:
  VMRFuture();

 private:
  void _resolveWithValue(std::any value, std::optional<VMRError> error, bool cancelled);

  /// Serialises completions. Re-entrant, since the notification is posted under it.
  RecursiveMutex completion_;
  /// What waiters sleep on; taken under `completion_`, never the other way round.
  Mutex waiters_;
  std::condition_variable condition_;
  /// Written once, before `isDone_`, and only read after it.
  std::any value_;
  std::optional<VMRError> error_;
  bool isCancelled_ = false;
  std::atomic<bool> isDone_{false};
};

}  // namespace vemora
