#include "web/Host.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

namespace vemora::bench {

using gtk::GFree;
using gtk::GObjectPtr;

namespace {

constexpr gint64 kPatience = 30 * G_USEC_PER_SEC;
constexpr char kLoopback[] = "127.0.0.1";

GObjectPtr<WebKitSettings> pageSettings() {
  auto settings = GObjectPtr<WebKitSettings>::adopt(webkit_settings_new());
  webkit_settings_set_media_playback_requires_user_gesture(settings.get(), FALSE);
  webkit_settings_set_media_playback_allows_inline(settings.get(), TRUE);
  return settings;
}

}  // namespace

Host::Host(const PageServer& server) : server_(server) {
  if (!gtk_init_check()) {
    std::fputs("no display; run it with tests/gtk/run-under-display\n", stderr);
    std::exit(2);
  }
  // As in a running application: no other thread may acquire the main context and run its work.
  g_main_context_acquire(nullptr);
  certificate_ = GObjectPtr<GTlsCertificate>::adopt(
      g_tls_certificate_new_from_pem(server.certificatePem().c_str(), -1, nullptr));
  gtk::allowTLSCertificateForHost(certificate_.get(), kLoopback);
  gtk::setInfoDictionaryEntry("VemoraControllerHost", server.host());
  window_ = GObjectPtr<GtkWindow>::retain(GTK_WINDOW(gtk_window_new()));
  content_ = gtk_overlay_new();
  gtk_overlay_set_child(GTK_OVERLAY(content_), gtk_label_new("An app"));
  gtk_window_set_default_size(window_.get(), 640, 480);
  gtk_window_set_child(window_.get(), content_);
  gtk_window_present(window_.get());
  runUntil([this] { return gtk_widget_get_width(content_) > 0; });
}

Host::~Host() {
  gtk_window_destroy(window_.get());
  g_main_context_release(nullptr);
}

void Host::runUntil(const std::function<bool()>& condition) const {
  // Wakes the loop for conditions that no event announces. So seldom that it does not count.
  const guint pulse = g_timeout_add(
      20, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  const gint64 end = g_get_monotonic_time() + kPatience;
  while (!condition()) {
    g_main_context_iteration(nullptr, TRUE);
    if (g_get_monotonic_time() < end) continue;
    std::fputs("waited in vain\n", stderr);
    std::exit(1);
  }
  g_source_remove(pulse);
}

void Host::runFor(double seconds) const {
  const gint64 end = g_get_monotonic_time() + static_cast<gint64>(seconds * G_USEC_PER_SEC);
  runUntil([end] { return g_get_monotonic_time() >= end; });
}

void Host::forEachWebView(const std::function<void(WebKitWebView*)>& work) const {
  const std::function<void(GtkWidget*)> walk = [&](GtkWidget* widget) {
    if (WEBKIT_IS_WEB_VIEW(widget)) work(WEBKIT_WEB_VIEW(widget));
    for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
         child = gtk_widget_get_next_sibling(child)) {
      walk(child);
    }
  };
  walk(GTK_WIDGET(window_.get()));
}

void Host::park(GtkWidget* widget) const {
  gtk_widget_set_size_request(widget, 1, 1);
  gtk_widget_set_halign(widget, GTK_ALIGN_START);
  gtk_widget_set_valign(widget, GTK_ALIGN_START);
  gtk_overlay_add_overlay(GTK_OVERLAY(content_), widget);
}

void Host::show(GtkWidget* widget) const {
  if (gtk_widget_get_parent(widget)) remove(widget);
  gtk_widget_set_size_request(widget, -1, -1);
  gtk_widget_set_halign(widget, GTK_ALIGN_FILL);
  gtk_widget_set_valign(widget, GTK_ALIGN_FILL);
  gtk_overlay_add_overlay(GTK_OVERLAY(content_), widget);
}

void Host::remove(GtkWidget* widget) const {
  gtk_overlay_remove_overlay(GTK_OVERLAY(content_), widget);
}

BarePage::BarePage(Host& host, Heard heard)
    : host_(host),
      heard_(std::move(heard)),
      manager_(GObjectPtr<WebKitUserContentManager>::adopt(webkit_user_content_manager_new())) {
  g_signal_connect(manager_.get(), "script-message-received::Vemora",
                   G_CALLBACK(+[](WebKitUserContentManager*, JSCValue* body, gpointer self) {
                     static_cast<BarePage*>(self)->heard_(body);
                   }),
                   this);
  webkit_user_content_manager_register_script_message_handler(manager_.get(), "Vemora", nullptr);
  webkit_user_content_manager_register_script_message_handler(manager_.get(), "VemoraLog", nullptr);
  const auto session = GObjectPtr<WebKitNetworkSession>::adopt(webkit_network_session_new_ephemeral());
  webkit_network_session_allow_tls_certificate_for_host(session.get(), host.certificate(), kLoopback);
  const auto settings = pageSettings();
  const auto policies = GObjectPtr<WebKitWebsitePolicies>::adopt(
      webkit_website_policies_new_with_policies("autoplay", WEBKIT_AUTOPLAY_ALLOW, nullptr));
  view_ = GObjectPtr<WebKitWebView>::sink(WEBKIT_WEB_VIEW(
      g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", session.get(), "settings", settings.get(),
                   "website-policies", policies.get(), "user-content-manager", manager_.get(), nullptr)));
  g_signal_connect(view_.get(), "load-changed",
                   G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer self) {
                     if (event == WEBKIT_LOAD_FINISHED) static_cast<BarePage*>(self)->loaded_ = true;
                   }),
                   this);
  g_signal_connect(
      view_.get(), "load-failed",
      G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent, char* address, GError* error, gpointer) -> gboolean {
        std::fprintf(stderr, "%s does not load: %s\n", address, error->message);
        std::exit(1);
      }),
      nullptr);
  host.park(widget());
}

BarePage::~BarePage() {
  g_signal_handlers_disconnect_by_data(view_.get(), this);
  g_signal_handlers_disconnect_by_data(manager_.get(), this);
  host_.remove(widget());
}

void BarePage::load() {
  webkit_web_view_load_uri(view_.get(), host_.server().pageAddress().c_str());
}

void BarePage::load(const std::string& path) {
  webkit_web_view_load_uri(view_.get(), ("https://" + host_.server().host() + path).c_str());
}

void BarePage::evaluate(const std::string& script) {
  webkit_web_view_evaluate_javascript(
      view_.get(), script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
      [](GObject* view, GAsyncResult* result, gpointer) {
        GError* error = nullptr;
        JSCValue* value = webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, &error);
        if (error) {
          std::fprintf(stderr, "a script failed: %s\n", error->message);
          std::exit(1);
        }
        g_object_unref(value);
      },
      nullptr);
}

std::string bridgeCall(const std::string& message) {
  return "window.VemoraProxy.bridge.onMessage(JSON.stringify(" + message + "));";
}

}  // namespace vemora::bench
