#include "base/Mutex.h"
#include "core/inspect/Inspection.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraVersion.h>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <sstream>

namespace vemora {

#define VEMORA_TEXT(value) VEMORA_TEXT_OF(value)
#define VEMORA_TEXT_OF(value) #value

const double VemoraVersionNumber = VEMORA_VERSION_MAJOR;
const unsigned char VemoraVersionString[] =
    "@(#)PROGRAM:Vemora  PROJECT:Vemora-" VEMORA_TEXT(VEMORA_VERSION_MAJOR) "\n";

namespace {

struct Settings {
  RecursiveMutex mutex;  ///< Guards the key; held for changes of the flag too.
  std::optional<std::string> apiKey VMR_GUARDED_BY(mutex);
  /// Atomic, since `log` reads it without the lock.
  std::atomic<bool> debugMode{false};
};

/// Starts the recording that the environment of a process in debug mode asks for, once.
void recordAsEnvironmentAsks() {
  static std::atomic<bool> isDone{false};
  const char* file = std::getenv("VEMORA_INSPECT");
  if (!file || *file == '\0' || isDone.exchange(true)) return;
  const char* unredacted = std::getenv("VEMORA_INSPECT_UNREDACTED");
  const bool showsAll = unredacted && std::string_view(unredacted) == "1";
  Vemora::startRecording(file, showsAll ? VemoraRecordingUnredacted : VemoraRecordingRedacted);
}

Settings& settings() {
  static Settings& shared = *new Settings;
  return shared;
}

}  // namespace

std::string Vemora::version() {
  std::optional<std::string> version = Platform::shared().bundle().libraryInfo("CFBundleShortVersionString");
  if (version && !version->empty()) return *version;
  return *JsonValue(VemoraVersionNumber).stringValue();
}

std::optional<std::string> Vemora::apiKey() {
  RecursiveMutexLock lock(settings().mutex);
  return settings().apiKey;
}

void Vemora::setAPIKey(std::optional<std::string> key) {
  RecursiveMutexLock lock(settings().mutex);
  settings().apiKey = std::move(key);
}

bool Vemora::debugMode() {
  RecursiveMutexLock lock(settings().mutex);
  return settings().debugMode;
}

void Vemora::debugMode(bool enabled) {
  {
    RecursiveMutexLock lock(settings().mutex);
    settings().debugMode = enabled;
  }
  if (enabled) recordAsEnvironmentAsks();
}

bool Vemora::startRecording(const std::string& file, VemoraRecordingDetail detail) {
  const auto failure = inspect::Recorder::shared().start(file, detail == VemoraRecordingRedacted);
  if (failure) logError("No recording is made, since \"" + file + "\" cannot be written: " + *failure);
  return !failure;
}

void Vemora::stopRecording() {
  inspect::Recorder::shared().stop();
}

void Vemora::log(std::string_view message) {
  if (inspect::isOn()) inspect::logLine("log", message);
  if (!settings().debugMode.load(std::memory_order_relaxed)) return;
  Platform::shared().system().log(LogLevel::Default, std::string("VEMORA LOG: ").append(message));
}

void Vemora::logError(std::string_view message) {
  if (inspect::isOn()) inspect::logLine("error", message);
  Platform::shared().system().log(LogLevel::Error, std::string("VEMORA ERROR: ").append(message));
}

}  // namespace vemora
