#include "PageView.h"

#include "../../common/GLibHandles.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <utility>

namespace vemora::check {

namespace {

/// Without any size a page would wait for a frame that is never drawn.
constexpr int kParked = 1;
/// The certificate exception is sent to another process, and a load that follows at once may overtake it.
constexpr int kMostRetries = 20;
constexpr double kRetryDelay = 0.05;
constexpr unsigned kFirstErrorStatus = 400;

GObjectPtr<WebKitSettings> hostSettings() {
  auto settings = GObjectPtr<WebKitSettings>::adopt(webkit_settings_new());
  webkit_settings_set_media_playback_requires_user_gesture(settings.get(), FALSE);
  webkit_settings_set_media_playback_allows_inline(settings.get(), TRUE);
  webkit_settings_set_javascript_can_open_windows_automatically(settings.get(), TRUE);
  return settings;
}

std::string typeOf(JSCValue* value) {
  if (jsc_value_is_undefined(value)) return "undefined";
  if (jsc_value_is_null(value)) return "null";
  if (jsc_value_is_boolean(value)) return "boolean";
  if (jsc_value_is_number(value)) return "number";
  if (jsc_value_is_string(value)) return "text";
  if (jsc_value_is_array(value)) return "array";
  return "object";
}

JsonValue jsonOf(JSCValue* value) {
  const GStringPtr json(jsc_value_to_json(value, 0));
  // A value that JSON refuses leaves an exception, which later calls must not see.
  jsc_context_clear_exception(jsc_value_get_context(value));
  return json ? JsonValue::parse(json.get()).value_or(nullptr) : JsonValue();
}

std::string outcomeOf(JSCValue* value, const GErrorHolder& error) {
  if (value && jsc_value_is_string(value)) return GStringPtr(jsc_value_to_string(value)).get();
  if (value)
    return jsc_value_is_undefined(value) ? "undefined" : "returned a value of the type " + typeOf(value);
  if (error.matches(WEBKIT_JAVASCRIPT_ERROR, WEBKIT_JAVASCRIPT_ERROR_INVALID_RESULT)) {
    return "returned a promise, a function or a node";
  }
  return "threw: " + error.message();
}

struct Evaluation {
  std::shared_ptr<PageView*> view;
  std::function<void(const std::string&)> done;
};

}  // namespace

/// What WebKit calls; the last parameter is always the PageView.
struct PageView::Hooks {
  static void message(WebKitUserContentManager*, JSCValue* value, PageView* self) {
    post(Post::Handler::Messages, value, self);
  }
  static void log(WebKitUserContentManager*, JSCValue* value, PageView* self) {
    post(Post::Handler::Log, value, self);
  }
  static void post(Post::Handler handler, JSCValue* value, PageView* self) {
    if (!self->isOver_) self->listener_.posted({0, handler, typeOf(value), jsonOf(value)});
  }
  static void loadChanged(WebKitWebView*, WebKitLoadEvent event, PageView* self) {
    // A failed load is reported as finished, too.
    if (event == WEBKIT_LOAD_FINISHED && !std::exchange(self->hasFailed_, false)) self->finishLoading();
  }
  static gboolean loadFailed(WebKitWebView*, WebKitLoadEvent, char*, GError* error, PageView* self) {
    if (!std::exchange(self->isOver_, true)) self->listener_.loadFailed(error->message);
    return TRUE;
  }
  static gboolean tlsFailed(WebKitWebView*, char* address, GTlsCertificate* certificate, GTlsCertificateFlags,
                            PageView* self) {
    self->hasFailed_ = true;
    if (self->retries_ < kMostRetries && self->trust(address, certificate)) {
      ++self->retries_;
      self->retry_.start(kRetryDelay, [self] { self->load(self->address_); });
    } else if (!std::exchange(self->isOver_, true)) {
      self->listener_.loadFailed("its certificate is not trusted; name one to trust with --ca");
    }
    return TRUE;
  }
  static void terminated(WebKitWebView*, WebKitWebProcessTerminationReason, PageView* self) {
    if (!std::exchange(self->isOver_, true)) self->listener_.gone("the process of the page ended");
  }
  static gboolean dialog(WebKitWebView*, WebKitScriptDialog*, PageView*) { return TRUE; }
  static GtkWidget* newWindow(WebKitWebView*, WebKitNavigationAction*, PageView*) { return nullptr; }
};

PageView::PageView(Certificates trusted, Listener listener)
    : trusted_(std::move(trusted)),
      listener_(std::move(listener)),
      session_(GObjectPtr<WebKitNetworkSession>::adopt(webkit_network_session_new_ephemeral())),
      self_(std::make_shared<PageView*>(this)) {
  const auto settings = hostSettings();
  const auto manager = GObjectPtr<WebKitUserContentManager>::adopt(webkit_user_content_manager_new());
  const auto policies = GObjectPtr<WebKitWebsitePolicies>::adopt(
      webkit_website_policies_new_with_policies("autoplay", WEBKIT_AUTOPLAY_ALLOW, nullptr));
  view_ = GObjectPtr<WebKitWebView>::sink(WEBKIT_WEB_VIEW(
      g_object_new(WEBKIT_TYPE_WEB_VIEW, "network-session", session_.get(), "settings", settings.get(),
                   "website-policies", policies.get(), "user-content-manager", manager.get(), nullptr)));
  g_signal_connect(manager.get(), "script-message-received::Vemora", G_CALLBACK(Hooks::message), this);
  g_signal_connect(manager.get(), "script-message-received::VemoraLog", G_CALLBACK(Hooks::log), this);
  webkit_user_content_manager_register_script_message_handler(manager.get(), "Vemora", nullptr);
  webkit_user_content_manager_register_script_message_handler(manager.get(), "VemoraLog", nullptr);
  g_signal_connect(view_.get(), "load-changed", G_CALLBACK(Hooks::loadChanged), this);
  g_signal_connect(view_.get(), "load-failed", G_CALLBACK(Hooks::loadFailed), this);
  g_signal_connect(view_.get(), "load-failed-with-tls-errors", G_CALLBACK(Hooks::tlsFailed), this);
  g_signal_connect(view_.get(), "web-process-terminated", G_CALLBACK(Hooks::terminated), this);
  g_signal_connect(view_.get(), "script-dialog", G_CALLBACK(Hooks::dialog), this);
  g_signal_connect(view_.get(), "create", G_CALLBACK(Hooks::newWindow), this);
  // Several sessions play at once; their sound is not needed to judge the page.
  webkit_web_view_set_is_muted(view_.get(), TRUE);
  gtk_widget_set_size_request(widget(), kParked, kParked);
  gtk_widget_set_halign(widget(), GTK_ALIGN_START);
  gtk_widget_set_valign(widget(), GTK_ALIGN_START);
}

PageView::~PageView() {
  *self_ = nullptr;
  g_signal_handlers_disconnect_by_data(webkit_web_view_get_user_content_manager(view_.get()), this);
  g_signal_handlers_disconnect_by_data(view_.get(), this);
}

GtkWidget* PageView::widget() const {
  return GTK_WIDGET(view_.get());
}

void PageView::load(const std::string& address) {
  address_ = address;
  const auto request = GObjectPtr<WebKitURIRequest>::adopt(webkit_uri_request_new(address.c_str()));
  if (SoupMessageHeaders* headers = webkit_uri_request_get_http_headers(request.get())) {
    soup_message_headers_append(headers, "Access-Control-Allow-Origin", "*");
  }
  webkit_web_view_load_request(view_.get(), request.get());
}

void PageView::finishLoading() {
  if (isOver_) return;
  WebKitWebResource* const resource = webkit_web_view_get_main_resource(view_.get());
  WebKitURIResponse* const response = resource ? webkit_web_resource_get_response(resource) : nullptr;
  const unsigned status = response ? webkit_uri_response_get_status_code(response) : 0;
  if (status != 0 && status < kFirstErrorStatus) return listener_.loaded();
  isOver_ = true;
  // An address that WebKit does not request is reported as finished, without an error.
  listener_.loadFailed(status == 0 ? "the web view refuses this address"
                                   : "the server answered with the status " + std::to_string(status));
}

/// WebKit trusts further certificates one by one, by their host, and knows of no further authorities: whether
/// one that it refused belongs to a trusted one is found out here.
bool PageView::trust(const char* address, GTlsCertificate* certificate) {
  const GUriPtr uri(g_uri_parse(address, G_URI_FLAGS_NONE, nullptr));
  if (!uri || !g_uri_get_host(uri.get())) return false;
  const auto identity =
      GObjectPtr<GSocketConnectable>::adopt(g_network_address_new(g_uri_get_host(uri.get()), 0));
  const bool isTrusted = std::any_of(trusted_.begin(), trusted_.end(), [&](const auto& authority) {
    return g_tls_certificate_verify(certificate, identity.get(), authority.get()) ==
           G_TLS_CERTIFICATE_NO_FLAGS;
  });
  if (!isTrusted) return false;
  webkit_network_session_allow_tls_certificate_for_host(session_.get(), certificate,
                                                        g_uri_get_host(uri.get()));
  return true;
}

void PageView::evaluate(const std::string& script, std::function<void(const std::string&)> done) {
  webkit_web_view_evaluate_javascript(
      view_.get(), script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
      [](GObject* view, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Evaluation> evaluation(static_cast<Evaluation*>(data));
        GErrorHolder error;
        const auto value = GObjectPtr<JSCValue>::adopt(
            webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, error.out()));
        const PageView* const self = *evaluation->view;
        if (self && !self->isOver_) evaluation->done(outcomeOf(value.get(), error));
      },
      new Evaluation{self_, std::move(done)});
}

void PageView::place() {
  gtk_widget_set_size_request(widget(), kWidth, kHeight);
}

void PageView::close() {
  isOver_ = true;
  retry_.cancel();
  webkit_web_view_load_uri(view_.get(), "about:blank");
}

void PageView::setShown(bool shown) {
  gtk_widget_set_visible(widget(), shown);
}

}  // namespace vemora::check
