#pragma once

#include "web/Host.h"

#include <cstdint>
#include <functional>
#include <string>

namespace vemora::bench {

/// The shape of the SDK's path written with GLib and RapidJSON alone, with none of what makes it an SDK: a
/// call hops to a queue, from there to the main context; what the page posts is parsed on a delivery thread,
/// which wakes the waiter. Ids are matched through a table, and a waiter gives up after five seconds.
class BareBridge {
 public:
  /// `onEvent` runs on the main thread, once for each event that the page posts.
  explicit BareBridge(Host& host, std::function<void(double)> onEvent = {});
  ~BareBridge();

  void load() { page_.load(); }
  bool isLoaded() const { return page_.isLoaded(); }
  /// On a background thread: posts a request and waits for its reply. False when none came.
  bool call(const std::string& method);
  /// Posts without waiting.
  void post(const std::string& method);

 private:
  struct Waiter;
  void receive(JSCValue* body);
  void deliver(char* json);
  std::string request(std::uint64_t id, const std::string& method) const;

  BarePage page_;
  std::function<void(double)> onEvent_;
  GThreadPool* queue_;
  GThreadPool* deliveries_;
  GMutex mutex_;
  GHashTable* waiters_;
  std::uint64_t nextId_ = 1;
};

}  // namespace vemora::bench
