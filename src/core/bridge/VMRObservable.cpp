#include "core/bridge/VMRObservable.h"

#include "core/bridge/VMRRpc.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vemora {

void VMRObservable::registerObserver(const std::shared_ptr<VMRRuntimeMessageHandler>& observer) {
  if (!observer) return;
  const std::string awaited(observer->awaitedResponse());
  const auto isSame = [&](const Entry& entry) {
    return entry.address == observer.get() && !entry.observer.expired();
  };
  MutexLock lock(mutex_);
  if (awaited.empty()) {
    if (std::any_of(listening_.begin(), listening_.end(), isSame)) return;
    // What has gone without leaving is forgotten here: its address may be in use again.
    std::erase_if(listening_, [](const Entry& entry) { return entry.observer.expired(); });
    listening_.push_back({observer, observer.get(), nextPosition_++});
    return;
  }
  const auto [begin, end] = awaiting_.equal_range(awaited);
  if (std::any_of(begin, end, [&](const auto& item) { return isSame(item.second); })) return;
  awaiting_.emplace(awaited, Entry{observer, observer.get(), nextPosition_++});
}

void VMRObservable::unregisterObserver(const VMRRuntimeMessageHandler* observer) {
  if (!observer) return;
  const std::string awaited(observer->awaitedResponse());
  MutexLock lock(mutex_);
  std::erase_if(listening_, [observer](const Entry& entry) { return entry.address == observer; });
  auto [entry, end] = awaiting_.equal_range(awaited);
  while (entry != end) entry = entry->second.address == observer ? awaiting_.erase(entry) : std::next(entry);
}

std::vector<VMRObservable::Observer> VMRObservable::inOrder(Entries entries) {
  std::sort(entries.begin(), entries.end(),
            [](const Entry& a, const Entry& b) { return a.position < b.position; });
  std::vector<Observer> observers;
  observers.reserve(entries.size());
  for (Entry& entry : entries) observers.push_back(std::move(entry.observer));
  return observers;
}

std::vector<VMRObservable::Observer> VMRObservable::observers() const {
  MutexLock lock(mutex_);
  Entries all = listening_;
  for (const auto& [id, entry] : awaiting_) all.push_back(entry);
  return inOrder(std::move(all));
}

std::vector<VMRObservable::Observer> VMRObservable::observersFor(const VMRRpc* message) const {
  MutexLock lock(mutex_);
  Entries all = listening_;
  if (message && message->isResponse()) {
    const auto [begin, end] = awaiting_.equal_range(std::string(*message->ID().asString()));
    for (auto entry = begin; entry != end; ++entry) all.push_back(entry->second);
  }
  return inOrder(std::move(all));
}

}  // namespace vemora
