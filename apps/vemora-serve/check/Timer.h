#pragma once

#include <glib.h>

#include <functional>
#include <utility>

namespace vemora::check {

/// Calls a function once after a delay, in the default main context, unless it is destroyed or restarted
/// first.
class Timer {
 public:
  Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;
  ~Timer() { cancel(); }

  void start(double seconds, std::function<void()> call) {
    cancel();
    call_ = std::move(call);
    source_ = g_timeout_add(static_cast<guint>(seconds * 1000), fire, this);
  }
  void cancel() {
    if (const guint source = std::exchange(source_, 0)) g_source_remove(source);
  }

 private:
  static gboolean fire(gpointer data) {
    auto* const self = static_cast<Timer*>(data);
    self->source_ = 0;
    // The callback may restart or destroy this.
    const std::function<void()> call = std::move(self->call_);
    call();
    return G_SOURCE_REMOVE;
  }

  guint source_ = 0;
  std::function<void()> call_;
};

}  // namespace vemora::check
