#include "backends/gtk/system/KeyFileUserDefaults.h"

#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/PrivateFile.h"

#include <Vemora/Vemora.h>

#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <utility>

namespace vemora::gtk {

namespace {

/// Settings mostly change in groups: they are saved together, this long after the first.
constexpr double kSaveDelay = 0.5;

}  // namespace

class KeyFileUserDefaults::Store {
 public:
  using Change = DefaultsFile::Change;

  explicit Store(std::string path) : file_(std::move(path)) {}

  JsonValue value(std::string_view key) {
    if (const auto change = unsavedChange(key)) return change->value;
    const Snapshot saved = snapshot();
    const auto found = saved->find(key);
    return found != saved->end() ? found->second : JsonValue();
  }

  /// True when a save is to be scheduled.
  bool set(std::string_view key, const JsonValue& value, bool onlyIfAbsent = false) {
    MutexLock lock(mutex_);
    unsaved_.insert_or_assign(std::string(key), Change{value, onlyIfAbsent, ++lastChange_});
    return !std::exchange(isSaveScheduled_, true);
  }

  /// The value that the first of several processes claims for a key without one. Saving puts it into the file
  /// and removes the claim after that. So a process that finds a value in the file after it has claimed came
  /// too late and takes that one.
  JsonValue claim(std::string_view key, const JsonValue& value) {
    const std::string path = file_.claimPath(key);
    const auto text = claimPrivateFile(path, value.serialized().value_or("null"));
    JsonValue claimed = JsonValue::parse(text.value_or("")).value_or(value);
    JsonValue saved = this->value(key);
    if (saved.isNull()) return claimed;
    removeFile(path);
    return saved;
  }

  /// Without waiting, it hands the changes over to the next save of any process when the file is locked.
  bool save(LockWait wait = LockWait::ThreeSeconds) {
    if (!hasUnsavedChanges()) return true;
    // Serialises all saves, so that an older change never overwrites a newer one.
    const FileLock fileLock(file_.path(), wait);
    const DefaultsFile::Changes changes = unsavedChanges();
    DefaultsFile::Changes writable;
    for (const auto& [key, change] : changes) {
      if (DefaultsFile::canHold(key, change.value)) writable.emplace(key, change);
    }
    if (writable.empty()) return changes.empty();
    if (!fileLock.isHeld() && wait == LockWait::None) return handOver(std::move(writable));
    std::optional<DefaultsFile::Values> merged = fileLock.isHeld() ? file_.merge(writable) : std::nullopt;
    if (!merged) {
      if (!hasLoggedFailure_.exchange(true)) {
        Vemora::logError("The settings cannot be written to " + file_.path());
      }
      return false;
    }
    markSaved(writable, std::move(*merged));
    for (const auto& [key, change] : writable) {
      if (change.onlyIfAbsent) removeFile(file_.claimPath(key));
    }
    return writable.size() == changes.size();
  }

 private:
  using Snapshot = std::shared_ptr<const DefaultsFile::Values>;

  bool handOver(DefaultsFile::Changes changes) {
    // Their claims stay on the disk and are taken by the next process.
    std::erase_if(changes, [](const auto& entry) { return entry.second.onlyIfAbsent; });
    return changes.empty() || file_.handOver(changes);
  }

  static void removeFile(const std::string& path) { unlink(path.c_str()); }

  std::optional<Change> unsavedChange(std::string_view key) {
    MutexLock lock(mutex_);
    const auto change = unsaved_.find(key);
    return change != unsaved_.end() ? std::optional(change->second) : std::nullopt;
  }

  bool hasUnsavedChanges() {
    MutexLock lock(mutex_);
    isSaveScheduled_ = false;
    return !unsaved_.empty();
  }

  DefaultsFile::Changes unsavedChanges() {
    MutexLock lock(mutex_);
    return unsaved_;
  }

