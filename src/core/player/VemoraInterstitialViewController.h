#pragma once

#include "ports/ViewController.h"

#include <functional>
#include <memory>

namespace vemora {

class View;
class WebView;

/// The full-screen stage of one interstitial session: a black view with the web view pinned to its safe area,
/// presented over whatever is on the screen. Main thread, destruction included.
///
///     auto stage = VemoraInterstitialViewController::present(webView, onPresented, onClosedByViewer);
///     stage->dismiss();
///
/// It dismisses only what it presented itself. A stage over which another session has put something stays
/// below that, black, and goes once it is uncovered.
class VemoraInterstitialViewController final
    : public PresentationControllerDelegate,
      public std::enable_shared_from_this<VemoraInterstitialViewController> {
 public:
  using Callback = std::function<void()>;

  /// The platform's controller for a stage.
  static std::shared_ptr<ViewController> init();
  static constexpr bool prefersStatusBarHidden() { return true; }

  /// Null when the presenter did not take the stage. `onPresented` is called once it is on the screen, which
  /// may be never; `onClosedByViewer` once, unless it was dismissed before.
  static std::shared_ptr<VemoraInterstitialViewController> present(
      const std::shared_ptr<ViewController>& presenter, const std::shared_ptr<WebView>& webView,
      Callback onPresented, Callback onClosedByViewer);

  bool isPresented() const { return isPresented_; }
  bool holds(const View& view) const;
  void dismiss();
  void presentationControllerDidDismiss() override;

 private:
  VemoraInterstitialViewController() = default;
  bool isCovered() const;
  void takeDown();
  static void takeDownUncovered();

  std::shared_ptr<ViewController> controller_;
  Callback onPresented_, onClosedByViewer_;
  bool isPresented_ = false;
};

}  // namespace vemora
