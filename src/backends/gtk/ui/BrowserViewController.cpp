#include "backends/gtk/ui/BrowserViewController.h"

#include "backends/gtk/base/MainThreadObject.h"
#include "backends/gtk/ui/GLContextKeeper.h"
#include "backends/gtk/ui/NetworkSessions.h"
#include "backends/gtk/ui/WidgetView.h"

#include <algorithm>

namespace vemora::gtk {

namespace {

constexpr int kPreferredWidth = 1024;
constexpr int kPreferredHeight = 768;

std::string schemeOf(const char* address) {
  const std::unique_ptr<char, GFree<g_free>> scheme(g_uri_parse_scheme(address ? address : ""));
  if (!scheme) return {};
  const std::unique_ptr<char, GFree<g_free>> lower(g_ascii_strdown(scheme.get(), -1));
  return lower.get();
}

bool isWebScheme(std::string_view scheme) {
  return scheme == "http" || scheme == "https";
}

/// Pages fill frames of theirs with empty documents; those go nowhere.
bool mayGoTo(const char* address) {
  const std::string_view text(address ? address : "");
  return isWebScheme(schemeOf(address)) || text == "about:blank" || text == "about:srcdoc";
}

GObjectPtr<WebKitWebView> newBrowserWebView() {
  const GLContextKeeper keeper;
  const auto session = newNetworkSession();
  const auto settings = GObjectPtr<WebKitSettings>::adopt(webkit_settings_new());
  webkit_settings_set_enable_back_forward_navigation_gestures(settings.get(), TRUE);
  return GObjectPtr<WebKitWebView>::sink(WEBKIT_WEB_VIEW(g_object_new(
      WEBKIT_TYPE_WEB_VIEW, "network-session", session.get(), "settings", settings.get(), nullptr)));
}

GtkWidget* iconButton(const char* icon, const char* label) {
  GtkWidget* button = gtk_button_new_from_icon_name(icon);
  gtk_widget_set_tooltip_text(button, label);
  gtk_accessible_update_property(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_PROPERTY_LABEL, label, -1);
  return button;
}

GtkWidget* headerLabel(const char* styleClass) {
  GtkWidget* label = gtk_label_new(nullptr);
  gtk_label_set_ellipsize(GTK_LABEL(label), PANGO_ELLIPSIZE_END);
  gtk_label_set_single_line_mode(GTK_LABEL(label), TRUE);
  gtk_widget_add_css_class(label, styleClass);
  return label;
}

}  // namespace

std::shared_ptr<BrowserViewController> BrowserViewController::create(const URL& url) {
  assertMainThread();
  if (!isWebScheme(url.scheme) || !isWebScheme(schemeOf(url.absoluteString.c_str())) || url.host.empty()) {
    return nullptr;
  }
  auto browser = makeMainThreadObject<BrowserViewController>(url.absoluteString);
  browser->watchPage();
  return browser;
}

BrowserViewController::BrowserViewController(std::string address)
    : address_(std::move(address)), webView_(newBrowserWebView()) {}

BrowserViewController::~BrowserViewController() {
  assertMainThread();
  connections_.clear();
}

std::shared_ptr<View> BrowserViewController::view() const {
  return viewOfWidget(GTK_WIDGET(webView_.get()));
}

void BrowserViewController::setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) {
  assertMainThread();
  delegate_ = std::move(delegate);
}

/// The controller may live on, but its page must not: it would go on playing and fetching unseen. Ending its
/// process takes effect at once, while a blank page would have to be loaded first.
void BrowserViewController::didLeave() {
  webkit_web_view_stop_loading(webView_.get());
  webkit_web_view_terminate_web_process(webView_.get());
}

void BrowserViewController::didCloseByUser() {
  const auto self = std::static_pointer_cast<BrowserViewController>(shared_from_this());
  if (const auto delegate = delegate_.lock()) delegate->safariViewControllerDidFinish(self);
}

void BrowserViewController::prepareWindow(GtkWindow* window, GtkWindow* parent) {
  int width = kPreferredWidth;
  int height = kPreferredHeight;
  if (const auto monitor = monitorOfWindow(parent)) {
    GdkRectangle geometry;
    gdk_monitor_get_geometry(monitor.get(), &geometry);
    width = std::min(width, geometry.width);
    height = std::min(height, geometry.height);
  }
  gtk_window_set_default_size(window, width, height);
  gtk_window_set_titlebar(window, makeHeaderBar());
  gtk_window_set_child(window, GTK_WIDGET(webView_.get()));
  addShortcuts(GTK_WIDGET(window));
  updateHeader();
  webkit_web_view_load_uri(webView_.get(), address_.c_str());
  gtk_widget_grab_focus(GTK_WIDGET(webView_.get()));
}

