#include "Rehearsal.h"

#include "../common/Options.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vemora {
namespace {

constexpr std::array<std::pair<std::string_view, Command>, 8> kCommands{{{"play", Command::Play},
                                                                         {"pause", Command::Pause},
                                                                         {"resume", Command::Resume},
                                                                         {"skip", Command::Skip},
                                                                         {"stop", Command::Stop},
                                                                         {"close", Command::Close},
                                                                         {"smaller", Command::Smaller},
                                                                         {"larger", Command::Larger}}};

bool isDue(const RehearsedStep& step, const PlayerCallback& callback) {
  if (const auto* kind = std::get_if<CallbackKind>(&step.when)) return callback.kind == *kind;
  return callback.timeElapsed && *callback.timeElapsed >= std::get<double>(step.when);
}

}  // namespace

std::optional<Command> commandNamed(std::string_view name) {
  const auto* const found = std::find_if(kCommands.begin(), kCommands.end(),
                                         [&](const auto& entry) { return entry.first == name; });
  return found == kCommands.end() ? std::nullopt : std::optional(found->second);
}

std::optional<RehearsedStep> readRehearsedStep(std::string_view text) {
  const std::size_t at = text.find('@');
  if (at == std::string_view::npos) return std::nullopt;
  const std::optional<Command> command = commandNamed(text.substr(0, at));
  if (!command) return std::nullopt;

  const std::string when(text.substr(at + 1));
  if (const std::optional<CallbackKind> kind = callbackNamed(when)) return RehearsedStep{*command, *kind};
  const std::optional<double> seconds = readNumber(when);
  return seconds && *seconds >= 0 ? std::optional(RehearsedStep{*command, *seconds}) : std::nullopt;
}

std::vector<Command> Rehearsal::dueAt(const PlayerCallback& callback) {
  std::vector<Command> due;
  // Each callback triggers one step at most, except by the time, which may have passed several.
  while (next_ < steps_.size() && isDue(steps_[next_], callback)) {
    due.push_back(steps_[next_].command);
    const bool byTime = std::holds_alternative<double>(steps_[next_].when);
    ++next_;
    if (!byTime) break;
  }
  return due;
}

}  // namespace vemora
