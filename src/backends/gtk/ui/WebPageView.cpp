#include "backends/gtk/ui/WebPageView.h"

#include "backends/gtk/base/GErrorConversion.h"
#include "backends/gtk/base/HttpFields.h"
#include "backends/gtk/base/MainThreadObject.h"
#include "backends/gtk/ui/GLContextKeeper.h"
#include "backends/gtk/ui/NetworkSessions.h"
#include "backends/gtk/ui/PageContentController.h"
#include "base/Utf8.h"

#include <libsoup/soup.h>

#include <utility>

namespace vemora::gtk {

namespace {

/// The page cannot be scrolled by wheel, keys or touch and shows no bars; its own scripts still can.
constexpr char kNoScrolling[] = "html { overflow: hidden !important; overscroll-behavior: none !important; }";

std::shared_ptr<PageContentController> contentControllerOf(const WebViewConfiguration& configuration) {
  auto own = std::dynamic_pointer_cast<PageContentController>(configuration.userContentController);
  return own ? own : makeMainThreadObject<PageContentController>();
}

/// A page that was shown and then gets an empty size waits for a frame that is never drawn, and stops
/// animating for good. So the smallest size is one pixel.
constexpr int kMinimumExtent = 1;

GObjectPtr<WebKitSettings> settingsFor(const WebViewConfiguration& configuration) {
  auto settings = GObjectPtr<WebKitSettings>::adopt(webkit_settings_new());
  webkit_settings_set_media_playback_requires_user_gesture(settings.get(),
                                                           configuration.mediaTypesRequireUserAction);
  webkit_settings_set_media_playback_allows_inline(settings.get(), configuration.allowsInlineMediaPlayback);
  // A new window is never opened here. The request goes to the delegate, which decides.
  webkit_settings_set_javascript_can_open_windows_automatically(settings.get(), TRUE);
  webkit_settings_set_enable_fullscreen(settings.get(), FALSE);
  webkit_settings_set_enable_back_forward_navigation_gestures(settings.get(), FALSE);
  webkit_settings_set_enable_developer_extras(settings.get(), FALSE);
  return settings;
}

GObjectPtr<WebKitWebView> newWebKitWebView(const WebViewConfiguration& configuration,
                                           const PageContentController& contentController) {
  const GLContextKeeper keeper;
  const auto session = adNetworkSession();
  const auto settings = settingsFor(configuration);
  const auto policies = GObjectPtr<WebKitWebsitePolicies>::adopt(webkit_website_policies_new_with_policies(
      "autoplay", configuration.mediaTypesRequireUserAction ? WEBKIT_AUTOPLAY_DENY : WEBKIT_AUTOPLAY_ALLOW,
      nullptr));
  return GObjectPtr<WebKitWebView>::sink(WEBKIT_WEB_VIEW(g_object_new(
      WEBKIT_TYPE_WEB_VIEW, "network-session", session.get(), "settings", settings.get(), "website-policies",
      policies.get(), "user-content-manager", contentController.manager(), "default-content-security-policy",
      configuration.upgradeToHTTPS ? "upgrade-insecure-requests" : nullptr, nullptr)));
}

GObjectPtr<WebKitURIRequest> toolkitRequest(const URLRequest& request) {
  auto result = GObjectPtr<WebKitURIRequest>::adopt(webkit_uri_request_new(request.url.c_str()));
  SoupMessageHeaders* headers = webkit_uri_request_get_http_headers(result.get());
  if (!headers) return result;
  for (const auto& [name, value] : request.headers) {
    if (isHttpToken(name) && isHttpFieldValue(value)) {
      soup_message_headers_append(headers, name.c_str(), value.c_str());
    }
  }
  if (request.cachePolicy == URLRequestCachePolicy::ReloadIgnoringLocalCacheData) {
    soup_message_headers_replace(headers, "Cache-Control", "no-cache");
  }
  return result;
}

VMRError scriptError(const char* description) {
  return {g_quark_to_string(WEBKIT_JAVASCRIPT_ERROR),
          WEBKIT_JAVASCRIPT_ERROR_SCRIPT_FAILED,
          description,
          {},
          {},
          nullptr};
}

/// Of the page that was loaded; 0 for one that did not come over HTTP.
int httpStatus(WebKitWebView* webView) {
  WebKitWebResource* const page = webkit_web_view_get_main_resource(webView);
  WebKitURIResponse* const response = page ? webkit_web_resource_get_response(page) : nullptr;
  return response ? static_cast<int>(webkit_uri_response_get_status_code(response)) : 0;
}

bool hasScheme(const char* address, const char* scheme) {
  const char* found = g_uri_peek_scheme(address ? address : "");
  return found && g_ascii_strcasecmp(found, scheme) == 0;
}

constexpr std::string_view kBlankPage = "about:blank";
constexpr char kProcessTerminated[] = "The web content process has ended";

class FlagWhile {
 public:
  explicit FlagWhile(bool& flag) : flag_(flag), before_(std::exchange(flag, true)) {}
  ~FlagWhile() { flag_ = before_; }
  FlagWhile(const FlagWhile&) = delete;
  FlagWhile& operator=(const FlagWhile&) = delete;

