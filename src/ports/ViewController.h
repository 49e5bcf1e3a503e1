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

/// Controls a view that fills a window and can be presented over another controller.
///
/// Lifetime: A controller holds its view strongly. It also holds the controller that it presents, until that
/// one is dismissed. Each call may return another object for the same controller: compare with `isEqual`. A
/// delegate belongs to the controller, or to the object that it was set through if the owner keeps that.
///
/// Threads: Main thread only, including destruction.
///
/// Completion: `completion` runs on the main thread once the presented view is on screen. It never runs when
/// the presentation fails. Dismissal is asynchronous and reports no completion.
///
/// Errors: None. Presenting is a no-op when the controller already presents another one or is in no window.
class ViewController {
 public:
  virtual ~ViewController() = default;

  /// True for every object of the same controller.
  virtual bool isEqual(const ViewController& other) const = 0;
  virtual std::shared_ptr<View> view() const = 0;
  virtual std::shared_ptr<ViewController> presentedViewController() const = 0;
  /// The controller that presented this one; null when it is not presented.
  virtual std::shared_ptr<ViewController> presentingViewController() const = 0;
  virtual void presentViewController(const std::shared_ptr<ViewController>& controller, bool animated,
                                     std::function<void()> completion) = 0;
  /// Dismisses the controller that this one presented, with all that is presented over it.
  virtual void dismissViewController(bool animated) = 0;
  /// Held weakly.
  virtual void setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) = 0;
};

inline bool presents(const ViewController& presenter, const ViewController& controller) {
  const auto presented = presenter.presentedViewController();
  return presented && presented->isEqual(controller);
}

class SFSafariViewController;

class SFSafariViewControllerDelegate {
 public:
  virtual ~SFSafariViewControllerDelegate() = default;
  /// The user closed the browser. Called once for each browser.
  virtual void safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>& controller) = 0;
};

/// The in-app browser. The delegate is held weakly.
class SFSafariViewController : public virtual ViewController {
 public:
  virtual void setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) = 0;
};

}  // namespace vemora
