#include "backends/gtk/ui/GLSurfaceRelease.h"

#include "ports/Platform.h"

#include <epoxy/egl.h>
#ifdef GDK_WINDOWING_WAYLAND
#include <gdk/wayland/gdkwayland.h>
#endif

#include <utility>

namespace vemora::gtk {

namespace {

/// Elsewhere a hidden window keeps its surface.
bool hidingDestroysSurfaces(GtkWindow* window) {
#ifdef GDK_WINDOWING_WAYLAND
  return GDK_IS_WAYLAND_DISPLAY(gtk_widget_get_display(GTK_WIDGET(window))) && epoxy_has_egl();
#else
  return false;
#endif
}

}  // namespace

std::shared_ptr<GLSurfaceRelease> GLSurfaceRelease::watch(GtkWindow* window) {
  assertMainThread();
  std::shared_ptr<GLSurfaceRelease> release(new GLSurfaceRelease(window));
  if (hidingDestroysSurfaces(window)) release->connect();
  return release;
}

void GLSurfaceRelease::connect() {
  const auto window = window_.lock();
  const auto perform = [weak = weak_from_this()](void (GLSurfaceRelease::*step)()) {
    return [weak, step] {
      if (const auto self = weak.lock()) (self.get()->*step)();
    };
  };
  realized_ = connectSignal<void()>(window.get(), "realize", perform(&GLSurfaceRelease::watchFrames),
                                    G_CONNECT_AFTER);
  unmapped_ = connectSignal<void()>(window.get(), "unmap", perform(&GLSurfaceRelease::destroySurface),
                                    G_CONNECT_AFTER);
  if (gtk_widget_get_realized(GTK_WIDGET(window.get()))) watchFrames();
}

void GLSurfaceRelease::watchFrames() {
  const auto window = window_.lock();
  painted_ = connectSignal<void()>(gtk_widget_get_frame_clock(GTK_WIDGET(window.get())), "after-paint",
                                   [weak = weak_from_this()] {
                                     if (const auto self = weak.lock()) self->noteSurface();
                                   });
}

void GLSurfaceRelease::noteSurface() {
  const auto window = window_.lock();
  GdkGLContext* context = gdk_gl_context_get_current();
  if (!window || !context) return;
  if (gdk_gl_context_get_surface(context) != gtk_native_get_surface(GTK_NATIVE(window.get()))) return;
  // None when the context is current without a surface.
  if (EGLSurface surface = eglGetCurrentSurface(EGL_DRAW); surface != EGL_NO_SURFACE) {
    surface_ = surface;
    display_ = eglGetCurrentDisplay();
  }
}

void GLSurfaceRelease::destroySurface() {
  EGLSurface surface = std::exchange(surface_, nullptr);
  EGLint width = 0;
  // The window has just been hidden, so no other surface can have the handle of one that GTK has destroyed.
  if (surface && eglQuerySurface(display_, surface, EGL_WIDTH, &width)) eglDestroySurface(display_, surface);
}

}  // namespace vemora::gtk
