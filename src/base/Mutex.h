#pragma once

#include "base/ThreadAnnotations.h"

#include <mutex>

namespace vemora {

/// A mutex with the annotations of clang's thread-safety analysis.
class VMR_CAPABILITY("mutex") Mutex {
 public:
  void lock() VMR_ACQUIRE() { mutex_.lock(); }
  void unlock() VMR_RELEASE() { mutex_.unlock(); }
  /// For condition variables, which take the standard type.
  std::mutex& native() { return mutex_; }

 private:
  std::mutex mutex_;
};

/// The recursive kind, for the few contracts that let a callee call back in.
class VMR_CAPABILITY("mutex") RecursiveMutex {
 public:
  void lock() VMR_ACQUIRE() { mutex_.lock(); }
  void unlock() VMR_RELEASE() { mutex_.unlock(); }

 private:
  std::recursive_mutex mutex_;
};

template <typename M>
class VMR_SCOPED_CAPABILITY BasicMutexLock {
 public:
  explicit BasicMutexLock(M& mutex) VMR_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~BasicMutexLock() VMR_RELEASE() { mutex_.unlock(); }
  BasicMutexLock(const BasicMutexLock&) = delete;
  BasicMutexLock& operator=(const BasicMutexLock&) = delete;

 private:
  M& mutex_;
};

using MutexLock = BasicMutexLock<Mutex>;
using RecursiveMutexLock = BasicMutexLock<RecursiveMutex>;

}  // namespace vemora
