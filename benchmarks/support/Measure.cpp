#include "support/Measure.h"

#include <sys/resource.h>
#include <time.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

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
  return {seconds(cpuClock), static_cast<double>(used.ru_nvcsw + used.ru_nivcsw),
          static_cast<double>(used.ru_nvcsw), seconds(CLOCK_MONOTONIC)};
}

}  // namespace

Usage Usage::ofProcess() {
  return usage(RUSAGE_SELF, CLOCK_PROCESS_CPUTIME_ID);
}

Usage Usage::ofThread() {
  return usage(RUSAGE_THREAD, CLOCK_THREAD_CPUTIME_ID);
}

double sleepsOfThreads(std::string_view name) {
  constexpr std::string_view kSleeps = "voluntary_ctxt_switches:";
  double sleeps = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream status(thread.path() / "status");
    bool isNamed = false;
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("Name:")) isNamed = line.ends_with("\t" + std::string(name));
      if (isNamed && line.starts_with(kSleeps)) sleeps += std::strtod(line.c_str() + kSleeps.size(), nullptr);
    }
  }
  return sleeps;
}

}  // namespace vemora::bench
