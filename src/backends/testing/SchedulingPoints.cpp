// The scheduling points of `ScheduledDispatch`. The linker (--wrap) sends every reference to the functions
// below in the program's own objects here; each calls the real one, which the sanitizers may have replaced.

#include "backends/testing/ScheduledDispatch.h"

#include <pthread.h>

#include <cerrno>
#include <condition_variable>

using vemora::testing::ScheduledDispatch;

// NOLINTBEGIN(bugprone-reserved-identifier): the linker gives the names.
extern "C" {

int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_once(pthread_once_t* once, void (*work)());
int __real___cxa_guard_acquire(void* guard);
void __real___cxa_guard_release(void* guard);
void __real___cxa_guard_abort(void* guard);
void __real__ZNSt18condition_variable10notify_allEv(std::condition_variable* condition);
void __real__ZNSt18condition_variable10notify_oneEv(std::condition_variable* condition);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread();
  if (!scheduler) return __real_pthread_mutex_lock(mutex);
  scheduler->point("lock");
  int result = 0;
  while ((result = pthread_mutex_trylock(mutex)) == EBUSY) scheduler->blockOn(mutex);
  return result;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  const int result = __real_pthread_mutex_unlock(mutex);
  if (ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread()) scheduler->unblock(mutex);
  return result;
}

int __wrap_pthread_once(pthread_once_t* once, void (*work)()) {
  ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread();
  if (scheduler) scheduler->forbidPreemption();
  const int result = __real_pthread_once(once, work);
  if (scheduler) scheduler->allowPreemption();
  return result;
}

int __wrap___cxa_guard_acquire(void* guard) {
  const int mustInitialise = __real___cxa_guard_acquire(guard);
  ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread();
  if (mustInitialise != 0 && scheduler) scheduler->forbidPreemption();
  return mustInitialise;
}

void __wrap___cxa_guard_release(void* guard) {
  __real___cxa_guard_release(guard);
  if (ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread()) scheduler->allowPreemption();
}

void __wrap___cxa_guard_abort(void* guard) {
  __real___cxa_guard_abort(guard);
  if (ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread()) scheduler->allowPreemption();
}

void __wrap__ZNSt18condition_variable10notify_allEv(std::condition_variable* condition) {
  if (ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread()) scheduler->notify(condition);
  __real__ZNSt18condition_variable10notify_allEv(condition);
}

void __wrap__ZNSt18condition_variable10notify_oneEv(std::condition_variable* condition) {
  if (ScheduledDispatch* scheduler = ScheduledDispatch::ofThisThread()) scheduler->notify(condition);
  __real__ZNSt18condition_variable10notify_oneEv(condition);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier)
