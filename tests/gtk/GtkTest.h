#pragma once

#include "../common/MainLoop.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "ports/Platform.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/JsonValue.h>

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// What the tests of the GTK backend share: a pumped main loop, windows of a host app, and pages that can be
/// asked.
namespace vemora::test {

/// Runs the main loop for a while that is long enough for a few frames.
void runFrames();
void runFor(double seconds);

/// The warnings that were logged since the last call; those that a test does not take are failures of it.
std::vector<std::string> takeWarnings();

/// The X server's view of keys and windows, for tests under a window manager.
void runTool(const std::vector<std::string>& command);

/// A shown window with a label above an ad view.
class HostWindow {
 public:
  explicit HostWindow(int width = 600, int height = 400, bool present = true);
  ~HostWindow();
  HostWindow(const HostWindow&) = delete;
  HostWindow& operator=(const HostWindow&) = delete;

  void destroy();
  GtkWindow* window() const { return window_.get(); }
  GtkWidget* content() const { return content_.get(); }
  GtkWidget* adWidget() const { return adWidget_.get(); }
  std::shared_ptr<View> adView() const { return gtk::viewForWidget(adWidget_.get()); }

 private:
  gtk::GObjectPtr<GtkWindow> window_;
  gtk::GObjectPtr<GtkWidget> content_, adWidget_;
};

/// A web view with recorders for everything that it reports.
class Page : public ScriptMessageHandler,
             public WebViewNavigationDelegate,
             public WebViewUIDelegate,
             public std::enable_shared_from_this<Page> {
 public:
  /// The page posts to "test".
  static std::shared_ptr<Page> create(bool upgradeToHTTPS = false);

  void loadHtml(const std::string& html);
  void load(const std::string& url, std::vector<std::pair<std::string, std::string>> headers = {});
  /// Waits for the next outcome of a navigation: "finished", "provisional", "failed" or "terminated".
  std::string outcome();
  void loadHtmlAndWait(const std::string& html);
  /// The value of a JavaScript expression.
  JsonValue ask(const std::string& expression);
  /// How often a 10 ms timer of the page's fires in the given time, relative to a page at full speed.
  double timerSpeed(double seconds = 0.4);
  /// A throttled page is at 0.03 always; a busy machine now and then takes its part of a full-speed one.
  bool isAtFullSpeed();
  std::optional<VMRError> evaluate(const std::string& script);

  std::shared_ptr<WebView> view;
  std::vector<std::string> outcomes;
  int httpStatus = 0;
  std::optional<VMRError> lastError;
  std::vector<ScriptMessage> messages;
  std::vector<std::optional<std::string>> newWindows;
  std::vector<std::string> alerts;
  std::function<void()> alertCompletion;
  bool completeAlerts = true;
  std::function<void()> whenFinished;

  void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) override;
  void webViewDidReceiveResponse(int status) override { httpStatus = status; }
  void webViewDidFinishNavigation() override;
  void webViewDidFailProvisionalNavigation(const VMRError& error) override;
  void webViewDidFailNavigation(const VMRError& error) override;
  void webViewWebContentProcessDidTerminate() override;
  void webViewCreateWebView(const std::optional<std::string>& url) override;
  void webViewRunJavaScriptAlertPanel(std::string_view message, std::function<void()> completion) override;

 private:
  std::size_t heard_ = 0;
};

std::string dataUrl(const std::string& html);

std::shared_ptr<LayoutConstraint> constrain(const std::shared_ptr<View>& first,
                                            const std::shared_ptr<View>& second, LayoutAttribute attribute,
                                            double multiplier = 1);
/// Pins all four edges of a view to its superview's.
void pinEdges(const std::shared_ptr<View>& view, const std::shared_ptr<View>& superview);

inline Application& application() {
  return Platform::shared().application();
}

}  // namespace vemora::test
