#include "backends/gtk/ui/HostWindowView.h"

#include "backends/gtk/base/MainThreadObject.h"
#include "backends/gtk/ui/AdAreaWidget.h"
#include "backends/gtk/ui/WidgetViewController.h"

namespace vemora::gtk {

void HostWindowView::watchWidget() {
  WidgetView::watchWidget();
  const auto widget = this->widget();
  const auto self = std::static_pointer_cast<HostWindowView>(shared_from_this());
  const std::weak_ptr<HostWindowView> weak = self;
  rootViewController_ = makeMainThreadObject<RootViewController>(self);
  realized_ = connectSignal<void()>(
      widget.get(), "realize",
      [weak] {
        if (const auto view = weak.lock()) view->watchSurface();
      },
      G_CONNECT_AFTER);
  // Only the end of a window unrealizes it, which comes before its last reference goes: hiding does not.
  unrealized_ = connectSignal<void()>(widget.get(), "unrealize", [weak] {
    const auto view = weak.lock();
    if (!view) return;
    view->surfaceLaidOut_.disconnect();
    view->rootViewController_->dismissViewController(false);
  });
  destroyed_ = connectSignal<void()>(widget.get(), "destroy", [weak] {
    const auto view = weak.lock();
    if (!view) return;
    view->rootViewController_->dismissViewController(false);
    view->closeParkingPlace();
  });
}

std::shared_ptr<Window> HostWindowView::window() const {
  if (!widget()) return nullptr;
  return std::const_pointer_cast<HostWindowView>(
      std::static_pointer_cast<const HostWindowView>(shared_from_this()));
}

std::shared_ptr<ViewController> HostWindowView::rootViewController() const {
  return rootViewController_;
}

void HostWindowView::addSubview(const std::shared_ptr<View>& view) {
  assertMainThread();
  if (const auto place = parkingPlace()) place->addSubview(view);
}

std::shared_ptr<AdAreaView> HostWindowView::parkingPlace() {
  const auto window = widget();
  if (!window) return nullptr;
  if (!parking_) {
    parking_ = GObjectPtr<GtkWidget>::sink(adAreaWidgetNew());
    adAreaSetParked(parking_.get());
    gtk_widget_set_parent(parking_.get(), window.get());
    watchSurface();
    layOutParkingPlace();
  }
  auto place = std::static_pointer_cast<AdAreaView>(viewOfWidget(parking_.get()));
  place->setEmptyHandler([weak = weak_from_this()] {
    if (const auto view = weak.lock()) static_cast<HostWindowView&>(*view).closeParkingPlace();
  });
  return place;
}

void HostWindowView::watchSurface() {
  const auto window = widget();
  if (!parking_ || !window || !gtk_widget_get_realized(window.get())) return;
  GdkSurface* surface = gtk_native_get_surface(GTK_NATIVE(window.get()));
  const std::weak_ptr<HostWindowView> weak = std::static_pointer_cast<HostWindowView>(shared_from_this());
  surfaceLaidOut_ = connectSignal<void(int, int)>(
      surface, "layout",
      [weak](int, int) {
        if (const auto view = weak.lock()) view->layOutParkingPlace();
      },
      G_CONNECT_AFTER);
}

void HostWindowView::layOutParkingPlace() {
  if (!parking_) return;
  gtk_widget_measure(parking_.get(), GTK_ORIENTATION_HORIZONTAL, -1, nullptr, nullptr, nullptr, nullptr);
  gtk_widget_measure(parking_.get(), GTK_ORIENTATION_VERTICAL, -1, nullptr, nullptr, nullptr, nullptr);
  gtk_widget_allocate(parking_.get(), 0, 0, -1, nullptr);
}

void HostWindowView::closeParkingPlace() {
  surfaceLaidOut_.disconnect();
  if (const auto parking = std::exchange(parking_, nullptr)) gtk_widget_unparent(parking.get());
}

}  // namespace vemora::gtk