  void markSaved(const DefaultsFile::Changes& changes, DefaultsFile::Values merged) {
    auto saved = std::make_shared<const DefaultsFile::Values>(std::move(merged));
    MutexLock lock(mutex_);
    saved_ = std::move(saved);
    savedVersion_.reset();
    for (const auto& [key, change] : changes) {
      const auto unsaved = unsaved_.find(key);
      if (unsaved != unsaved_.end() && unsaved->second.number == change.number) unsaved_.erase(unsaved);
    }
  }

  /// What is on disk. Reads the file again, without the lock, when it has changed.
  Snapshot snapshot() {
    const DefaultsFile::Version version = file_.version();
    {
      MutexLock lock(mutex_);
      if (savedVersion_ == version) return saved_;
    }
    auto read = std::make_shared<const DefaultsFile::Values>(file_.read());
    MutexLock lock(mutex_);
    saved_ = read;
    savedVersion_ = version.isSettled() ? std::optional(version) : std::nullopt;
    return read;
  }

  const DefaultsFile file_;
  std::atomic<bool> hasLoggedFailure_{false};

  Mutex mutex_;  ///< Guards everything below.
  Snapshot saved_ VMR_GUARDED_BY(mutex_);
  /// The version that `saved_` holds; absent when that may be out of date.
  std::optional<DefaultsFile::Version> savedVersion_ VMR_GUARDED_BY(mutex_);
  DefaultsFile::Changes unsaved_ VMR_GUARDED_BY(mutex_);
  std::uint64_t lastChange_ VMR_GUARDED_BY(mutex_) = 0;
  bool isSaveScheduled_ VMR_GUARDED_BY(mutex_) = false;
};

KeyFileUserDefaults::KeyFileUserDefaults(std::string path, Scheduler scheduler, MayWait mayWait)
    : store_(std::make_shared<Store>(std::move(path))), scheduler_(std::move(scheduler)), mayWait_(mayWait) {}

JsonValue KeyFileUserDefaults::objectForKey(std::string_view key) {
  return store_->value(key);
}

std::optional<std::string> KeyFileUserDefaults::stringForKey(std::string_view key) {
  return store_->value(key).stringValue();
}

void KeyFileUserDefaults::setObject(const JsonValue& value, std::string_view key) {
  if (store_->set(key, value)) saveAfter(kSaveDelay);
}

JsonValue KeyFileUserDefaults::setObjectIfAbsent(const JsonValue& value, std::string_view key) {
  if (JsonValue stored = store_->value(key); !stored.isNull()) return stored;
  JsonValue claimed = store_->claim(key, value);
  if (store_->set(key, claimed, true)) saveAfter(kSaveDelay);
  return claimed;
}

void KeyFileUserDefaults::removeObjectForKey(std::string_view key) {
  setObject(nullptr, key);
}

bool KeyFileUserDefaults::synchronize() {
  if (mayWait_()) return store_->save();
  saveAfter(0);
  return true;
}

void KeyFileUserDefaults::saveAfter(double seconds) {
  scheduler_(seconds, [weakStore = std::weak_ptr(store_)] {
    if (const std::shared_ptr<Store> store = weakStore.lock()) store->save();
  });
}

bool KeyFileUserDefaults::saveWithoutWaiting() {
  return store_->save(LockWait::None);
}

void KeyFileUserDefaults::saveAtProcessEnd() {
  static std::weak_ptr<Store>& store = *new std::weak_ptr<Store>(store_);
  static const pid_t process = getpid();
  std::atexit([] {
    const std::shared_ptr<Store> living = getpid() == process ? store.lock() : nullptr;
    if (living) living->save(LockWait::None);
  });
}

namespace {

void saveLater(double seconds, std::function<void()> work) {
  dispatch().globalAfter(seconds, std::make_shared<DispatchBlock>(std::move(work)));
}

}  // namespace

std::unique_ptr<UserDefaults> makeUserDefaults() {
  auto defaults = std::make_unique<KeyFileUserDefaults>(applicationFilePath(".ini"), saveLater,
                                                        [] { return !dispatch().isMainThread(); });
  defaults->saveAtProcessEnd();
  return defaults;
}

}  // namespace vemora::gtk
