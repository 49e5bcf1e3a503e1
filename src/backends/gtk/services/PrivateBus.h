#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <gio/gio.h>

#include <memory>

namespace vemora::gtk {

/// A connection to a message bus that nobody shares, so that what is done on it (and to it) concerns no one
/// else in the process. Never starts a bus.
///
/// Belongs to the thread that opens it, whose thread-default main context it speaks on. Destroying it closes
/// the connection and hears it out: what it had yet to say would otherwise keep it, and the context, for
/// good.
class PrivateBus {
 public:
  /// Blocks until the bus has answered; null when there is none.
  static std::unique_ptr<PrivateBus> open(GBusType type, GCancellable* cancellable);
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  GDBusConnection* connection() const { return connection_.get(); }

 private:
  explicit PrivateBus(GObjectPtr<GDBusConnection> connection);

  const GObjectPtr<GDBusConnection> connection_;
  bool closed_ = false;
};

}  // namespace vemora::gtk