 private:
  bool& flag_;
  const bool before_;
};

}  // namespace

struct WebPageView::Evaluation {
  std::weak_ptr<WebPageView> view;
  Evaluated completion;
  std::uint64_t terminations;
};

std::shared_ptr<WebPageView> WebPageView::create(const Rect& frame,
                                                 const WebViewConfiguration& configuration) {
  assertMainThread();
  WebViewConfiguration own = configuration;
  const auto contentController = contentControllerOf(configuration);
  own.userContentController = contentController;
  auto view = makeMainThreadObject<WebPageView>(newWebKitWebView(own, *contentController), own);
  setViewOfWidget(GTK_WIDGET(view->webKit()), view);
  gtk_widget_set_size_request(GTK_WIDGET(view->webKit()), kMinimumExtent, kMinimumExtent);
  view->setFrame(frame);
  view->didMove();
  view->watchPage();
  view->refuseBrowserFeatures();
  return view;
}

WebPageView::WebPageView(GObjectPtr<WebKitWebView> webView, const WebViewConfiguration& configuration)
    : WidgetView(GTK_WIDGET(webView.get())),
      configuration_(configuration),
      contentController_(
          std::static_pointer_cast<PageContentController>(configuration.userContentController)),
      webView_(std::move(webView)) {}

WebPageView::~WebPageView() {
  assertMainThread();
  connections_.clear();
  if (gtk_widget_get_parent(GTK_WIDGET(webKit()))) gtk_widget_unparent(GTK_WIDGET(webKit()));
}

std::weak_ptr<WebPageView> WebPageView::weakSelf() {
  return std::static_pointer_cast<WebPageView>(shared_from_this());
}

/// Connects a handler that receives a strong reference to this view before the signal's own parameters.
template <typename Signature>
struct WithSelf;

template <typename Result, typename... Arguments>
struct WithSelf<Result(Arguments...)> {
  template <typename Handler>
  static std::function<Result(Arguments...)> bind(std::weak_ptr<WebPageView> weak, Handler handler) {
    return [weak = std::move(weak), handler = std::move(handler)](Arguments... arguments) -> Result {
      const auto self = weak.lock();
      if (!self) return Result();
      return handler(*self, arguments...);
    };
  }
};

template <typename Signature, typename Handler>
void WebPageView::on(const char* signal, Handler handler) {
  connections_.push_back(
      connectSignal<Signature>(webKit(), signal, WithSelf<Signature>::bind(weakSelf(), std::move(handler))));
}

void WebPageView::watchPage() {
  on<void(WebKitLoadEvent)>("load-changed",
                            [](WebPageView& self, WebKitLoadEvent event) { self.loadChanged(event); });
  // Certificate errors also arrive here when no other handler takes them.
  on<gboolean(WebKitLoadEvent, char*, GError*)>(
      "load-failed", [](WebPageView& self, WebKitLoadEvent event, char*, GError* error) -> gboolean {
        self.loadFailed(event, *error);
        return TRUE;
      });
  on<void(WebKitWebProcessTerminationReason)>(
      "web-process-terminated",
      [](WebPageView& self, WebKitWebProcessTerminationReason) { self.processTerminated(); });
  on<GtkWidget*(WebKitNavigationAction*)>(
      "create", [](WebPageView& self, WebKitNavigationAction* action) -> GtkWidget* {
        const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
        const auto delegate = self.uiDelegate_.lock();
        if (delegate)
          delegate->webViewCreateWebView(uri && *uri ? std::optional<std::string>(uri) : std::nullopt);
        return nullptr;
      });
  on<gboolean(WebKitScriptDialog*)>(
      "script-dialog",
      [](WebPageView& self, WebKitScriptDialog* dialog) -> gboolean { return self.runScriptDialog(dialog); });
}

void WebPageView::refuseBrowserFeatures() {
  on<gboolean(WebKitContextMenu*, WebKitHitTestResult*)>(
      "context-menu",
      [](WebPageView&, WebKitContextMenu*, WebKitHitTestResult*) -> gboolean { return TRUE; });
  on<gboolean(WebKitPrintOperation*)>("print",
                                      [](WebPageView&, WebKitPrintOperation*) -> gboolean { return TRUE; });
  on<gboolean(WebKitNotification*)>("show-notification",
                                    [](WebPageView&, WebKitNotification*) -> gboolean { return TRUE; });
  on<gboolean(WebKitFileChooserRequest*)>("run-file-chooser",
                                          [](WebPageView&, WebKitFileChooserRequest* request) -> gboolean {
                                            webkit_file_chooser_request_cancel(request);
                                            return TRUE;
                                          });
  on<gboolean(WebKitPermissionRequest*)>("permission-request",
                                         [](WebPageView&, WebKitPermissionRequest* request) -> gboolean {
                                           webkit_permission_request_deny(request);
                                           return TRUE;
                                         });
  on<gboolean(WebKitAuthenticationRequest*)>(
      "authenticate", [](WebPageView&, WebKitAuthenticationRequest* request) -> gboolean {
        webkit_authentication_request_cancel(request);
        return TRUE;
      });
  on<gboolean(WebKitPolicyDecision*, WebKitPolicyDecisionType)>(
      "decide-policy",
      [](WebPageView& self, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) -> gboolean {
        return self.decidePolicy(decision, type);
      });
}

bool WebPageView::decidePolicy(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) {
  bool allowed = true;
  if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) {
    auto* response = WEBKIT_RESPONSE_POLICY_DECISION(decision);
    const char* address = webkit_uri_request_get_uri(webkit_response_policy_decision_get_request(response));
    // WebKit would download a response that it cannot show.
    allowed =
        webkit_response_policy_decision_is_mime_type_supported(response) &&
        (!webkit_response_policy_decision_is_main_frame_main_resource(response) || mayNavigateTo(address));
  } else if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION) {
    // WebKit does not tell which frame it is, except that nothing else is redirected before the page is
    // there.
    auto* action =
        webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
    const char* address = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    const bool isRedirectOfLoad = !requestedAddress_.empty() && webkit_navigation_action_is_redirect(action);
    const bool leavesHttps = cameOverHttps_ && hasScheme(address, "http");
    allowed = !(isRedirectOfLoad || leavesHttps) || mayNavigateTo(address);
  }
  if (!allowed) webkit_policy_decision_ignore(decision);
  return !allowed;
}

