#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <gio/gio.h>

#include <memory>

namespace vemora::gtk {

/// An unshared connection to a message bus, so that its use and its closure affect no other part of the
/// process. Never starts a bus.
///
/// Belongs to the thread that opens it, whose thread-default main context it speaks on. Destroying it closes
/// the connection and processes its pending messages, which would otherwise keep the connection and the
/// context alive for good.
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
