#pragma once

#include <Vemora/JsonValue.h>

#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// The application's persistent settings, one store for each application.
///
/// Lifetime: As long as the platform.
///
/// Threads: Thread-safe.
///
/// Completion: A read returns the value that was set last. `synchronize` returns when it is on disk; on the
/// main thread it may only start the save.
///
/// Errors: A store that cannot be read counts as empty. `synchronize` returns false when writing failed.
/// The first failure is logged.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// Null when the key has no value.
  virtual JsonValue objectForKey(std::string_view key) = 0;
  /// A string as it is, a number as its text; absent for anything else.
  virtual std::optional<std::string> stringForKey(std::string_view key) = 0;
  virtual void setObject(const JsonValue& value, std::string_view key) = 0;
  /// Sets the value unless the key has one, and returns the value that the key has then. Processes that do
  /// this at the same time get the same value. Does not wait for other processes.
  virtual JsonValue setObjectIfAbsent(const JsonValue& value, std::string_view key) = 0;
  virtual void removeObjectForKey(std::string_view key) = 0;
  virtual bool synchronize() = 0;
};

}  // namespace vemora
