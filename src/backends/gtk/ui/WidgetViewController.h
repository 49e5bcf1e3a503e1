#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/GObjectSignal.h"
#include "ports/View.h"
#include "ports/ViewController.h"

#include <gtk/gtk.h>

#include <memory>

namespace vemora::gtk {

class PresentableViewController;
class HostWindowView;

/// True for the windows that the SDK itself opens: they are none of the app's, and never a key window.
bool isOwnWindow(GtkWindow* window);
void markOwnWindow(GtkWindow* window);

/// What all controllers of this backend have in common: they can present one other, in a window of its own
/// above theirs.
class WidgetViewController : public virtual ViewController,
                             public std::enable_shared_from_this<WidgetViewController> {
 public:
  std::shared_ptr<ViewController> presentedViewController() const override;
  void presentViewController(const std::shared_ptr<ViewController>& controller, bool animated,
                             std::function<void()> completion) override;
  void dismissViewController(bool animated) override;
  void setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) override;

 protected:
  friend class PresentableViewController;

  /// The window that shows this controller; null while there is none.
  virtual GObjectPtr<GtkWindow> hostWindow() const = 0;

  std::shared_ptr<PresentableViewController> presented_;
  std::weak_ptr<PresentationControllerDelegate> presentationDelegate_;
};

/// Stands for whatever a window of the host's shows.
class RootViewController final : public WidgetViewController {
 public:
  explicit RootViewController(const std::shared_ptr<HostWindowView>& window);

  std::shared_ptr<View> view() const override;

 private:
  GObjectPtr<GtkWindow> hostWindow() const override;

  std::weak_ptr<HostWindowView> window_;
};

/// A controller that can be presented. Its window is modal and transient for the presenter's, and exists only
/// while it is presented.
///
/// The user closes that window by the window manager's means (its close button, Alt+F4). Refusing that would
/// lock people in behind a modal window when a page hangs, so it counts as the user dismissing the
/// controller: it leaves its presenter with all that is presented over it, exactly as after
/// `dismissViewController`, and a web view in it is then in no window, of which its observers hear. The
/// Escape key belongs to what is shown.
class PresentableViewController : public WidgetViewController {
 public:
  ~PresentableViewController() override;
  bool isPresented() const { return static_cast<bool>(window_); }

 protected:
  friend class WidgetViewController;

  GObjectPtr<GtkWindow> hostWindow() const override { return window_; }
  /// Fills the new window and says how large it is to be.
  virtual void prepareWindow(GtkWindow* window, GtkWindow* parent) = 0;
  /// Called after its window has gone, for whatever reason.
  virtual void didLeave() {}
  /// The user closed it; called after it has left the screen. Notifies the presentation delegate.
  virtual void didCloseByUser();
  void closeByUser();

 private:
  void enter(GtkWindow* parent, std::weak_ptr<WidgetViewController> presenter,
             std::function<void()> completion);
  void awaitFirstFrame();
  void leave();

  GObjectPtr<GtkWindow> window_;
  std::weak_ptr<WidgetViewController> presenter_;
  std::function<void()> completion_;
  SignalConnection closeRequested_, mapped_, painted_;
};

/// An area of its own that fills the screen.
class ScreenViewController final : public PresentableViewController {
 public:
  explicit ScreenViewController(const ViewControllerTraits& traits);

  std::shared_ptr<View> view() const override;

 private:
  void prepareWindow(GtkWindow* window, GtkWindow* parent) override;

  const ViewControllerTraits traits_;
  const GObjectPtr<GtkWidget> area_;
};

/// The monitor that shows the window; null while none does.
GObjectPtr<GdkMonitor> monitorOfWindow(GtkWindow* window);

}  // namespace vemora::gtk
