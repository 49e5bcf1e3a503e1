#pragma once

#include "base/Locked.h"
#include "core/player/VemoraAdPlayerBase_p.h"
#include "ports/MainThreadRelease.h"

#include <memory>

namespace vemora {

/// What the placements inside a view of the host app share: the web view moves there on the main queue, while
/// the start command goes out without waiting for it.
class InViewPlacement : public VemoraAdPlayerBase_p {
 public:
  explicit InViewPlacement(std::shared_ptr<View> view) : parentView_(std::move(view)) {}
  ~InViewPlacement() override { releaseOnMainThread(parentView_.exchange(nullptr)); }

  void _start(const JsonValue& parameters) override {
    dispatch().mainAsync([weak = weakSelf(this), webView = _getPlayerView()] {
      const auto self = weak.lock();
      const auto container = self ? self->parentView() : nullptr;
      // A session that has ended or was replaced meanwhile has another view, or none.
      if (!container || !webView || self->_getPlayerView() != webView) return;
      container->addSubview(webView);
      webView->setUserInteractionEnabled(true);
      self->place(webView, container);
    });
    VemoraAdPlayerBase_p::_start(parameters);
  }

  std::shared_ptr<View> parentView() const { return parentView_.get(); }

 protected:
  virtual void place(const std::shared_ptr<WebView>& webView, const std::shared_ptr<View>& container) = 0;

 private:
  Locked<std::shared_ptr<View>> parentView_;
};

}  // namespace vemora
