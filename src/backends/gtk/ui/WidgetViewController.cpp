#include "backends/gtk/ui/WidgetViewController.h"

#include "backends/gtk/ui/AdAreaWidget.h"
#include "backends/gtk/ui/HostWindowView.h"
#include "backends/gtk/ui/WidgetView.h"
#include "ports/Platform.h"

#include <vector>

namespace vemora::gtk {

namespace {

GQuark ownWindowQuark() {
  static const GQuark quark = g_quark_from_static_string("vemora-own-window");
  return quark;
}

}  // namespace

bool isOwnWindow(GtkWindow* window) {
  return g_object_get_qdata(G_OBJECT(window), ownWindowQuark()) != nullptr;
}

void markOwnWindow(GtkWindow* window) {
  g_object_set_qdata(G_OBJECT(window), ownWindowQuark(), GINT_TO_POINTER(TRUE));
}

GObjectPtr<GdkMonitor> monitorOfWindow(GtkWindow* window) {
  GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window));
  return GObjectPtr<GdkMonitor>::retain(
      surface ? gdk_display_get_monitor_at_surface(gdk_surface_get_display(surface), surface) : nullptr);
}

bool WidgetViewController::isEqual(const ViewController& other) const {
  return this == &other;
}

std::shared_ptr<ViewController> WidgetViewController::presentedViewController() const {
  return presented_;
}

void WidgetViewController::presentViewController(const std::shared_ptr<ViewController>& controller, bool,
                                                 std::function<void()> completion) {
  assertMainThread();
  const auto presentable = std::dynamic_pointer_cast<PresentableViewController>(controller);
  const auto parent = hostWindow();
  if (!presentable || presented_ || !parent || presentable->isPresented()) return;
  presented_ = presentable;
  presentable->enter(parent.get(), weak_from_this(), std::move(completion));
}

void WidgetViewController::dismissViewController(bool animated) {
  assertMainThread();
  const auto presented = std::exchange(presented_, nullptr);
  if (!presented) return;
  presented->dismissViewController(animated);
  presented->leave();
}

void WidgetViewController::setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) {
  assertMainThread();
  presentationDelegate_ = std::move(delegate);
}

RootViewController::RootViewController(const std::shared_ptr<HostWindowView>& window) : window_(window) {}

std::shared_ptr<View> RootViewController::view() const {
  return window_.lock();
}

GObjectPtr<GtkWindow> RootViewController::hostWindow() const {
  const auto view = window_.lock();
  const auto widget = view ? view->widget() : nullptr;
  return GObjectPtr<GtkWindow>::retain(widget ? GTK_WINDOW(widget.get()) : nullptr);
}

PresentableViewController::~PresentableViewController() {
  leave();
}

void PresentableViewController::enter(GtkWindow* parent, std::weak_ptr<WidgetViewController> presenter,
                                      std::function<void()> completion) {
  presenter_ = std::move(presenter);
  completion_ = std::move(completion);
  window_ = GObjectPtr<GtkWindow>::retain(GTK_WINDOW(gtk_window_new()));
  GtkWindow* window = window_.get();
  markOwnWindow(window);
  gtk_window_set_display(window, gtk_widget_get_display(GTK_WIDGET(parent)));
  gtk_window_set_transient_for(window, parent);
  gtk_window_set_modal(window, TRUE);
  prepareWindow(window, parent);

  const std::weak_ptr<PresentableViewController> weak =
      std::static_pointer_cast<PresentableViewController>(shared_from_this());
  closeRequested_ = connectSignal<gboolean()>(window, "close-request", [weak]() -> gboolean {
    if (const auto self = weak.lock()) self->closeByUser();
    return TRUE;
  });
  mapped_ = connectSignal<void()>(
      window, "map",
      [weak] {
        if (const auto self = weak.lock()) self->awaitFirstFrame();
      },
      G_CONNECT_AFTER);
  gtk_window_present(window);
}

void PresentableViewController::awaitFirstFrame() {
  mapped_.disconnect();
  const std::weak_ptr<PresentableViewController> weak =
      std::static_pointer_cast<PresentableViewController>(shared_from_this());
  GdkFrameClock* clock = gtk_widget_get_frame_clock(GTK_WIDGET(window_.get()));
  painted_ = connectSignal<void()>(clock, "after-paint", [weak] {
    const auto self = weak.lock();
    if (!self || gtk_widget_get_width(GTK_WIDGET(self->window_.get())) == 0) return;
    self->painted_.disconnect();
    if (const auto completion = std::exchange(self->completion_, nullptr)) completion();
  });
}

void PresentableViewController::leave() {
  closeRequested_.disconnect();
  mapped_.disconnect();
  painted_.disconnect();
  completion_ = nullptr;
  presenter_.reset();
  if (const auto window = std::exchange(window_, nullptr)) {
    gtk_window_set_child(window.get(), nullptr);
    gtk_window_destroy(window.get());
    didLeave();
  }
}

void PresentableViewController::closeByUser() {
  const auto presenter = presenter_.lock();
  if (!presenter) return;
  // What is presented over this goes with it, and is closed by the user as well.
  std::vector<std::shared_ptr<PresentableViewController>> closed;
  auto next = std::static_pointer_cast<PresentableViewController>(shared_from_this());
  for (; next; next = next->presented_) closed.push_back(next);
  presenter->dismissViewController(true);
  for (auto entry = closed.rbegin(); entry != closed.rend(); ++entry) (*entry)->didCloseByUser();
}

void PresentableViewController::didCloseByUser() {
  if (const auto delegate = presentationDelegate_.lock()) delegate->presentationControllerDidDismiss();
}

ScreenViewController::ScreenViewController(const ViewControllerTraits& traits)
    : traits_(traits), area_(GObjectPtr<GtkWidget>::sink(adAreaWidgetNew())) {}

std::shared_ptr<View> ScreenViewController::view() const {
  return viewOfWidget(area_.get());
}

void ScreenViewController::prepareWindow(GtkWindow* window, GtkWindow* parent) {
  gtk_window_set_decorated(window, FALSE);
  gtk_window_set_child(window, area_.get());
  const auto monitor = monitorOfWindow(parent);
  if (monitor) {
    // Where no window manager makes it full screen, it is as large as the screen all the same.
    GdkRectangle geometry;
    gdk_monitor_get_geometry(monitor.get(), &geometry);
    gtk_window_set_default_size(window, geometry.width, geometry.height);
  }
  if (!traits_.prefersStatusBarHidden) {
    gtk_window_maximize(window);
  } else if (monitor) {
    gtk_window_fullscreen_on_monitor(window, monitor.get());
  } else {
    gtk_window_fullscreen(window);
  }
}

}  // namespace vemora::gtk
