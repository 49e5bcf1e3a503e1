#pragma once

#include "backends/gtk/ui/WidgetView.h"

#include <functional>
#include <memory>
#include <vector>

namespace vemora::gtk {

/// The view of an ad area: the one kind that holds other views. A subview is placed by its fixed frame or by
/// the constraints that were added here, never by both.
class AdAreaView final : public WidgetView {
 public:
  explicit AdAreaView(GtkWidget* area) : WidgetView(area) {}
  void watchWidget() override;

  void addSubview(const std::shared_ptr<View>& view) override;
  void addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void setNeedsLayout() override;
  void setBackgroundColorBlack() override;

  void removeSubview(WidgetView& view);
  /// Called when the last subview was removed.
  void setEmptyHandler(std::function<void()> handler) { whenEmpty_ = std::move(handler); }

 private:
  void queueLayout();
  void allocateSubviews(int width, int height);
  /// Whether a constraint here may refer to it: this view itself or one of its subviews.
  bool isItem(const std::weak_ptr<View>& item) const;

  std::vector<std::shared_ptr<WidgetView>> subviews_;
  std::vector<std::shared_ptr<LayoutConstraint>> constraints_;
  std::function<void()> whenEmpty_;
  SignalConnection destroyed_;
};

}  // namespace vemora::gtk
