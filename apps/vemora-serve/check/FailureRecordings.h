#pragma once

#include "Rules.h"

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace vemora::check {

/// A session as a recording, in the format that docs/inspector.md defines.
struct SessionRecording {
  std::string text;
  /// The time of each line after the header, in seconds, and its position in the file, counted from 1.
  struct Line {
    double at = 0;
    std::size_t number = 0;
  };
  std::vector<Line> lines;

  /// The line of what happened at this time; the last one before it if there is none.
  [[nodiscard]] std::size_t lineAt(double at) const;
};

SessionRecording recordingOf(const Transcript& transcript, const std::string& address);

/// When a rule that fails in the whole session was broken: with what happened then it fails for good. Absent
/// for a rule that fails from the beginning, since what it asks for never came.
std::optional<double> brokenAt(const Rule& rule, const Transcript& transcript);

/// Writes a recording of each session that broke a rule into the folder, as SESSION.jsonl, and adds the file
/// and the line to the findings. Throws `std::runtime_error` when a file cannot be written.
void recordFailures(std::span<const Transcript> transcripts, const std::string& address,
                    const std::filesystem::path& folder, std::vector<Finding>& findings);

}  // namespace vemora::check
