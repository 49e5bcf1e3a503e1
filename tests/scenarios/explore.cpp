#include "RandomSession.h"

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string_view>

namespace {

using vemora::scenarios::ExploredSession;
using vemora::scenarios::exploreSession;

constexpr char kUsage[] =
    "usage: vemora-explore [--sessions N] [--first-seed S] [--keep-going]\n"
    "       vemora-explore --seed S\n"
    "Plays N sessions (5000) whose faults, times and orders of threads the seeds S, S+1, ... (1) choose, "
    "and\n"
    "checks the promises of the SDK after each. --seed plays one session and prints it.\n";

std::optional<std::uint64_t> number(const char* text) {
  std::uint64_t value = 0;
  const char* end = text + std::strlen(text);
  const auto [stop, error] = std::from_chars(text, end, value);
  return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

void print(std::uint64_t seed, const ExploredSession& session) {
  std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
  for (const auto& promise : session.broken) std::printf("  BROKEN: %s\n", promise.c_str());
  for (const auto& step : session.steps) std::printf("  step: %s\n", step.c_str());
  for (const auto& callback : session.callbacks) std::printf("  callback: %s\n", callback.c_str());
  std::printf("  schedule (the last choices):\n%s", session.schedule.c_str());
}

int explore(std::uint64_t first, std::uint64_t count, bool keepGoing) {
  const auto began = std::chrono::steady_clock::now();
  std::map<std::string, std::uint64_t> failures;
  std::set<std::vector<std::string>> outcomes;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    const ExploredSession session = exploreSession(seed);
    outcomes.insert(session.callbacks);
    if (session.broken.empty()) continue;
    if (!keepGoing) {
      print(seed, session);
      std::printf("Repeat with: vemora-explore --seed %llu\n", static_cast<unsigned long long>(seed));
      return 1;
    }
    for (const auto& promise : session.broken) failures.emplace(promise, seed);
  }
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
  std::printf("%llu sessions, %zu different sequences of callbacks, %.1f s\n",
              static_cast<unsigned long long>(count), outcomes.size(), took.count());
  for (const auto& [promise, seed] : failures)
    std::printf("BROKEN: %s (first by seed %llu)\n", promise.c_str(), static_cast<unsigned long long>(seed));
  return failures.empty() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  std::uint64_t first = 1;
  std::uint64_t count = 5000;
  bool keepGoing = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view option = argv[i];
    const auto value = i + 1 < argc ? number(argv[i + 1]) : std::nullopt;
    if (option == "--keep-going") {
      keepGoing = true;
      continue;
    }
    if (!value || (option != "--sessions" && option != "--first-seed" && option != "--seed")) {
      std::fprintf(stderr, "vemora-explore: bad argument '%s'\n%s", argv[i], kUsage);
      return 2;
    }
    if (option == "--seed") {
      const ExploredSession session = exploreSession(*value);
      print(*value, session);
      return session.broken.empty() ? 0 : 1;
    }
    (option == "--sessions" ? count : first) = *value;
    ++i;
  }
  return explore(first, count, keepGoing);
}
