#include "base/Mutex.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>

#include <atomic>
#include <memory>
#include <sstream>

namespace vemora {

const double VemoraVersionNumber = 1.0;
const unsigned char VemoraVersionString[] = "@(#)PROGRAM:Vemora  PROJECT:Vemora-1\n";

namespace {

struct Settings {
  RecursiveMutex mutex;  ///< Guards the key; held for changes of the flag too.
  std::optional<std::string> apiKey VMR_GUARDED_BY(mutex);
  /// Atomic, since `log` reads it without the lock.
  std::atomic<bool> debugMode{false};
};

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
  RecursiveMutexLock lock(settings().mutex);
  settings().debugMode = enabled;
}

void Vemora::log(std::string_view message) {
  if (!settings().debugMode.load(std::memory_order_relaxed)) return;
  Platform::shared().system().log(LogLevel::Default, std::string("VEMORA LOG: ").append(message));
}

void Vemora::logError(std::string_view message) {
  Platform::shared().system().log(LogLevel::Error, std::string("VEMORA ERROR: ").append(message));
}

}  // namespace vemora
