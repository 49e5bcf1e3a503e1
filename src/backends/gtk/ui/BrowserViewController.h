#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/GObjectSignal.h"
#include "backends/gtk/ui/WidgetViewController.h"
#include "ports/Application.h"

#include <webkit/webkit.h>

#include <memory>
#include <string>
#include <vector>

namespace vemora::gtk {

/// The in-app browser: a window with the page's title and address, a back button and a close button. It loads
/// http and https addresses only, keeps cookies only while it exists, and opens links for new windows in
/// itself.
///
/// The user closes it with its button, the window manager or the Escape key. The delegate is then notified
/// once, after the window has left the screen. It is not notified when the caller dismisses the browser.
class BrowserViewController final : public PresentableViewController, public SFSafariViewController {
 public:
  /// Null for an address that it cannot show.
  static std::shared_ptr<BrowserViewController> create(const URL& url);
  ~BrowserViewController() override;

  std::shared_ptr<View> view() const override;
  void setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) override;

 private:
  template <typename T, typename... Arguments>
  friend std::shared_ptr<T> makeMainThreadObject(Arguments&&... arguments);

  explicit BrowserViewController(std::string address);

  void prepareWindow(GtkWindow* window, GtkWindow* parent) override;
  void didCloseByUser() override;
  void didLeave() override;

  GtkWidget* makeHeaderBar();
  void addShortcuts(GtkWidget* window);
  void watchPage();
  bool decidePolicy(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type);
  void updateHeader();

  const std::string address_;
  const GObjectPtr<WebKitWebView> webView_;
  GObjectWeakPtr<GtkLabel> titleLabel_, addressLabel_;
  GObjectWeakPtr<GtkWidget> backButton_;
  std::weak_ptr<SFSafariViewControllerDelegate> delegate_;
  std::vector<SignalConnection> connections_;
};

}  // namespace vemora::gtk
