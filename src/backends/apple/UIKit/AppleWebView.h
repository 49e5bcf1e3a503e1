#pragma once

#include "backends/apple/UIKit/AppleView.h"
#include "ports/WebView.h"

#import <WebKit/WebKit.h>

@class VMRWebView;
@class VMRWebViewDelegate;

namespace vemora::apple {

class AppleUserContentController final : public UserContentController {
 public:
  WKUserContentController* wkController() const { return controller_; }
  void addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler, std::string_view name) override;
  void removeScriptMessageHandlerForName(std::string_view name) override;

 private:
  WKUserContentController* const controller_ = [[WKUserContentController alloc] init];
};

/// A WKWebView as the core has it. Delegates and observers belong to this wrapper, which its owner keeps.
class AppleWebView final : public AppleView, public WebView {
 public:
  AppleWebView(const Rect& frame, const WebViewConfiguration& configuration);
  ~AppleWebView() override;

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
  void addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath, bool initial) override;
  void removeObserver(const KeyValueObserver* observer, std::string_view keyPath) override;
  void setLayoutObserver(std::weak_ptr<LayoutObserver> observer) override;

 private:
  VMRWebView* native() const;

  const WebViewConfiguration configuration_;
  VMRWebViewDelegate* const delegate_;
};

}  // namespace vemora::apple
