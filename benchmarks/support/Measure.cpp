#include "support/Measure.h"

#include <sys/resource.h>
#include <time.h>

namespace vemora::bench {

namespace {

double seconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

Usage usage(int who, clockid_t cpuClock) {
  rusage used{};
  getrusage(who, &used);
  return {seconds(cpuClock), static_cast<double>(used.ru_nvcsw + used.ru_nivcsw), seconds(CLOCK_MONOTONIC)};
}

}  // namespace

Usage Usage::ofProcess() {
  return usage(RUSAGE_SELF, CLOCK_PROCESS_CPUTIME_ID);
}

Usage Usage::ofThread() {
  return usage(RUSAGE_THREAD, CLOCK_THREAD_CPUTIME_ID);
}

}  // namespace vemora::bench
