#pragma once

#include "PlayerCallback.h"

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vemora {

/// What a viewer can do to the player.
enum class Command { Play, Pause, Resume, Skip, Stop, Close, Smaller, Larger };

/// "pause" for Command::Pause, and so on.
std::optional<Command> commandNamed(std::string_view name);

/// One automated step: `command`, once the running ad has played so many seconds, or at the first
/// callback of this kind.
struct RehearsedStep {
  Command command = Command::Play;
  std::variant<double, CallbackKind> when = 0.0;
};

/// Reads "COMMAND@WHEN", such as "pause@1.5" or "resume@adPaused". Absent when it is not of that form.
std::optional<RehearsedStep> readRehearsedStep(std::string_view text);

/// Steps to take one after the other: each waits for its moment only once the one before has been taken.
class Rehearsal {
 public:
  explicit Rehearsal(std::vector<RehearsedStep> steps) : steps_(std::move(steps)) {}

  /// The commands that are due now that `callback` has come.
  std::vector<Command> dueAt(const PlayerCallback& callback);

 private:
  std::vector<RehearsedStep> steps_;
  std::size_t next_ = 0;
};

}  // namespace vemora
