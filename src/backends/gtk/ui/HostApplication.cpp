#include "backends/gtk/ui/HostApplication.h"

#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/MainThreadObject.h"
#include "backends/gtk/ui/AlertWindow.h"
#include "backends/gtk/ui/BrowserViewController.h"
#include "backends/gtk/ui/GLContextKeeper.h"
#include "backends/gtk/ui/HostWindowView.h"
#include "backends/gtk/ui/PageContentController.h"
#include "backends/gtk/ui/WebPageView.h"
#include "backends/gtk/ui/WidgetViewController.h"

#include <Vemora/Vemora.h>

#include <webkit/webkit.h>

namespace vemora::gtk {

namespace {

/// WebKit ends the process when it is used without one.
bool hasDisplay() {
  return gtk_is_initialized() && gdk_display_get_default() != nullptr;
}

}  // namespace

std::unique_ptr<Application> makeApplication() {
  return std::make_unique<HostApplication>();
}

HostApplication::HostApplication() : windows_(makeMainThreadObject<HostWindows>()) {
  windows_->watch();
}

std::shared_ptr<Window> HostApplication::keyWindow() {
  const auto window = windows_->keyWindow();
  return std::dynamic_pointer_cast<Window>(viewOfWidget(GTK_WIDGET(window.get())));
}

std::shared_ptr<UserContentController> HostApplication::createUserContentController() {
  return makeMainThreadObject<PageContentController>();
}

std::shared_ptr<WebView> HostApplication::createWebView(const Rect& frame,
                                                        const WebViewConfiguration& configuration) {
  if (hasDisplay()) return WebPageView::create(frame, configuration);
  Vemora::logError(
      "No display: call gtk_init() first, with DISPLAY or WAYLAND_DISPLAY set. No ad can be loaded");
  return nullptr;
}

std::shared_ptr<ViewController> HostApplication::createViewController(const ViewControllerTraits& traits) {
  assertMainThread();
  return makeMainThreadObject<ScreenViewController>(traits);
}

std::shared_ptr<SFSafariViewController> HostApplication::createSafariViewController(const URL& url) {
  return BrowserViewController::create(url);
}

void HostApplication::showAlert(std::string_view title, std::string_view message, std::string_view button) {
  assertMainThread();
  showAlertWindow(windows_->keyWindow().get(), title, message, button);
}

void HostApplication::webViewUserAgent(UserAgentCompletion completion) {
  assertMainThread();
  if (!hasDisplay()) return completion(std::nullopt);
  const GLContextKeeper keeper;
  const auto settings = GObjectPtr<WebKitSettings>::adopt(webkit_settings_new());
  completion(webkit_settings_get_user_agent(settings.get()));
}

}  // namespace vemora::gtk