bool WebPageView::mayNavigateTo(const char* address) {
  const auto delegate = navigationDelegate_.lock();
  return !delegate ||
         delegate->webViewDecidePolicyForNavigation(address ? address : "") == WebViewNavigationPolicy::Allow;
}

Rect WebPageView::frame() const {
  Rect frame = WidgetView::frame();
  if (frame.width <= kMinimumExtent) frame.width = 0;
  if (frame.height <= kMinimumExtent) frame.height = 0;
  return frame;
}

void WebPageView::didMove() {
  webkit_web_view_set_is_muted(webKit(), gtk_widget_get_root(GTK_WIDGET(webKit())) == nullptr);
}

void WebPageView::setNavigationDelegate(std::weak_ptr<WebViewNavigationDelegate> delegate) {
  assertMainThread();
  navigationDelegate_ = std::move(delegate);
}

void WebPageView::setUIDelegate(std::weak_ptr<WebViewUIDelegate> delegate) {
  assertMainThread();
  uiDelegate_ = std::move(delegate);
}

void WebPageView::loadRequest(const URLRequest& request) {
  assertMainThread();
  processGone_ = false;
  const FlagWhile inside(insideCall_);
  if (request.url.empty() || request.url.find('\0') != std::string::npos || !isUtf8(request.url)) {
    return failProvisionally("The address is not valid");
  }
  requestedAddress_ = request.url;
  // The toolkit's requests are always GET, the method that a page is loaded with.
  const auto toolkit = toolkitRequest(request);
  webkit_web_view_load_request(webKit(), toolkit.get());
}

