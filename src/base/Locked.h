#pragma once

#include "base/Mutex.h"

#include <utility>

namespace vemora {

/// A field that any thread may read or write, each access on its own. An old value is released outside the
/// lock.
template <typename T>
class Locked {
 public:
  Locked() = default;
  explicit Locked(T value) : value_(std::move(value)) {}

  T get() const {
    MutexLock lock(mutex_);
    return value_;
  }
  void set(T value) { exchange(std::move(value)); }
  T exchange(T value) {
    MutexLock lock(mutex_);
    std::swap(value_, value);
    return value;
  }

 private:
  mutable Mutex mutex_;  ///< Guards the value. Nothing is locked under it.
  T value_ VMR_GUARDED_BY(mutex_){};
};

}  // namespace vemora
