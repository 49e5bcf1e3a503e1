#pragma once

#include <functional>
#include <memory>
#include <string>

namespace vemora {

class View;

struct ViewControllerTraits {
  bool prefersStatusBarHidden = false;
};

/// Notified when the viewer closes a presented controller by the platform's own means, such as the window
/// manager's close button. Called on the main thread after the controller has left the screen, once for each
/// presentation, and not after `dismissViewController`.
class PresentationControllerDelegate {
 public:
  virtual ~PresentationControllerDelegate() = default;
  virtual void presentationControllerDidDismiss() = 0;
};

/// A screenful that can be presented over another.
///
/// Lifetime: a controller holds its view and the controller that it presented strongly, the latter until it
/// is dismissed.
/// Threads: the main thread, destruction included.
/// Completion: `completion` runs on the main thread once the presented view is on screen, and never when it
/// does not get there. Dismissal runs on by itself.
/// Errors: presenting while something is presented already, or from a controller that is in no window, does
/// nothing.
class ViewController {
 public:
  virtual ~ViewController() = default;

  virtual std::shared_ptr<View> view() const = 0;
  virtual std::shared_ptr<ViewController> presentedViewController() const = 0;
  virtual void presentViewController(const std::shared_ptr<ViewController>& controller, bool animated,
                                     std::function<void()> completion) = 0;
  /// Dismisses the controller that this one presented, with all that is presented over it.
  virtual void dismissViewController(bool animated) = 0;
  /// Held weakly.
  virtual void setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) = 0;
};

class SFSafariViewController;

class SFSafariViewControllerDelegate {
 public:
  virtual ~SFSafariViewControllerDelegate() = default;
  /// The user closed the browser; once for each browser.
  virtual void safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>& controller) = 0;
};

/// The in-app browser. The delegate is held weakly.
class SFSafariViewController : public virtual ViewController {
 public:
  virtual void setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) = 0;
};

}  // namespace vemora
