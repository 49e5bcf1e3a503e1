#include "Replay.h"
#include "backends/testing/TestingPlatform.h"
#include "common/Options.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

using namespace vemora;

constexpr int kDiverged = 1;
/// Callbacks printed before the one that differs.
constexpr std::size_t kContext = 5;

constexpr ProgramDescription kProgram = {
    "vemora-replay", VEMORA_VERSION, "FILE…",
    "Plays recordings of sessions again, and says whether the same callbacks come.",
    "The page, the host app and the system do what the recording says, on a clock of its own.\n"
    "The exit status is 0 when all callbacks are the same and in the same order, 1 when a\n"
    "recording and its replay part, and 2 when a file or an argument cannot be used."};

void printLine(char mark, const char* side, const ReplayResult::Callback& callback) {
  std::string place = callback.line > 0 ? ", line " + std::to_string(callback.line) : "";
  std::printf("  %c %-9s%9.3f s  %s%s\n", mark, side, callback.time, callback.text.c_str(), place.c_str());
}

void printDifference(const ReplayResult& result, std::size_t position) {
  const std::size_t first = position > kContext ? position - kContext : 0;
  for (std::size_t i = first; i < position; ++i) printLine(' ', "both", result.recorded[i]);
  const auto printSide = [position](char mark, const char* side, const auto& callbacks) {
    if (position < callbacks.size()) {
      printLine(mark, side, callbacks[position]);
    } else {
      std::printf("  %c %-9s             no further callback\n", mark, side);
    }
  };
  printSide('-', "recorded", result.recorded);
  printSide('+', "replayed", result.replayed);
}

/// True when the callbacks are the same.
bool report(const std::string& file, const Recording& recording, const ReplayResult& result) {
  if (recording.missing > 0)
    std::printf("%s: %llu records are missing, so a difference may be due to them\n", file.c_str(),
                static_cast<unsigned long long>(recording.missing));
  if (recording.isCutOff) std::printf("%s: the last line is cut off and was left out\n", file.c_str());
  const auto position = result.difference();
  if (!position) {
    std::printf("%s: the same %zu callbacks in the same order\n", file.c_str(), result.recorded.size());
    return true;
  }
  std::printf("%s: the replay parts from the recording at callback %zu\n", file.c_str(), *position + 1);
  printDifference(result, *position);
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  int status = 0;
  try {
    const Options options = Options::read(kProgram, {}, argc, argv);
    if (options.parameters().empty()) throw BadArguments("no recording is given");
    testing::TestingPlatform::current();  // This is the main thread.
    testing::ScheduledDispatch scheduler;
    for (const std::string& file : options.parameters()) {
      const Recording recording = Recording::read(file);
      if (!report(file, recording, replay(recording, scheduler))) status = kDiverged;
    }
  } catch (const BadArguments& problem) {
    return reportBadArguments(kProgram.name, problem);
  } catch (const BadRecording& problem) {
    std::fprintf(stderr, "vemora-replay: %s\n", problem.what());
    return kBadArgumentsStatus;
  } catch (const CannotReplay& problem) {
    std::fprintf(stderr, "vemora-replay: this recording cannot be replayed: %s\n", problem.what());
    return kBadArgumentsStatus;
  }
  return status;
}
