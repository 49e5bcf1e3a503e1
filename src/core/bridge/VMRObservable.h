#pragma once

#include "base/Mutex.h"
#include "core/bridge/VMRRuntimeMessageHandler.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vemora {

/// A list of observers that are held weakly and called in the order in which they were registered, with an
/// index of those that await one reply each. Notifying works on a snapshot, so observers may come and go
/// meanwhile. Any thread.
class VMRObservable {
 public:
  using Observer = std::weak_ptr<VMRRuntimeMessageHandler>;

  virtual ~VMRObservable() = default;

  /// Does nothing for an observer that is in the list already.
  void registerObserver(const std::shared_ptr<VMRRuntimeMessageHandler>& observer);
  /// By address, since an observer may leave the list in its destructor, when weak references to it are
  /// empty.
  void unregisterObserver(const VMRRuntimeMessageHandler* observer);

  /// A snapshot in the order of registration; observers that have gone read as empty.
  std::vector<Observer> observers() const;

 protected:
  /// A snapshot, in the same order, of those that may consume `message`. Calls that await other replies are
  /// left out, so that a message costs the same however many calls are outstanding.
  std::vector<Observer> observersFor(const VMRRpc* message) const;

 private:
  struct Entry {
    Observer observer;
    const VMRRuntimeMessageHandler* address;
    std::uint64_t position;
  };
  using Entries = std::vector<Entry>;

  static std::vector<Observer> inOrder(Entries entries);

  mutable Mutex mutex_;  ///< Guards the fields below; held for each access alone. Nothing is locked under it.
  std::uint64_t nextPosition_ VMR_GUARDED_BY(mutex_) = 0;
  Entries listening_ VMR_GUARDED_BY(mutex_);
  std::unordered_multimap<std::string, Entry> awaiting_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora
