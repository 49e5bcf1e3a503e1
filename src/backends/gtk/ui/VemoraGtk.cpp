#include "backends/gtk/base/InfoDictionary.h"
#include "backends/gtk/system/AdvertisingChoice.h"
#include "backends/gtk/ui/AdAreaWidget.h"
#include "backends/gtk/ui/NetworkSessions.h"
#include "backends/gtk/ui/WidgetView.h"
#include "base/Utf8.h"
#include "ports/Platform.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/Vemora.h>

#include <utility>

namespace vemora::gtk {

namespace {

/// The area that an earlier call laid over the overlay; null when there is none.
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
  Vemora::logError("viewForWidget takes widgets made by newAdView and GtkOverlays only");
  return nullptr;
}

void allowTLSCertificateForHost(GTlsCertificate* certificate, std::string_view host) {
  trustCertificateForHost(certificate, host);
}

void setInfoDictionaryEntry(std::string_view key, std::optional<std::string> value) {
  InfoDictionary::shared().setEntry(key, std::move(value));
}

void setConsent(std::optional<bool> subjectToGDPR, std::optional<std::string> consentString) {
  if (consentString && !isUtf8(*consentString)) {
    return Vemora::logError("The consent was not stored: its string is not UTF-8");
  }
  UserDefaults& defaults = Platform::shared().userDefaults();
  const auto text = subjectToGDPR ? JsonValue(*subjectToGDPR ? "1" : "0") : JsonValue();
  defaults.setObject(text, "IABConsent_SubjectToGDPR");
  defaults.setObject(consentString, "IABConsent_ConsentString");
}

bool isAdvertisingTrackingEnabled() {
  return AdvertisingChoice::ofApplication().isTrackingEnabled();
}

void setAdvertisingTrackingEnabled(bool enabled) {
  AdvertisingChoice::ofApplication().setTrackingEnabled(enabled);
}

}  // namespace vemora::gtk
