#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/GObjectSignal.h"
#include "backends/gtk/ui/GLSurfaceRelease.h"

#include <Vemora/NotificationCenter.h>

#include <gtk/gtk.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace vemora::gtk {

/// All toplevel windows of the process, and which of them is in use.
///
/// Focus that moves between two windows leaves the first before it reaches the second, and a window that
/// opens gets it only once the window manager has seen to it. So the application counts as left only after
/// none of its windows has been active for `kLeaveDelay`; it counts as back at once. Until a window has been
/// active for the first time (there may be no window manager to make it so) nothing is announced.
///
/// A return is posted only to those who observed the leaving. A player that was loaded in between has nothing
/// to resume: it would lower a depth that it has not raised, and arm a second heartbeat check.
class HostWindows : public std::enable_shared_from_this<HostWindows> {
 public:
  static constexpr double kLeaveDelay = 0.25;

  /// To be called once, after construction.
  void watch();
  /// The host's window that is active, else the last that was, else the first visible one.
  GObjectPtr<GtkWindow> keyWindow() const;

 private:
  struct Watched {
    GObjectWeakPtr<GtkWindow> window;
    SignalConnection activeChanged;
    std::shared_ptr<GLSurfaceRelease> surfaceRelease;
  };

  void toplevelsChanged();
  void activeChanged();
  void leaveIfStillIn(std::uint64_t absence);

  std::vector<std::unique_ptr<Watched>> watched_;
  SignalConnection toplevelsChanged_;
  GObjectWeakPtr<GtkWindow> lastActive_;
  bool inUse_ = false;
  bool left_ = false;
  NotificationCenter::Moment whenLeft_{};
  std::uint64_t absences_ = 0;  ///< Times that no window was active, however briefly.
};

}  // namespace vemora::gtk
