#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/GObjectSignal.h"
#include "backends/gtk/ui/WidgetView.h"
#include "ports/WebView.h"

#include <webkit/webkit.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vemora::gtk {

class PageContentController;

/// A WebKitWebView for ad pages. A page can show content and play media. Every other browser feature (menus,
/// printing, files, permissions, downloads, full screen) is denied without a prompt.
///
/// A view that is in no window is muted, because the viewer could neither see nor stop it.
class WebPageView final : public WidgetView, public WebView {
 public:
  static std::shared_ptr<WebPageView> create(const Rect& frame, const WebViewConfiguration& configuration);
  ~WebPageView() override;

  const WebViewConfiguration& configuration() const override { return configuration_; }
  void setNavigationDelegate(std::weak_ptr<WebViewNavigationDelegate> delegate) override;
  void setUIDelegate(std::weak_ptr<WebViewUIDelegate> delegate) override;
  void loadRequest(const URLRequest& request) override;
  void stopLoading() override;
  void evaluateJavaScript(std::string_view script,
                          std::function<void(const std::optional<VMRError>&)> completion) override;
  void setScrollEnabled(bool enabled) override;
  void setContentInsetAdjustmentNever() override;
  void setContentInset(const EdgeInsets& insets) override;

  Rect frame() const override;
  void setOpaque(bool opaque) override;
  void setBackgroundColorBlack() override;

 private:
  template <typename T, typename... Arguments>
  friend std::shared_ptr<T> makeMainThreadObject(Arguments&&... arguments);
  using Evaluated = std::function<void(const std::optional<VMRError>&)>;
  struct Evaluation;

  WebPageView(GObjectPtr<WebKitWebView> webView, const WebViewConfiguration& configuration);

  std::weak_ptr<WebPageView> weakSelf();
  WebKitWebView* webKit() const { return webView_.get(); }
  void watchPage();
  void refuseBrowserFeatures();
  bool decidePolicy(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type);
  bool mayNavigateTo(const char* address);
  void didMove() override;

  void loadChanged(WebKitLoadEvent event);
  void loadFailed(WebKitLoadEvent event, const GError& error);
  void failProvisionally(const char* description);
  void processTerminated();
  /// Notifies the delegate, at once or, inside a call to this view, right after that call has returned.
  void tellNavigation(std::function<void(WebViewNavigationDelegate&)> what);
  bool runScriptDialog(WebKitScriptDialog* dialog);
  void finishEvaluation(Evaluation& evaluation, GAsyncResult* result);
  void failLater(Evaluated completion, VMRError error);
  void updateBackground();

  template <typename Signature, typename Handler>
  void on(const char* signal, Handler handler);

  const WebViewConfiguration configuration_;
  const std::shared_ptr<PageContentController> contentController_;
  const GObjectPtr<WebKitWebView> webView_;
  std::weak_ptr<WebViewNavigationDelegate> navigationDelegate_;
  std::weak_ptr<WebViewUIDelegate> uiDelegate_;
  std::vector<SignalConnection> connections_;
  /// Set until the requested page commits or fails.
  std::string requestedAddress_;
  bool cameOverHttps_ = false;
  bool loadFailed_ = false;
  bool insideCall_ = false;
  bool processGone_ = false;  ///< Until the next load starts a new process.
  std::uint64_t terminations_ = 0;
  bool scrollEnabled_ = true;
  bool opaque_ = true;
  bool black_ = false;
};

}  // namespace vemora::gtk
