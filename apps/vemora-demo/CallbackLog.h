#pragma once

#include "PlayerCallback.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vemora {

/// Writes callbacks: for people on a terminal, and as lines of JSON for programs. Any thread.
class CallbackLog {
 public:
  /// With "-" the JSON is written to the standard output, and text for people to the standard error.
  /// Absent when the file cannot be written; `problem` then says why.
  static std::unique_ptr<CallbackLog> open(const std::optional<std::string>& eventsFile,
                                           std::string& problem);
  CallbackLog(const CallbackLog&) = delete;
  CallbackLog& operator=(const CallbackLog&) = delete;
  ~CallbackLog();

  void write(const PlayerCallback& callback);
  /// A line for people.
  void say(const std::string& line);
  /// What could not be written; absent while all could.
  std::optional<std::string> problem();

 private:
  CallbackLog() = default;
  void writeForPeople(const PlayerCallback& callback);
  void writeForPrograms(const PlayerCallback& callback);
  void endProgressLine();

  std::mutex mutex_;  ///< Guards all below.
  std::FILE* people_ = stdout;
  std::FILE* events_ = nullptr;
  bool ownsEvents_ = false;
  bool isTerminal_ = false;
  bool inProgressLine_ = false;
  std::optional<std::string> problem_;
};

}  // namespace vemora
