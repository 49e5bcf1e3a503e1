#pragma once

#include "../common/GObjectPtr.h"
#include "CommandLine.h"
#include "Rehearsal.h"

#include <Vemora/VemoraView.h>

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <string>

namespace vemora {

/// The host app's window: an article with a place for an ad, and under it what the viewer can do.
///
/// Threads: the main one. Lifetime: the destructor closes the window.
class DemoWindow {
 public:
  struct Handlers {
    std::function<void(Command)> command;
    std::function<void()> closed;  ///< The user requested to close the window; the owner closes it.
  };

  DemoWindow(GtkApplication* application, Placement placement, Handlers handlers);
  DemoWindow(const DemoWindow&) = delete;
  DemoWindow& operator=(const DemoWindow&) = delete;
  ~DemoWindow();

  void present();
  void hide();

  /// The view for ads; null for an interstitial, which has no place in the window.
  [[nodiscard]] std::shared_ptr<View> adView() const;
  /// The window that shows the ad: this one, or what was presented over it.
  [[nodiscard]] GtkWindow* windowOfAd() const;
  /// Where in that window the ad may show.
  [[nodiscard]] graphene_rect_t boundsOfAd() const;

  void showStatus(const std::string& text);
  /// How much of the running ad has played, 0 to 1.
  void showProgress(double share);
  void setPaused(bool paused);
  /// Whether the buttons do anything.
  void setControlsEnabled(bool enabled);

 private:
  GtkWidget* widget(const char* id) const;
  void addAdPlace();
  void addActions();
  void addAction(const char* name, std::function<Command()> command);
  void addShortcuts();

  const Placement placement_;
  const Handlers handlers_;
  const GObjectPtr<GtkBuilder> builder_;
  const GObjectPtr<GtkWindow> window_;
  const GObjectPtr<GSimpleActionGroup> actions_ =
      GObjectPtr<GSimpleActionGroup>::adopt(g_simple_action_group_new());
  GtkWidget* adWidget_ = nullptr;  ///< In the window, or null.
  bool paused_ = false;
};

}  // namespace vemora
