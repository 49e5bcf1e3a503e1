#pragma once

#include "base/Mutex.h"
#include "core/inspect/Redaction.h"

#include <Vemora/JsonValue.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora::inspect {

/// A member of a record. One whose value is null is left out.
struct Member {
  const char* name;  ///< Must outlive the recording.
  JsonValue value;
};

/// Writes what happens in this process to a file, one JSON object on each line; docs/inspector.md defines
/// the format.
///
/// A record waits in a bounded queue until a background job writes it. So the thread that records never
/// waits for the file, and a process that is killed loses no more than what waits. Redaction and conversion
/// to text are part of that job. Any thread.
class Recorder {
 public:
  /// How many records may wait or be under way to the file; further ones are counted and reported as a gap.
  static constexpr std::size_t kCapacity = 8192;

  static Recorder& shared();

  /// Whether records are taken: the one branch that recording costs when it is off.
  static bool isOn() { return isOn_.load(std::memory_order_relaxed); }

  /// Creates or replaces the file, which only its owner may read, and ends a recording that was under way.
  /// Returns why it cannot; absent when the recording has begun.
  std::optional<std::string> start(const std::string& file, bool isRedacted);
  /// Writes what waits, and the last line. Blocks until it is written.
  void stop();

  /// Takes a record; a no-op when no recording is under way.
  void add(const char* kind, std::uint64_t session, std::initializer_list<Member> members);
  /// The payload of an ad request: what is in it is redacted in all later records, also in those of a
  /// recording that begins later. Only the latest payloads are kept.
  void rememberPayload(const JsonValue& payload);

 private:
  struct Record {
    double time;
    const char* kind;
    std::uint64_t session;
    std::vector<Member> members;
  };
  struct Batch {
    std::deque<Record> records;
    std::uint64_t lost = 0;  ///< After the records.
    double lostAt = 0;
    std::optional<std::vector<JsonValue>> payloads;  ///< If they have changed.
  };

  Recorder() = default;
  void writeWaiting();
  void writeWaitingLocked() VMR_REQUIRES(file_);
  /// Logs why the last write failed, if it did. Without the locks.
  void reportFailure();
  /// Absent, and the job has ended, when nothing waits.
  std::optional<Batch> takeBatch();
  void writeBatch(const Batch& batch) VMR_REQUIRES(file_);
  void appendLine(std::string& text, const Record& record) VMR_REQUIRES(file_);
  void write(std::string_view text) VMR_REQUIRES(file_);
  void close() VMR_REQUIRES(file_);

  inline static std::atomic<bool> isOn_{false};

  /// Guards the file and what is written to it. Held while writing, by `start`, `stop` and the job alone;
  /// `queue_` is taken under it.
  Mutex file_;
  int descriptor_ VMR_GUARDED_BY(file_) = -1;
  double began_ VMR_GUARDED_BY(file_) = 0;
  std::optional<Redaction> redaction_ VMR_GUARDED_BY(file_);
  int failure_ VMR_GUARDED_BY(file_) = 0;  ///< The `errno` of the write that ended the recording.

  /// Guards the fields below. Nothing is locked under it.
  Mutex queue_;
  std::deque<Record> waiting_ VMR_GUARDED_BY(queue_);
  std::size_t underWay_ VMR_GUARDED_BY(queue_) = 0;  ///< Taken by the job, perhaps not written yet.
  std::uint64_t lost_ VMR_GUARDED_BY(queue_) = 0;
  double lostAt_ VMR_GUARDED_BY(queue_) = 0;  ///< When the first of them was.
  bool isJobUnderWay_ VMR_GUARDED_BY(queue_) = false;
  std::deque<JsonValue> payloads_ VMR_GUARDED_BY(queue_);
  bool payloadsChanged_ VMR_GUARDED_BY(queue_) = false;
};

}  // namespace vemora::inspect
