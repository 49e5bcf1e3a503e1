#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/GObjectSignal.h"

#include <gtk/gtk.h>

#include <memory>

namespace vemora::gtk {

/// Destroys the EGL surface that GTK leaks when a window is hidden under Wayland.
///
/// GTK 4.8 passes its own display instead of the EGL display to `eglDestroySurface`, so the surface stays.
/// EGL still counts it as the surface of its native window, and refuses another one for a native window at
/// the same address, which the allocator likes to reuse for the next window. That window then draws nothing:
/// it asks for a frame, commits none, and its frame clock stands still. An ad in it would never start. Each
/// leaked surface keeps its buffers as well.
///
/// Nothing is done where GTK has destroyed the surface. Main thread.
class GLSurfaceRelease : public std::enable_shared_from_this<GLSurfaceRelease> {
 public:
  static std::shared_ptr<GLSurfaceRelease> watch(GtkWindow* window);

 private:
  explicit GLSurfaceRelease(GtkWindow* window) : window_(window) {}
  void connect();
  void watchFrames();
  void noteSurface();
  void destroySurface();

  GObjectWeakPtr<GtkWindow> window_;
  SignalConnection realized_, unmapped_, painted_;
  /// The surface of the latest frame and its EGL display, null before the first.
  void* surface_ = nullptr;
  void* display_ = nullptr;
};

}  // namespace vemora::gtk
