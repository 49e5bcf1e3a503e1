#include "backends/gtk/system/KeyFileUserDefaults.h"

#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/InfoDictionary.h"
#include "backends/gtk/base/PrivateFile.h"

#include <glib.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace vemora::gtk {

namespace {

/// Settings mostly come in groups: they are saved together, this long after the first.
constexpr double kSaveDelay = 0.5;

}  // namespace

class KeyFileUserDefaults::Store {
 public:
  explicit Store(std::string path) : file_(std::move(path)) {}

  JsonValue value(std::string_view key) {
    MutexLock lock(mutex_);
    if (const auto unsaved = unsaved_.find(key); unsaved != unsaved_.end()) return unsaved->second.value;
    refresh();
    const auto saved = saved_.find(key);
    return saved != saved_.end() ? saved->second : JsonValue();
  }

  /// True when a save is to be scheduled.
  bool set(std::string_view key, const JsonValue& value) {
    MutexLock lock(mutex_);
    unsaved_.insert_or_assign(std::string(key), Change{value, ++lastChange_});
    return !std::exchange(isSaveScheduled_, true);
  }

  bool save() {
    MutexLock saving(saveMutex_);
    std::map<std::string, Change, std::less<>> changes;
    {
      MutexLock lock(mutex_);
      isSaveScheduled_ = false;
      changes = unsaved_;
    }
    DefaultsFile::Changes writable;
    for (const auto& [key, change] : changes) {
      if (DefaultsFile::canHold(key, change.value)) writable.emplace(key, change.value);
    }
    if (!writable.empty()) {
      std::optional<DefaultsFile::Values> merged = file_.merge(writable);
      if (!merged) return false;
      MutexLock lock(mutex_);
      saved_ = std::move(*merged);
      savedVersion_.reset();
      for (const auto& [key, value] : writable) forgetChange(key, changes.find(key)->second.number);
    }
    return writable.size() == changes.size();
  }

 private:
  struct Change {
    JsonValue value;  ///< Null removes.
    std::uint64_t number;
  };

  void forgetChange(std::string_view key, std::uint64_t number) VMR_REQUIRES(mutex_) {
    const auto change = unsaved_.find(key);
    if (change != unsaved_.end() && change->second.number == number) unsaved_.erase(change);
  }

  /// Reads the file again when somebody changed it.
  void refresh() VMR_REQUIRES(mutex_) {
    const DefaultsFile::Version version = file_.version();
    if (savedVersion_ == version) return;
    saved_ = file_.read();
    savedVersion_ = version.isSettled() ? std::optional(version) : std::nullopt;
  }

  const DefaultsFile file_;

  /// Held while a save is under way; guards nothing else. Taken before `mutex_`.
  Mutex saveMutex_;

  /// Guards everything below.
  Mutex mutex_;
  DefaultsFile::Values saved_ VMR_GUARDED_BY(mutex_);
  /// Of what `saved_` holds; absent when that may be out of date.
  std::optional<DefaultsFile::Version> savedVersion_ VMR_GUARDED_BY(mutex_);
  std::map<std::string, Change, std::less<>> unsaved_ VMR_GUARDED_BY(mutex_);
  std::uint64_t lastChange_ VMR_GUARDED_BY(mutex_) = 0;
  bool isSaveScheduled_ VMR_GUARDED_BY(mutex_) = false;
};

KeyFileUserDefaults::KeyFileUserDefaults(std::string path, Scheduler scheduler)
    : store_(std::make_shared<Store>(std::move(path))), scheduler_(std::move(scheduler)) {}

JsonValue KeyFileUserDefaults::objectForKey(std::string_view key) {
  return store_->value(key);
}

std::optional<std::string> KeyFileUserDefaults::stringForKey(std::string_view key) {
  return store_->value(key).stringValue();
}

void KeyFileUserDefaults::setObject(const JsonValue& value, std::string_view key) {
  if (!store_->set(key, value)) return;
  scheduler_(kSaveDelay, [weakStore = std::weak_ptr(store_)] {
    if (const std::shared_ptr<Store> store = weakStore.lock()) store->save();
  });
}

void KeyFileUserDefaults::removeObjectForKey(std::string_view key) {
  setObject(nullptr, key);
}

bool KeyFileUserDefaults::synchronize() {
  return store_->save();
}

void KeyFileUserDefaults::saveAtProcessEnd() {
  static std::weak_ptr<Store>& store = *new std::weak_ptr<Store>(store_);
  static const pid_t process = getpid();
  std::atexit([] {
    const std::shared_ptr<Store> living = getpid() == process ? store.lock() : nullptr;
    if (living) living->save();
  });
}

namespace {

std::string fileNameOfApplication() {
  const char* program = g_get_prgname();
  const std::string name =
      InfoDictionary::shared().entry("CFBundleIdentifier").value_or(program ? program : "unknown");
  const std::unique_ptr<char, GFree<g_free>> escaped(g_uri_escape_string(name.c_str(), nullptr, FALSE));
  return std::string(escaped.get()) + ".ini";
}

void saveLater(double seconds, std::function<void()> work) {
  dispatch().globalAfter(seconds, std::make_shared<DispatchBlock>(std::move(work)));
}

}  // namespace

std::unique_ptr<UserDefaults> makeUserDefaults() {
  auto defaults = std::make_unique<KeyFileUserDefaults>(privateFilePath(fileNameOfApplication()), saveLater);
  defaults->saveAtProcessEnd();
  return defaults;
}

}  // namespace vemora::gtk
