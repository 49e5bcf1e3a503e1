#include "core/inspect/Recorder.h"

#include "base/Utf8.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace vemora::inspect {

namespace {

constexpr int kFormatVersion = 1;
constexpr double kMicrosecondsPerSecond = 1e6;
/// What earlier sessions sent may turn up in a late beacon or log line.
constexpr std::size_t kPayloadsKept = 16;

/// JSON carries UTF-8 only; a log line may be anything.
std::string validUtf8(std::string text) {
  if (!isUtf8(text))
    std::replace_if(
        text.begin(), text.end(), [](unsigned char byte) { return byte >= 0x80; }, '?');
  return text;
}

std::string jsonText(const JsonValue& value) {
  if (auto text = value.serialized()) return *std::move(text);
  if (const auto text = value.asString()) return *JsonValue(validUtf8(std::string(*text))).serialized();
  return R"("[not representable in JSON]")";
}

std::string header(bool isRedacted) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const std::int64_t startedAt = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
  return jsonText(JsonValue::object({{"format", "vemora-inspect"},
                                     {"version", kFormatVersion},
                                     {"sdk", Vemora::version()},
                                     {"redacted", isRedacted},
                                     {"startedAt", startedAt}})) +
         '\n';
}

}  // namespace

Recorder& Recorder::shared() {
  static Recorder& recorder = *new Recorder;
  return recorder;
}

std::optional<std::string> Recorder::start(const std::string& file, bool isRedacted) {
  stop();
  const std::string firstLine = header(isRedacted);
  const double now = dispatch().now();
  MutexLock fileLock(file_);
  constexpr int kOwnerOnly = 0600;
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the interface of POSIX.
  descriptor_ = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, kOwnerOnly);
  if (descriptor_ < 0) return std::strerror(errno);
  began_ = now;
  redaction_ = isRedacted ? std::optional<Redaction>(std::in_place) : std::nullopt;
  write(firstLine);
  if (descriptor_ < 0) return std::strerror(std::exchange(failure_, 0));
  {
    MutexLock lock(queue_);
    waiting_.clear();  // What another thread recorded while the last recording ended.
    lost_ = 0;
    payloadsChanged_ = true;
  }
  static const int registered = std::atexit([] { shared().stop(); });
  static_cast<void>(registered);
  isOn_ = true;
  return std::nullopt;
}

void Recorder::stop() {
  isOn_ = false;
  const double now = dispatch().now();
  {
    MutexLock lock(file_);
    if (descriptor_ < 0) return;
    writeWaitingLocked();
    std::string last;
    appendLine(last, {now, "end", 0, {}});
    write(last);
    close();
  }
  reportFailure();
}

void Recorder::add(const char* kind, std::uint64_t session, std::initializer_list<Member> members) {
  if (!isOn()) return;
  Record record{dispatch().now(), kind, session, members};
  {
    MutexLock lock(queue_);
    if (waiting_.size() + underWay_ >= kCapacity) {
      if (lost_++ == 0) lostAt_ = record.time;
      return;
    }
    waiting_.push_back(std::move(record));
    if (std::exchange(isJobUnderWay_, true)) return;
  }
  dispatch().globalAsync([this] { writeWaiting(); });
}

void Recorder::rememberPayload(const JsonValue& payload) {
  MutexLock lock(queue_);
  // The calls of one load send the same.
  if (!payloads_.empty() && payloads_.back() == payload) return;
  payloads_.push_back(payload);
  if (payloads_.size() > kPayloadsKept) payloads_.pop_front();
  payloadsChanged_ = true;
}

void Recorder::writeWaiting() {
  {
    MutexLock lock(file_);
    writeWaitingLocked();
  }
  reportFailure();
}

void Recorder::reportFailure() {
  int failure = 0;
  {
    MutexLock lock(file_);
    failure = std::exchange(failure_, 0);
  }
  if (failure != 0)
    Vemora::logError(std::string("The recording has ended: its file cannot be written: ") +
                     std::strerror(failure));
}

void Recorder::writeWaitingLocked() {
  while (const auto batch = takeBatch()) writeBatch(*batch);
}

std::optional<Recorder::Batch> Recorder::takeBatch() {
  MutexLock lock(queue_);
  // What was taken before has been written.
  underWay_ = waiting_.size();
  if (waiting_.empty() && lost_ == 0) {
    isJobUnderWay_ = false;
    return std::nullopt;
  }
  Batch batch;
  batch.records.swap(waiting_);
  batch.lostAt = lostAt_;
  batch.lost = std::exchange(lost_, 0);
  if (std::exchange(payloadsChanged_, false)) batch.payloads.emplace(payloads_.begin(), payloads_.end());
  return batch;
}

void Recorder::writeBatch(const Batch& batch) {
  if (redaction_ && batch.payloads) redaction_->learn(*batch.payloads);
  std::string text;
  for (const Record& record : batch.records) appendLine(text, record);
  if (batch.lost > 0) appendLine(text, {batch.lostAt, "gap", 0, {{"count", batch.lost}}});
  write(text);
}

void Recorder::appendLine(std::string& text, const Record& record) {
  const double elapsed = std::max(record.time - began_, 0.0) * kMicrosecondsPerSecond;
  text += R"({"t":)" + std::to_string(std::llround(elapsed)) + R"(,"kind":")" + record.kind + '"';
  if (record.session > 0) text += R"(,"session":)" + std::to_string(record.session);
  for (const auto& [name, value] : record.members) {
    if (value.isNull()) continue;
    text += std::string(",\"") + name + "\":";
    text += jsonText(redaction_ ? redaction_->redacted(name, value) : value);
  }
  text += "}\n";
}

void Recorder::write(std::string_view text) {
  while (descriptor_ >= 0 && !text.empty()) {
    const ssize_t written = ::write(descriptor_, text.data(), text.size());
    if (written >= 0) {
      text.remove_prefix(static_cast<std::size_t>(written));
    } else if (errno != EINTR) {
      failure_ = errno;
      isOn_ = false;
      close();
    }
  }
}

void Recorder::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
  redaction_.reset();
}

}  // namespace vemora::inspect