GtkWidget* BrowserViewController::makeHeaderBar() {
  GtkWidget* back = iconButton("go-previous-symbolic", "Back");
  GtkWidget* close = iconButton("window-close-symbolic", "Close");
  GtkWidget* title = headerLabel("title");
  GtkWidget* address = headerLabel("subtitle");
  const std::weak_ptr<WidgetViewController> weak = weak_from_this();
  connections_.push_back(connectSignal<void()>(back, "clicked", [weak] {
    if (const auto self = weak.lock()) {
      webkit_web_view_go_back(static_cast<BrowserViewController&>(*self).webView_.get());
    }
  }));
  gtk_actionable_set_action_name(GTK_ACTIONABLE(close), "window.close");

  GtkWidget* texts = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_widget_set_valign(texts, GTK_ALIGN_CENTER);
  gtk_box_append(GTK_BOX(texts), title);
  gtk_box_append(GTK_BOX(texts), address);
  GtkWidget* bar = gtk_header_bar_new();
  // The one close button is ours: it is there whatever buttons the desktop gives windows.
  gtk_header_bar_set_show_title_buttons(GTK_HEADER_BAR(bar), FALSE);
  gtk_header_bar_pack_start(GTK_HEADER_BAR(bar), back);
  gtk_header_bar_pack_end(GTK_HEADER_BAR(bar), close);
  gtk_header_bar_set_title_widget(GTK_HEADER_BAR(bar), texts);
  titleLabel_.set(GTK_LABEL(title));
  addressLabel_.set(GTK_LABEL(address));
  backButton_.set(back);
  return bar;
}

void BrowserViewController::addShortcuts(GtkWidget* window) {
  GtkEventController* controller = gtk_shortcut_controller_new();
  // Ahead of the page, which could keep the key for itself.
  gtk_event_controller_set_propagation_phase(controller, GTK_PHASE_CAPTURE);
  gtk_shortcut_controller_add_shortcut(
      GTK_SHORTCUT_CONTROLLER(controller),
      gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, {}), gtk_named_action_new("window.close")));
  gtk_widget_add_controller(window, controller);
}

void BrowserViewController::watchPage() {
  const std::weak_ptr<WidgetViewController> weak = weak_from_this();
  const auto update = [weak] {
    if (const auto self = weak.lock()) static_cast<BrowserViewController&>(*self).updateHeader();
  };
  for (const char* property : {"notify::title", "notify::uri"}) {
    connections_.push_back(
        connectSignal<void(GParamSpec*)>(webView_.get(), property, [update](GParamSpec*) { update(); }));
  }
  connections_.push_back(connectSignal<void(WebKitBackForwardListItem*, gpointer)>(
      webkit_web_view_get_back_forward_list(webView_.get()), "changed",
      [update](WebKitBackForwardListItem*, gpointer) { update(); }));
  connections_.push_back(connectSignal<gboolean(WebKitPolicyDecision*, WebKitPolicyDecisionType)>(
      webView_.get(), "decide-policy",
      [weak](WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) -> gboolean {
        const auto self = weak.lock();
        return self && static_cast<BrowserViewController&>(*self).decidePolicy(decision, type);
      }));
}

bool BrowserViewController::decidePolicy(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) {
  if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) {
    if (webkit_response_policy_decision_is_mime_type_supported(WEBKIT_RESPONSE_POLICY_DECISION(decision)))
      return false;
    webkit_policy_decision_ignore(decision);
    return true;
  }
  WebKitNavigationAction* action =
      webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
  WebKitURIRequest* request = webkit_navigation_action_get_request(action);
  const char* address = webkit_uri_request_get_uri(request);
  const bool allowed = mayGoTo(address);
  if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION && allowed) return false;
  webkit_policy_decision_ignore(decision);
  if (allowed) webkit_web_view_load_request(webView_.get(), request);
  return true;
}

void BrowserViewController::updateHeader() {
  const char* uri = webkit_web_view_get_uri(webView_.get());
  const char* title = webkit_web_view_get_title(webView_.get());
  const std::string address = uri ? uri : address_;
  const std::string name = title && *title ? title : address;
  if (const auto window = hostWindow()) gtk_window_set_title(window.get(), name.c_str());
  if (const auto label = titleLabel_.lock()) gtk_label_set_text(label.get(), name.c_str());
  if (const auto label = addressLabel_.lock()) {
    gtk_label_set_text(label.get(), address.c_str());
    gtk_widget_set_tooltip_text(GTK_WIDGET(label.get()), address.c_str());
  }
  if (const auto back = backButton_.lock()) {
    gtk_widget_set_sensitive(back.get(), webkit_web_view_can_go_back(webView_.get()));
  }
}

}  // namespace vemora::gtk
