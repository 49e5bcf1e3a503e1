#pragma once

#include <Vemora/VemoraView.h>

#include <memory>
#include <string>
#include <vector>

namespace vemora {

/// For the unit tests of host apps: the SDK on facilities that the test controls. There is no display, no
/// network and no waiting, and time passes when the test says so.
///
///     VemoraScriptedController controller;
///     controller.setAds({{.id = "a", .duration = 15}});
///     auto adBreak = VemoraAdBreak::initInline(VemoraAdRequest::init(), VemoraTesting::makeView(640, 360));
///     bool hasResumed = false;
///     adBreak->run([&](const VemoraAdBreak::Result&) { hasResumed = true; });
///     VemoraTesting::advance(16);
///     EXPECT_TRUE(hasResumed);
///
/// Link tests with `Vemora::Testing`, never together with `Vemora::Vemora`: both contain the SDK.
///
/// **Threads.** The thread that makes the first call is the main thread, and all calls are for it. Callbacks
/// of the main queue run inside `settle` and `advance`.
class VemoraTesting {
 public:
  VemoraTesting() = delete;

  /// Drops all that is queued or running, and starts again: time 0, one window of 1280 by 720 points, nothing
  /// logged, nothing stored. For before each test, when the players of the last one have been released: a new
  /// `VemoraScriptedController` does it.
  static void reset();
  /// Runs the main queue until it is empty and every background thread has ended or waits for time to pass.
  static void settle();
  /// Lets this many seconds pass, with all that comes due in them, in order.
  static void advance(double seconds);

  /// A view of this size in points, in the window.
  static std::shared_ptr<View> makeView(double width, double height);
  /// The app loses the focus, as when the user turns to another one.
  static void leaveForeground();
  /// The app gets the focus back.
  static void enterForeground();
  /// The viewer closes what is presented over the window, by the window manager: an interstitial or the
  /// in-app browser. False when nothing is.
  static bool viewerClosesWindow();

  /// The SDK's log so far, such as "VEMORA ERROR: get.ads: No ads available".
  static std::vector<std::string> log();
  /// The addresses of the beacons that were sent so far.
  static std::vector<std::string> beacons();
  /// The addresses that the in-app browser was opened with so far.
  static std::vector<std::string> openedPages();
};

}  // namespace vemora
