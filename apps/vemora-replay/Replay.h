#pragma once

#include "backends/testing/ScheduledDispatch.h"
#include "recording/Recording.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

/// The recording holds something that the replay cannot bring about; the text says what.
class CannotReplay : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What came of a replay.
struct ReplayResult {
  struct Callback {
    std::string text;
    double time = 0;       ///< Seconds.
    std::size_t line = 0;  ///< Of the record; 0 for one that was replayed.
  };
  std::vector<Callback> recorded;
  std::vector<Callback> replayed;

  /// The position of the first callback that differs; absent when all are the same.
  [[nodiscard]] std::optional<std::size_t> difference() const;
};

/// Does again what the page, the host and the system did in a recording, on the testing backend, and collects
/// the callbacks that the SDK makes. The scheduler runs all threads in one order and its clock moves from
/// record to record, so that the result is the same each time. Main thread; one replay at a time.
///
/// Throws `CannotReplay`.
ReplayResult replay(const Recording& recording, testing::ScheduledDispatch& scheduler);

}  // namespace vemora
