#include "base/Mutex.h"

#include <Vemora/NotificationCenter.h>

#include <atomic>
#include <limits>
#include <map>
#include <vector>

namespace vemora {

struct NotificationCenter::Token::Entry {
  Handler handler;
  std::uint64_t number = 0;  ///< In the order of the observers of the centre.
  std::atomic<bool> ended{false};
};

struct NotificationCenter::State {
  Mutex mutex;  ///< Guards the lists; never held while a handler runs.
  std::map<std::string, std::vector<std::weak_ptr<Token::Entry>>, std::less<>> observers
      VMR_GUARDED_BY(mutex);
  /// Skips the lock for notifications without observers, such as those of most completed futures.
  std::atomic<std::uint64_t> registrations{0};
};

NotificationCenter::Token& NotificationCenter::Token::operator=(Token&& other) noexcept {
  // Taken first, so that a token moved onto itself goes on.
  std::shared_ptr<Entry> taken = std::move(other.entry_);
  if (entry_) entry_->ended = true;
  entry_ = std::move(taken);
  return *this;
}

NotificationCenter::Token::~Token() {
  if (entry_) entry_->ended = true;
}

NotificationCenter::NotificationCenter() : state_(std::make_unique<State>()) {}
NotificationCenter::~NotificationCenter() = default;

NotificationCenter& NotificationCenter::defaultCenter() {
  static NotificationCenter& center = *new NotificationCenter;
  return center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name, Handler handler) {
  auto entry = std::make_shared<Token::Entry>();
  entry->handler = std::move(handler);
  MutexLock lock(state_->mutex);
  auto found = state_->observers.find(name);
  if (found == state_->observers.end()) found = state_->observers.emplace(std::string(name), 0).first;
  auto& list = found->second;
  std::erase_if(list, [](const auto& other) { return other.expired(); });
  entry->number = state_->registrations.fetch_add(1, std::memory_order_relaxed);
  list.push_back(entry);
  return Token(std::move(entry));
}

NotificationCenter::Moment NotificationCenter::now() const {
  return Moment(state_->registrations.load(std::memory_order_relaxed));
}

void NotificationCenter::postNotification(const Notification& notification) {
  postNotification(notification, Moment(std::numeric_limits<std::uint64_t>::max()));
}

void NotificationCenter::postNotification(const Notification& notification, Moment moment) {
  if (state_->registrations.load(std::memory_order_relaxed) == 0) return;
  std::vector<std::weak_ptr<Token::Entry>> snapshot;
  {
    MutexLock lock(state_->mutex);
    const auto found = state_->observers.find(notification.name);
    if (found != state_->observers.end()) snapshot = found->second;
  }
  for (const auto& observer : snapshot) {
    const auto entry = observer.lock();
    if (entry && !entry->ended && entry->number < static_cast<std::uint64_t>(moment))
      entry->handler(notification);
  }
}

bool NotificationCenter::hasObservers(std::string_view name) const {
  if (state_->registrations.load(std::memory_order_relaxed) == 0) return false;
  MutexLock lock(state_->mutex);
  const auto found = state_->observers.find(name);
  if (found == state_->observers.end()) return false;
  for (const auto& observer : found->second) {
    if (!observer.expired()) return true;
  }
  return false;
}

}  // namespace vemora
