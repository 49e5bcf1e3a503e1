#pragma once

#include <Vemora/JsonValue.h>
#include <Vemora/VemoraExport.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vemora {

/// One event, as it is passed to observers.
struct Notification {
  std::string name;                    ///< What happened.
  std::shared_ptr<const void> object;  ///< The object that it happened to; may be null.
  JsonValue userInfo;                  ///< Details: an object or null.
};

/// Distributes events that have no single receiver: completed futures, the application's life cycle,
/// changes of audio route and reachability.
///
///     auto token = NotificationCenter::defaultCenter().addObserver(name, [](const Notification& n) { ... });
///
/// Posting calls the handlers synchronously, on the posting thread, in the order in which they were added,
/// with no lock held: handlers may add and remove observers. A handler is not called after its token has
/// been destroyed, except on a thread that is already inside it. All operations may be called from any
/// thread.
class VEMORA_EXPORT NotificationCenter {
 public:
  /// What an observer does with a notification. It must not throw.
  using Handler = std::function<void(const Notification&)>;

  /// Ends the observation when destroyed.
  class VEMORA_EXPORT Token {
   public:
    /// Observes nothing.
    Token() = default;
    /// Takes over the observation of another token.
    Token(Token&&) noexcept = default;
    /// Ends this token's observation and takes over that of another.
    Token& operator=(Token&&) noexcept;
    ~Token();

   private:
    friend class NotificationCenter;
    struct Entry;
    explicit Token(std::shared_ptr<Entry> entry) : entry_(std::move(entry)) {}
    std::shared_ptr<Entry> entry_;
  };

  /// The centre of the process, which lives as long as the process.
  static NotificationCenter& defaultCenter();

  /// Calls the handler for each notification of this name until the token is destroyed. The centre owns the
  /// handler.
  [[nodiscard]] Token addObserver(std::string_view name, Handler handler);
  /// Calls the handlers of the notification's name, and returns after the last of them.
  void postNotification(const Notification& notification);

  /// A moment in the order in which observers were added.
  enum class Moment : std::uint64_t {};
  /// The present moment.
  Moment now() const;
  /// Calls only those handlers that were added before `moment`. Use it for the second of two notifications
  /// that belong together, so that only those are called who could observe the first.
  void postNotification(const Notification& notification, Moment moment);
  /// True when `name` has observers. Lets a frequent poster skip creating the notification.
  bool hasObservers(std::string_view name) const;

  /// A centre of its own, for tests.
  NotificationCenter();
  ~NotificationCenter();
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vemora
