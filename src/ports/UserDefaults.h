#pragma once

#include <Vemora/JsonValue.h>

#include <optional>
#include <string>
#include <string_view>

namespace vemora {

/// The application's persistent settings, one store for each application.
///
/// Lifetime: as long as the platform.
/// Threads: any.
/// Completion: a value that was set is seen by the next read; `synchronize` returns when it is on disk.
/// Errors: a store that cannot be read counts as empty; `synchronize` returns false when writing failed.
class UserDefaults {
 public:
  virtual ~UserDefaults() = default;

  /// Null when there is none.
  virtual JsonValue objectForKey(std::string_view key) = 0;
  /// A string as it is, a number as its text; absent for anything else.
  virtual std::optional<std::string> stringForKey(std::string_view key) = 0;
  virtual void setObject(const JsonValue& value, std::string_view key) = 0;
  virtual void removeObjectForKey(std::string_view key) = 0;
  virtual bool synchronize() = 0;
};

}  // namespace vemora
