#include "backends/gtk/ui/AdAreaWidget.h"
#include "backends/gtk/ui/GtkView.h"
#include "backends/gtk/ui/NetworkSessions.h"
#include "ports/Platform.h"

#include <Vemora/Gtk/VemoraGtk.h>

namespace vemora::gtk {

namespace {

/// The area that was laid over an overlay before.
GtkWidget* areaOver(GtkOverlay* overlay) {
  GtkWidget* child = gtk_widget_get_first_child(GTK_WIDGET(overlay));
  while (child && (!isAdAreaWidget(child) || child == gtk_overlay_get_child(overlay))) {
    child = gtk_widget_get_next_sibling(child);
  }
  return child;
}

GtkWidget* areaLaidOver(GtkOverlay* overlay) {
  GtkWidget* area = areaOver(overlay);
  if (!area) {
    area = adAreaWidgetNew();
    gtk_overlay_add_overlay(overlay, area);
  }
  return area;
}

}  // namespace

GtkWidget* newAdView() {
  assertMainThread();
  return adAreaWidgetNew();
}

std::shared_ptr<View> viewForWidget(GtkWidget* widget) {
  assertMainThread();
  if (widget && isAdAreaWidget(widget)) return viewOfWidget(widget);
  if (GTK_IS_OVERLAY(widget)) return viewOfWidget(areaLaidOver(GTK_OVERLAY(widget)));
  Platform::shared().system().log(LogLevel::Error,
                                  "viewForWidget takes widgets made by newAdView and GtkOverlays only");
  return nullptr;
}

void allowTLSCertificateForHost(GTlsCertificate* certificate, std::string_view host) {
  trustCertificateForHost(certificate, host);
}

}  // namespace vemora::gtk
