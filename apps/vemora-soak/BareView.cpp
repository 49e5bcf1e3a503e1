#include "BareView.h"

#include <LocalServer.h>

#include <string_view>

namespace vemora {

namespace {

constexpr char kGetAds[] =
    R"(VemoraProxy.bridge.onMessage('{"id":"1","method":"get.ads","params":{"params":{}}}'))";
constexpr char kGetAdsWithFeatures[] =
    R"(VemoraProxy.bridge.onMessage('{"id":"1","method":"get.ads","params":{"params":{"features":"1"}}}'))";
constexpr char kStart[] = R"(VemoraProxy.bridge.onMessage('{"id":"2","method":"control.start"}'))";

GObjectPtr<JSCValue> member(JSCValue* object, const char* name) {
  return GObjectPtr<JSCValue>::adopt(jsc_value_object_get_property(object, name));
}

template <typename Handler>
void on(gpointer object, const char* signal, Handler handler, gpointer data = nullptr) {
  g_signal_connect(object, signal, reinterpret_cast<GCallback>(handler), data);
}

gboolean accept() {
  return TRUE;
}

}  // namespace

BareView::BareView(GtkBox* place, const std::string& host, GTlsCertificate* certificate, bool usesFeatures)
    : place_(place),
      usesFeatures_(usesFeatures),
      session_(GObjectPtr<WebKitNetworkSession>::adopt(webkit_network_session_new_ephemeral())),
      manager_(GObjectPtr<WebKitUserContentManager>::adopt(webkit_user_content_manager_new())) {
  webkit_network_session_allow_tls_certificate_for_host(session_.get(), certificate,
                                                        host.substr(0, host.find(':')).c_str());
  on(
      session_.get(), "download-started",
      +[](WebKitNetworkSession*, WebKitDownload* download) { webkit_download_cancel(download); });
  on(
      manager_.get(), "script-message-received::Vemora",
      +[](WebKitUserContentManager*, JSCValue* message, BareView* self) { self->received(message); }, this);
  for (const char* name : {"Vemora", "VemoraLog"})
    webkit_user_content_manager_register_script_message_handler(manager_.get(), name, nullptr);
  const auto settings = GObjectPtr<WebKitSettings>::adopt(webkit_settings_new());
  webkit_settings_set_javascript_can_open_windows_automatically(settings.get(), TRUE);
  webkit_settings_set_media_playback_requires_user_gesture(settings.get(), FALSE);
  webkit_settings_set_enable_fullscreen(settings.get(), FALSE);
  view_ = GObjectPtr<WebKitWebView>::sink(
      WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", session_.get(), "settings",
                                   settings.get(), "user-content-manager", manager_.get(), nullptr)));
  refuseFeatures();
  on(
      view_.get(), "load-changed",
      +[](WebKitWebView*, WebKitLoadEvent event, BareView* self) {
        if (event == WEBKIT_LOAD_FINISHED) self->run(self->usesFeatures_ ? kGetAdsWithFeatures : kGetAds);
      },
      this);
  gtk_widget_set_hexpand(widget(), TRUE);
  gtk_widget_set_vexpand(widget(), TRUE);
  gtk_box_append(place_, widget());
  webkit_web_view_load_uri(view_.get(), ("https://" + host + std::string(kControllerPagePath)).c_str());
}

BareView::~BareView() {
  g_signal_handlers_disconnect_by_data(view_.get(), this);
  g_signal_handlers_disconnect_by_data(manager_.get(), this);
  gtk_box_remove(place_, widget());
}

void BareView::refuseFeatures() {
  for (const char* signal : {"script-dialog", "print", "show-notification", "context-menu"})
    on(view_.get(), signal, &accept);
  on(
      view_.get(), "run-file-chooser", +[](WebKitWebView*, WebKitFileChooserRequest* request) -> gboolean {
        webkit_file_chooser_request_cancel(request);
        return TRUE;
      });
  on(
      view_.get(), "permission-request", +[](WebKitWebView*, WebKitPermissionRequest* request) -> gboolean {
        webkit_permission_request_deny(request);
        return TRUE;
      });
}

void BareView::received(JSCValue* message) {
  if (!jsc_value_is_object(message)) return;
  const auto id = member(message, "id");
  if (jsc_value_is_string(id.get())) {
    char* text = jsc_value_to_string(id.get());
    if (std::string_view(text) == "1") run(kStart);
    g_free(text);
  }
  const auto parameters = member(message, "params");
  if (!jsc_value_is_object(parameters.get())) return;
  char* event = jsc_value_to_string(member(parameters.get(), "event").get());
  started_ = started_ || std::string_view(event) == "AdTimeChange";
  g_free(event);
}

void BareView::run(const char* script) {
  webkit_web_view_evaluate_javascript(view_.get(), script, -1, nullptr, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace vemora
