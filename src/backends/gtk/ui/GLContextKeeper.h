#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <gdk/gdk.h>

namespace vemora::gtk {

/// Keeps the current OpenGL context of the main thread while WebKit objects are created.
///
/// WebKit probes the graphics driver when the first object of the process is created, and leaves no context
/// current. GDK remembers which context it made current last and does not notice, so the windows that are on
/// the screen already would draw their next frames without any context. A Wayland compositor then gets no
/// frame, asks for no other, and the window is neither drawn nor laid out again.
class GLContextKeeper {
 public:
  GLContextKeeper() : context_(GObjectPtr<GdkGLContext>::retain(gdk_gl_context_get_current())) {
    gdk_gl_context_clear_current();
  }
  ~GLContextKeeper() {
    if (context_) gdk_gl_context_make_current(context_.get());
  }
  GLContextKeeper(const GLContextKeeper&) = delete;
  GLContextKeeper& operator=(const GLContextKeeper&) = delete;

 private:
  const GObjectPtr<GdkGLContext> context_;
};

}  // namespace vemora::gtk
