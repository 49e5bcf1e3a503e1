#pragma once

#include "base/Mutex.h"
#include "core/bridge/VMRRuntimeMessageHandler.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vemora {

/// A list of observers that are held weakly and called in the order in which they were registered. Notifying
/// works on a snapshot, so observers may come and go meanwhile. Any thread.
class VMRObservable {
 public:
  using Observer = std::weak_ptr<VMRRuntimeMessageHandler>;

  virtual ~VMRObservable() = default;

  /// Does nothing for an observer that is in the list already.
  void registerObserver(const std::shared_ptr<VMRRuntimeMessageHandler>& observer);
  /// By address, since an observer that leaves the list while it is destroyed already reads as gone.
  void unregisterObserver(const VMRRuntimeMessageHandler* observer);

  /// A snapshot in the order of registration; observers that have gone read as empty.
  std::vector<Observer> observers() const;

 protected:
  /// A snapshot, in the same order, of those that may consume `message`. Calls that await other replies are
  /// left out, so that a reply costs the same however many of them are outstanding.
  std::vector<Observer> observersFor(const VMRRpc* message) const;

 private:
  using Position = std::uint64_t;
  struct Place {
    Position position;
    std::string awaitedResponse;
  };

  using Ordered = std::map<Position, Observer>;

  void erase(const VMRRuntimeMessageHandler* observer) VMR_REQUIRES(mutex_);
  static std::vector<Observer> inOrder(const Ordered& first, const Ordered& second);

  mutable Mutex mutex_;  ///< Guards the fields below; held for each access alone. Nothing is locked under it.
  Position nextPosition_ VMR_GUARDED_BY(mutex_) = 0;
  std::unordered_map<const VMRRuntimeMessageHandler*, Place> places_ VMR_GUARDED_BY(mutex_);
  Ordered listening_ VMR_GUARDED_BY(mutex_);
  std::unordered_map<std::string, Ordered> awaiting_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora
