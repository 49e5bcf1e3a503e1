#include "core/bridge/VMRObservable.h"

#include "core/bridge/VMRRpc.h"

namespace vemora {

void VMRObservable::registerObserver(const std::shared_ptr<VMRRuntimeMessageHandler>& observer) {
  if (!observer) return;
  const std::string awaited(observer->awaitedResponse());
  MutexLock lock(mutex_);
  if (const auto found = places_.find(observer.get()); found != places_.end()) {
    const Ordered& list =
        found->second.awaitedResponse.empty() ? listening_ : awaiting_[found->second.awaitedResponse];
    if (!list.at(found->second.position).expired()) return;
    erase(observer.get());  // Left by an observer that has gone and whose address is in use again.
  }
  places_[observer.get()] = {nextPosition_, awaited};
  (awaited.empty() ? listening_ : awaiting_[awaited])[nextPosition_++] = observer;
}

void VMRObservable::unregisterObserver(const VMRRuntimeMessageHandler* observer) {
  MutexLock lock(mutex_);
  erase(observer);
}

void VMRObservable::erase(const VMRRuntimeMessageHandler* observer) {
  const auto found = places_.find(observer);
  if (found == places_.end()) return;
  const auto& [position, awaited] = found->second;
  if (awaited.empty()) {
    listening_.erase(position);
  } else if (const auto list = awaiting_.find(awaited); list != awaiting_.end()) {
    list->second.erase(position);
    if (list->second.empty()) awaiting_.erase(list);
  }
  places_.erase(found);
}

std::vector<VMRObservable::Observer> VMRObservable::inOrder(const Ordered& first, const Ordered& second) {
  std::vector<Observer> merged;
  merged.reserve(first.size() + second.size());
  auto a = first.begin();
  auto b = second.begin();
  while (a != first.end() || b != second.end()) {
    const bool takeFirst = b == second.end() || (a != first.end() && a->first < b->first);
    merged.push_back(takeFirst ? (a++)->second : (b++)->second);
  }
  return merged;
}

std::vector<VMRObservable::Observer> VMRObservable::observers() const {
  MutexLock lock(mutex_);
  Ordered awaiting;
  for (const auto& [id, list] : awaiting_) awaiting.insert(list.begin(), list.end());
  return inOrder(listening_, awaiting);
}

std::vector<VMRObservable::Observer> VMRObservable::observersFor(const VMRRpc* message) const {
  static const Ordered& none = *new Ordered;
  const bool isResponse = message && message->isResponse();
  MutexLock lock(mutex_);
  const auto found = isResponse ? awaiting_.find(std::string(*message->ID().asString())) : awaiting_.end();
  return inOrder(listening_, found == awaiting_.end() ? none : found->second);
}

}  // namespace vemora
