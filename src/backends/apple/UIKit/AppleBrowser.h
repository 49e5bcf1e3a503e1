#pragma once

#include "backends/apple/UIKit/AppleViewController.h"
#include "ports/URLSession.h"

@class VMRBrowserObserver;

namespace vemora::apple {

/// The in-app browser. Its class is looked up by name: an application may do without it.
class AppleBrowser final : public AppleViewController, public SFSafariViewController {
 public:
  /// Null without the class, and for an address that it would raise an exception for.
  static std::shared_ptr<AppleBrowser> create(const URL& url);
  explicit AppleBrowser(UIViewController* browser) : AppleViewController(browser) {}

  void setDelegate(std::weak_ptr<SFSafariViewControllerDelegate> delegate) override;

 private:
  VMRBrowserObserver* observer_ = nil;  ///< The browser holds it weakly.
};

bool isBrowser(UIViewController* controller);

}  // namespace vemora::apple
