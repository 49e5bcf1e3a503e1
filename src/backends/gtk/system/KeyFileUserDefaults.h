#pragma once

#include "backends/gtk/system/DefaultsFile.h"
#include "base/Mutex.h"
#include "ports/UserDefaults.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace vemora::gtk {

/// The settings of one application in one file that other processes may write as well. What was set here and
/// is not on disk yet lies over what is there now.
class KeyFileUserDefaults final : public UserDefaults {
 public:
  /// Runs something once, some seconds later, on any thread.
  using Scheduler = std::function<void(double seconds, std::function<void()> work)>;

  KeyFileUserDefaults(std::string path, Scheduler scheduler);

  JsonValue objectForKey(std::string_view key) override;
  std::optional<std::string> stringForKey(std::string_view key) override;
  void setObject(const JsonValue& value, std::string_view key) override;
  void removeObjectForKey(std::string_view key) override;
  bool synchronize() override;

  /// Once in a process.
  void saveAtProcessEnd();

 private:
  class Store;

  const std::shared_ptr<Store> store_;
  const Scheduler scheduler_;
};

}  // namespace vemora::gtk
