#pragma once

#include "recording/Recording.h"

#include <string>
#include <vector>

namespace vemora {

/// One record in words.
struct TimelineRow {
  const Record* record = nullptr;
  const char* lane = "";  ///< "page", "bridge", "player", "host", "beacons" or "log".
  std::string text;
};

/// The rows of a recording, which must outlive them, in its order.
std::vector<TimelineRow> timelineOf(const Recording& recording);

/// An error in words: its description, its reason, and its code.
std::string describeError(const JsonValue& error);
/// A duration in words, such as "250 ms" or "5.0 s".
std::string durationText(std::int64_t microseconds);

}  // namespace vemora