void WebPageView::stopLoading() {
  assertMainThread();
  const FlagWhile inside(insideCall_);
  webkit_web_view_stop_loading(webKit());
}

void WebPageView::loadChanged(WebKitLoadEvent event) {
  if (event == WEBKIT_LOAD_STARTED) loadFailed_ = false;
  if (event == WEBKIT_LOAD_COMMITTED) {
    // For an address that it refuses (a restricted port), WebKit loads a blank page and reports no error.
    const std::string requested = std::exchange(requestedAddress_, "");
    const std::string_view committed = webkit_web_view_get_uri(webKit());
    if (committed == kBlankPage && !requested.empty() && requested != kBlankPage) {
      loadFailed_ = true;
      return failProvisionally("The address cannot be shown");
    }
    cameOverHttps_ = hasScheme(committed.data(), "https");
    tellNavigation([](WebViewNavigationDelegate& delegate) { delegate.webViewDidCommitNavigation(); });
  }
  // WebKit also reports a failed load as finished.
  if (event != WEBKIT_LOAD_FINISHED || std::exchange(loadFailed_, false)) return;
  tellNavigation([status = httpStatus(webKit())](WebViewNavigationDelegate& delegate) {
    delegate.webViewDidReceiveResponse(status);
    delegate.webViewDidFinishNavigation();
  });
}

void WebPageView::loadFailed(WebKitLoadEvent event, const GError& error) {
  loadFailed_ = true;
  const bool provisional = event == WEBKIT_LOAD_STARTED || event == WEBKIT_LOAD_REDIRECTED;
  tellNavigation([provisional, error = errorFromGError(error)](WebViewNavigationDelegate& delegate) {
    if (provisional) {
      delegate.webViewDidFailProvisionalNavigation(error);
    } else {
      delegate.webViewDidFailNavigation(error);
    }
  });
}

void WebPageView::failProvisionally(const char* description) {
  tellNavigation([description](WebViewNavigationDelegate& delegate) {
    delegate.webViewDidFailProvisionalNavigation({g_quark_to_string(WEBKIT_POLICY_ERROR),
                                                  WEBKIT_POLICY_ERROR_CANNOT_SHOW_URI,
                                                  description,
                                                  {},
                                                  {},
                                                  nullptr});
  });
}

void WebPageView::processTerminated() {
  processGone_ = true;
  ++terminations_;
  tellNavigation(
      [](WebViewNavigationDelegate& delegate) { delegate.webViewWebContentProcessDidTerminate(); });
}

void WebPageView::tellNavigation(std::function<void(WebViewNavigationDelegate&)> what) {
  if (insideCall_) {
    dispatch().mainAsync([weak = weakSelf(), what = std::move(what)] {
      if (const auto self = weak.lock()) self->tellNavigation(what);
    });
    return;
  }
  if (const auto delegate = navigationDelegate_.lock()) what(*delegate);
}

bool WebPageView::runScriptDialog(WebKitScriptDialog* dialog) {
  if (webkit_script_dialog_get_dialog_type(dialog) == WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM) {
    webkit_script_dialog_confirm_set_confirmed(dialog, TRUE);
    return true;
  }
  // Confirm dialogs are declined, and prompts return no text.
  const auto delegate = uiDelegate_.lock();
  if (!delegate || webkit_script_dialog_get_dialog_type(dialog) != WEBKIT_SCRIPT_DIALOG_ALERT) return true;
  // WebKit closes a dialog after the signal unless somebody holds it. One that is closed inside the signal is
  // only released here: WebKit would release it a second time.
  struct OpenDialog {
    std::shared_ptr<WebKitScriptDialog> held;
    bool isInSignal = true;
  };
  const auto open = std::make_shared<OpenDialog>();
  open->held = {webkit_script_dialog_ref(dialog), webkit_script_dialog_unref};
  const char* message = webkit_script_dialog_get_message(dialog);
  delegate->webViewRunJavaScriptAlertPanel(message ? message : "", [open] {
    const auto held = std::exchange(open->held, nullptr);
    if (held && !open->isInSignal) webkit_script_dialog_close(held.get());
  });
  open->isInSignal = false;
  return true;
}

