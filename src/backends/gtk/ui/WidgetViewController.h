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

/// True for windows that the SDK opens. They do not belong to the host app and are never the key window.
bool isOwnWindow(GtkWindow* window);
void markOwnWindow(GtkWindow* window);

/// Base of all controllers of this backend. A controller can present one other controller, in a separate
/// window above its own.
class WidgetViewController : public virtual ViewController,
                             public std::enable_shared_from_this<WidgetViewController> {
 public:
  bool isEqual(const ViewController& other) const override;
  std::shared_ptr<ViewController> presentedViewController() const override;
  std::shared_ptr<ViewController> presentingViewController() const override { return nullptr; }
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

/// Represents the content of a window of the host app.
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
/// The user can close that window through the window manager (close button, Alt+F4). Refusing this would trap
/// the user behind a modal window when a page hangs, so it dismisses the controller with everything that is
/// presented over it, exactly as `dismissViewController` does. A web view in it is then in no window, and its
/// observers are notified. The Escape key is left to the content.
class PresentableViewController : public WidgetViewController {
 public:
  ~PresentableViewController() override;
  std::shared_ptr<ViewController> presentingViewController() const override { return presenter_.lock(); }
  bool isPresented() const { return static_cast<bool>(window_); }

 protected:
  friend class WidgetViewController;

  GObjectPtr<GtkWindow> hostWindow() const override { return window_; }
  /// Fills the new window and sets its size.
  virtual void prepareWindow(GtkWindow* window, GtkWindow* parent) = 0;
  /// Called after its window was closed, for any reason.
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

/// A separate ad area that fills the screen.
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
