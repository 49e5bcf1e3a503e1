#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraExport.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vemora {

/// What happened (`name`), to whom (`object`, may be null) and details (`userInfo`, an object or null).
struct Notification {
  std::string name;
  std::shared_ptr<const void> object;
  JsonValue userInfo;
};

/// The process-wide board on which the SDK announces what no single owner waits for: completed futures, the
/// application's life cycle, audio route and reachability changes.
///
///     auto token = NotificationCenter::defaultCenter().addObserver(name, [](const Notification& n) { ... });
///
/// Posting calls the handlers synchronously, on the posting thread, in the order in which they were added,
/// with no lock held: handlers may add and remove observers. A handler is not called any more once its token
/// is gone, save on a thread that is already inside it. All operations may be called from any thread.
class VEMORA_EXPORT NotificationCenter {
 public:
  using Handler = std::function<void(const Notification&)>;

  /// Ends the observation when destroyed.
  class VEMORA_EXPORT Token {
   public:
    Token() = default;
    Token(Token&&) noexcept = default;
    Token& operator=(Token&&) noexcept;
    ~Token();

   private:
    friend class NotificationCenter;
    struct Entry;
    explicit Token(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}
    std::shared_ptr<Entry> entry_;
  };

  static NotificationCenter& defaultCenter();

  [[nodiscard]] Token addObserver(std::string_view name, Handler handler);
  void postNotification(const Notification& notification);
  /// True when somebody listens to `name`: lets a frequent poster skip the work of making the notification.
  bool hasObservers(std::string_view name) const;

  NotificationCenter();
  ~NotificationCenter();
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vemora
