#pragma once

#include "backends/gtk/ui/AdAreaView.h"
#include "backends/gtk/ui/WidgetView.h"

#include <memory>

namespace vemora::gtk {

class RootViewController;

/// A window of the host app's.
///
/// Views that are added to it are parked: a web view at 0x0 that is mapped in a shown window runs its page's
/// timers at full speed, while an unmapped or unparented one is throttled to a few ticks a second. The host's
/// window must not notice. A GtkWindow has one child and one title bar, both of the host's, and putting an
/// overlay around the child would change what the host finds there. So the parking place is one more child of
/// the window's widget, last in order, that draws nothing, takes no pointer and no focus. A window does not
/// lay out children that it does not know, and the toolkit warns about drawing what was not laid out;
/// therefore it is laid out here, at 0x0, right after the window in each frame. It leaves with the last
/// parked view, and with the window.
class HostWindowView final : public WidgetView, public Window {
 public:
  explicit HostWindowView(GtkWindow* window) : WidgetView(GTK_WIDGET(window)) {}
  void watchWidget() override;

  std::shared_ptr<Window> window() const override;
  std::shared_ptr<ViewController> rootViewController() const override;

  void addSubview(const std::shared_ptr<View>& view) override;

 private:
  std::shared_ptr<AdAreaView> parkingPlace();
  void watchSurface();
  void layOutParkingPlace();
  void closeParkingPlace();

  GObjectPtr<GtkWidget> parking_;
  std::shared_ptr<RootViewController> rootViewController_;
  SignalConnection realized_, unrealized_, destroyed_, surfaceLaidOut_;
};

}  // namespace vemora::gtk
