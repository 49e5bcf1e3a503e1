#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <glib-object.h>

#include <functional>
#include <memory>
#include <utility>

namespace vemora::gtk {

/// A signal handler that is taken off when this goes. The instance may go first.
class SignalConnection {
 public:
  SignalConnection() = default;
  SignalConnection(GObject* instance, gulong id)
      : instance_(std::make_unique<GObjectWeakPtr<GObject>>(instance)), id_(id) {}
  SignalConnection(SignalConnection&& other) noexcept = default;
  SignalConnection& operator=(SignalConnection&& other) noexcept {
    disconnect();
    instance_ = std::move(other.instance_);
    id_ = other.id_;
    return *this;
  }
  ~SignalConnection() { disconnect(); }

  void disconnect() {
    const auto weak = std::exchange(instance_, nullptr);
    if (!weak) return;
    if (const auto instance = weak->lock(); instance && g_signal_handler_is_connected(instance.get(), id_)) {
      g_signal_handler_disconnect(instance.get(), id_);
    }
  }

 private:
  std::unique_ptr<GObjectWeakPtr<GObject>> instance_;
  gulong id_ = 0;
};

template <typename Signature>
struct SignalTrampoline;

template <typename Result, typename... Arguments>
struct SignalTrampoline<Result(Arguments...)> {
  using Handler = std::function<Result(Arguments...)>;

  static Result call(gpointer, Arguments... arguments, gpointer handler) {
    return (*static_cast<Handler*>(handler))(arguments...);
  }
  static void destroy(gpointer handler, GClosure*) { delete static_cast<Handler*>(handler); }
};

/// Connects a handler that takes exactly the signal's parameters, without instance and user data. The handler
/// lives as long as the connection, so it captures its owner weakly.
template <typename Signature>
[[nodiscard]] SignalConnection connectSignal(gpointer instance, const char* signal,
                                             std::function<Signature> handler, GConnectFlags flags = {}) {
  using Trampoline = SignalTrampoline<Signature>;
  const gulong id =
      g_signal_connect_data(instance, signal, G_CALLBACK(&Trampoline::call),
                            new std::function<Signature>(std::move(handler)), &Trampoline::destroy, flags);
  return {G_OBJECT(instance), id};
}

}  // namespace vemora::gtk
