#pragma once

#include "backends/gtk/system/DefaultsFile.h"
#include "base/Mutex.h"
#include "ports/UserDefaults.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace vemora::gtk {

/// The settings of one application, in one file that other processes may write as well. Changes that are not
/// saved yet take precedence over what is on disk.
class KeyFileUserDefaults final : public UserDefaults {
 public:
  /// Runs `work` once, some seconds later, on any thread.
  using Scheduler = std::function<void(double seconds, std::function<void()> work)>;
  /// False on threads that must not wait for other processes or for the disk.
  using MayWait = bool (*)();

  KeyFileUserDefaults(
      std::string path, Scheduler scheduler, MayWait mayWait = [] { return true; });

  JsonValue objectForKey(std::string_view key) override;
  std::optional<std::string> stringForKey(std::string_view key) override;
  void setObject(const JsonValue& value, std::string_view key) override;
  JsonValue setObjectIfAbsent(const JsonValue& value, std::string_view key) override;
  void removeObjectForKey(std::string_view key) override;
  /// On a thread that must not wait, only starts the save.
  bool synchronize() override;

  /// Never waits for another process: when one is writing, the changes are left beside the file, for the next
  /// process that reads or saves. False when they could not be written.
  bool saveWithoutWaiting();
  /// Saves so when the process exits. Once in a process.
  void saveAtProcessEnd();

 private:
  class Store;

  void saveAfter(double seconds);

  const std::shared_ptr<Store> store_;
  const Scheduler scheduler_;
  const MayWait mayWait_;
};

}  // namespace vemora::gtk