void WebPageView::evaluateJavaScript(std::string_view script, Evaluated completion) {
  assertMainThread();
  // WebKit would run nothing and report success.
  if (!isUtf8(script)) return failLater(std::move(completion), scriptError("The script is not valid UTF-8"));
  if (processGone_) return failLater(std::move(completion), scriptError(kProcessTerminated));
  auto* evaluation = new Evaluation{weakSelf(), std::move(completion), terminations_};
  webkit_web_view_evaluate_javascript(
      webKit(), script.data(), static_cast<gssize>(script.size()), nullptr, nullptr, nullptr,
      [](GObject*, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Evaluation> finished(static_cast<Evaluation*>(data));
        if (const auto self = finished->view.lock()) self->finishEvaluation(*finished, result);
      },
      evaluation);
}

void WebPageView::finishEvaluation(Evaluation& evaluation, GAsyncResult* result) {
  GError* rawError = nullptr;
  const auto value =
      GObjectPtr<JSCValue>::adopt(webkit_web_view_evaluate_javascript_finish(webKit(), result, &rawError));
  const std::unique_ptr<GError, GFree<g_error_free>> error(rawError);
  if (!evaluation.completion) return;
  if (!error) return evaluation.completion(std::nullopt);
  if (!g_error_matches(error.get(), WEBKIT_JAVASCRIPT_ERROR, WEBKIT_JAVASCRIPT_ERROR_INVALID_RESULT)) {
    return evaluation.completion(errorFromGError(*error));
  }
  // A value that cannot be serialized and a web process that has ended give the same error. The signal about
  // the ended process may arrive later.
  dispatch().mainAsync([weak = evaluation.view, completion = std::move(evaluation.completion),
                        terminations = evaluation.terminations] {
    const auto self = weak.lock();
    if (!self) return;
    const bool died = self->terminations_ != terminations;
    completion(died ? std::optional(scriptError(kProcessTerminated)) : std::nullopt);
  });
}

void WebPageView::failLater(Evaluated completion, VMRError error) {
  if (!completion) return;
  dispatch().mainAsync([weak = weakSelf(), completion = std::move(completion), error = std::move(error)] {
    if (weak.lock()) completion(error);
  });
}

void WebPageView::setScrollEnabled(bool enabled) {
  assertMainThread();
  if (std::exchange(scrollEnabled_, enabled) == enabled) return;
  WebKitUserContentManager* manager = contentController_->manager();
  if (enabled) {
    webkit_user_content_manager_remove_all_style_sheets(manager);
    return;
  }
  const std::unique_ptr<WebKitUserStyleSheet, GFree<webkit_user_style_sheet_unref>> sheet(
      webkit_user_style_sheet_new(kNoScrolling, WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
                                  WEBKIT_USER_STYLE_LEVEL_USER, nullptr, nullptr));
  webkit_user_content_manager_add_style_sheet(manager, sheet.get());
}

// No system interface covers the content of a window here, so a page has no insets by default.
void WebPageView::setContentInsetAdjustmentNever() {
  assertMainThread();
}
void WebPageView::setContentInset(const EdgeInsets&) {
  assertMainThread();
}

void WebPageView::setOpaque(bool opaque) {
  assertMainThread();
  opaque_ = opaque;
  updateBackground();
}

void WebPageView::setBackgroundColorBlack() {
  assertMainThread();
  black_ = true;
  updateBackground();
}

void WebPageView::updateBackground() {
  const float level = black_ ? 0 : 1;
  const GdkRGBA colour{level, level, level, opaque_ || black_ ? 1.0F : 0.0F};
  webkit_web_view_set_background_color(webKit(), &colour);
}

}  // namespace vemora::gtk
