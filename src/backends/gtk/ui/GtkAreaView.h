#pragma once

#include "backends/gtk/ui/GtkView.h"

#include <functional>
#include <memory>
#include <vector>

namespace vemora::gtk {

/// The view of an ad area: the one kind that holds other views. Subviews are placed by GtkConstraintLayout,
/// from their fixed frame or from the constraints that were added here, and never from both.
///
/// The layout is made anew whenever anything changes, so that no constraint can outlive its reason.
class GtkAreaView final : public GtkView {
 public:
  explicit GtkAreaView(GtkWidget* area) : GtkView(area) {}
  void watchWidget() override;

  void addSubview(const std::shared_ptr<View>& view) override;
  void addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void setNeedsLayout() override;
  void setBackgroundColorBlack() override;

  void removeSubview(GtkView& view);
  /// Called when the last subview has gone.
  void setEmptyHandler(std::function<void()> handler) { whenEmpty_ = std::move(handler); }

  /// Sizes that can be laid out: not finite or negative counts as 0, and nothing is larger than a surface can
  /// be.
  static Rect sanitized(const Rect& frame);

 private:
  GtkWidget* content() const;
  void rebuildConstraints();
  void place(const LayoutConstraint& constraint);
  /// The widget of an item as the layout knows it: null for this view itself, absent for what is not laid out
  /// here.
  std::optional<GtkWidget*> layoutItem(const std::weak_ptr<View>& item) const;
  bool isPlacedByFrame(const std::weak_ptr<View>& item) const;

  std::vector<std::shared_ptr<GtkView>> subviews_;
  std::vector<std::shared_ptr<LayoutConstraint>> constraints_;
  std::function<void()> whenEmpty_;
  SignalConnection destroyed_;
};

}  // namespace vemora::gtk
