#include "TextTimeline.h"
#include "common/Options.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

using namespace vemora;

constexpr ProgramDescription kProgram = {
    "vemora-inspect", VEMORA_VERSION, "FILE…",
    "Shows recordings of sessions, with their hazards and what to do about them.",
    "In a terminal the timeline is coloured, unless NO_COLOR is set. The exit status is 0, or 2\n"
    "when a file or an argument cannot be used."};

using Kind = Option::Kind;
constexpr Option kOptions[] = {
    {"text", Kind::Flag, "Print the timeline, one line for each record", nullptr},
    {"json", Kind::Flag, "Print records, their texts and the hazards as one JSON object for each file",
     nullptr},
    {"hazards", Kind::Flag, "With --text, print the hazards alone", nullptr},
};

bool isColoured() {
  const char* refused = std::getenv("NO_COLOR");
  return ::isatty(STDOUT_FILENO) != 0 && !(refused && *refused != '\0');
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options = Options::read(kProgram, kOptions, argc, argv);
    const bool isText = options.has("text");
    if (isText == options.has("json")) throw BadArguments("say either --text or --json");
    if (options.has("hazards") && !isText) throw BadArguments("--hazards: only with --text");
    if (options.parameters().empty()) throw BadArguments("no recording is given");
    for (const std::string& file : options.parameters()) {
      const Recording recording = Recording::read(file);
      const std::string text = isText ? textTimeline(file, recording, {isColoured(), options.has("hazards")})
                                      : jsonTimeline(file, recording) + "\n";
      std::fputs(text.c_str(), stdout);
    }
    if (std::fflush(stdout) == 0) return 0;
    std::fputs("vemora-inspect: the output cannot be written\n", stderr);
    return 1;
  } catch (const BadArguments& problem) {
    return reportBadArguments(kProgram.name, problem);
  } catch (const BadRecording& problem) {
    std::fprintf(stderr, "vemora-inspect: %s\n", problem.what());
    return kBadArgumentsStatus;
  }
}
