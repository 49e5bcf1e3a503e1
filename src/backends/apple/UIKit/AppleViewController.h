#pragma once

#include "ports/ViewController.h"

#import <UIKit/UIKit.h>

#include <memory>

namespace vemora::apple {

/// A UIViewController as the core has it. Several wrappers of one controller may exist at a time.
class AppleViewController : public virtual ViewController {
 public:
  explicit AppleViewController(UIViewController* controller) : controller_(controller) {}
  AppleViewController(const AppleViewController&) = delete;
  AppleViewController& operator=(const AppleViewController&) = delete;

  UIViewController* uiViewController() const { return controller_; }

  bool isEqual(const ViewController& other) const override;
  std::shared_ptr<View> view() const override;
  std::shared_ptr<ViewController> presentedViewController() const override;
  std::shared_ptr<ViewController> presentingViewController() const override;
  void presentViewController(const std::shared_ptr<ViewController>& controller, bool animated,
                             std::function<void()> completion) override;
  void dismissViewController(bool animated) override;
  /// Only for controllers that this backend made; others notify nobody of their end.
  void setPresentationDelegate(std::weak_ptr<PresentationControllerDelegate> delegate) override;

 private:
  UIViewController* const controller_;
};

/// A controller for a stage that fills the screen.
std::shared_ptr<ViewController> makeStageViewController(const ViewControllerTraits& traits);

/// A new wrapper; null for nil. Also an `SFSafariViewController` when the controller is one.
std::shared_ptr<ViewController> wrap(UIViewController* controller);

}  // namespace vemora::apple
