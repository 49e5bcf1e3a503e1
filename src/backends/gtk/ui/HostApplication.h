#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/ui/HostWindows.h"
#include "ports/Application.h"

#include <gtk/gtk.h>

#include <memory>

namespace vemora::gtk {

/// The application port over the windows of the host app.
class HostApplication final : public Application {
 public:
  HostApplication();

  std::shared_ptr<Window> keyWindow() override;
  std::shared_ptr<UserContentController> createUserContentController() override;
  std::shared_ptr<WebView> createWebView(const Rect& frame,
                                         const WebViewConfiguration& configuration) override;
  std::shared_ptr<ViewController> createViewController(const ViewControllerTraits& traits) override;
  std::shared_ptr<SFSafariViewController> createSafariViewController(const URL& url) override;
  void showAlert(std::string_view title, std::string_view message, std::string_view button) override;
  void webViewUserAgent(UserAgentCompletion completion) override;

 private:
  const std::shared_ptr<HostWindows> windows_;
};

}  // namespace vemora::gtk
