#include "backends/gtk/ui/AdAreaView.h"

#include "backends/gtk/ui/AdAreaWidget.h"
#include "backends/gtk/ui/ConstraintSolver.h"
#include "ports/Platform.h"

#include <algorithm>
#include <cmath>

namespace vemora::gtk {

namespace {

/// Edges are rounded, so that views that touch each other do so in pixels.
void allocate(GtkWidget* widget, const Rect& frame) {
  const auto extent = [widget](GtkOrientation orientation, double start, double size) {
    int minimum = 0;
    gtk_widget_measure(widget, orientation, -1, &minimum, nullptr, nullptr, nullptr);
    return std::max(minimum, static_cast<int>(std::lround(start + size) - std::lround(start)));
  };
  const GtkAllocation allocation{static_cast<int>(std::lround(frame.x)),
                                 static_cast<int>(std::lround(frame.y)),
                                 extent(GTK_ORIENTATION_HORIZONTAL, frame.x, frame.width),
                                 extent(GTK_ORIENTATION_VERTICAL, frame.y, frame.height)};
  gtk_widget_size_allocate(widget, &allocation, -1);
}

bool mentions(const LayoutConstraint& constraint, const View& view) {
  return constraint.firstItem.lock().get() == &view || constraint.secondItem.lock().get() == &view;
}

}  // namespace

void AdAreaView::watchWidget() {
  WidgetView::watchWidget();
  const std::weak_ptr<AdAreaView> weak = std::static_pointer_cast<AdAreaView>(shared_from_this());
  destroyed_ = connectSignal<void()>(widget().get(), "destroy", [weak] {
    const auto self = weak.lock();
    while (self && !self->subviews_.empty()) self->removeSubview(*self->subviews_.back());
  });
  adAreaSetLayout(widget().get(), [weak](int width, int height) {
    if (const auto self = weak.lock()) self->allocateSubviews(width, height);
  });
}

void AdAreaView::addSubview(const std::shared_ptr<View>& view) {
  assertMainThread();
  const auto child = std::dynamic_pointer_cast<WidgetView>(view);
  const auto childWidget = child ? child->widget() : nullptr;
  const auto parent = widget();
  if (!childWidget || !parent || child->container_.lock().get() == this) return;
  const auto oldContainer = child->container_.lock();
  const bool isMovable = oldContainer || !gtk_widget_get_parent(childWidget.get());
  if (!isMovable || GTK_IS_ROOT(childWidget.get()) || isDescendantOfView(*child)) return;

  child->moving_ = true;
  if (oldContainer) oldContainer->removeSubview(*child);
  subviews_.push_back(child);
  child->container_ = std::static_pointer_cast<AdAreaView>(shared_from_this());
  gtk_widget_set_parent(childWidget.get(), parent.get());
  child->moving_ = false;
  child->widgetMoved();
}

void AdAreaView::removeSubview(WidgetView& view) {
  const auto entry =
      std::find_if(subviews_.begin(), subviews_.end(), [&](const auto& s) { return s.get() == &view; });
  if (entry == subviews_.end()) return;
  const auto self = shared_from_this();
  const auto child = *entry;
  subviews_.erase(entry);
  child->container_.reset();
  std::erase_if(constraints_, [&](const auto& constraint) { return mentions(*constraint, view); });
  // An area that is being disposed of has unparented its children already.
  if (const auto childWidget = child->widget(); childWidget && gtk_widget_get_parent(childWidget.get())) {
    gtk_widget_unparent(childWidget.get());
  }
  child->widgetMoved();
  if (subviews_.empty() && whenEmpty_) whenEmpty_();
}

void AdAreaView::addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  assertMainThread();
  if (!constraint || std::find(constraints_.begin(), constraints_.end(), constraint) != constraints_.end())
    return;
  if (!isItem(constraint->firstItem) || !isItem(constraint->secondItem)) return;
  constraints_.push_back(constraint);
  queueLayout();
}

void AdAreaView::removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  assertMainThread();
  if (std::erase(constraints_, constraint) > 0) queueLayout();
}

void AdAreaView::setNeedsLayout() {
  assertMainThread();
  queueLayout();
  WidgetView::setNeedsLayout();
}

void AdAreaView::setBackgroundColorBlack() {
  assertMainThread();
  if (const auto area = widget()) adAreaSetBlack(area.get());
}

void AdAreaView::queueLayout() {
  if (const auto area = widget()) gtk_widget_queue_allocate(area.get());
}

void AdAreaView::allocateSubviews(int width, int height) {
  // Nothing of the system is drawn over a window here: the safe area is the whole area.
  std::vector<PlacedView> placed;
  for (const auto& subview : subviews_) placed.push_back({subview.get(), subview->fixedFrame(), false, {}});
  const bool isRightToLeft = gtk_widget_get_direction(widget().get()) == GTK_TEXT_DIR_RTL;
  solveConstraints(*this, width, height, isRightToLeft, constraints_, placed);
  const auto subviews = subviews_;
  for (std::size_t index = 0; index < subviews.size(); ++index) {
    if (const auto child = subviews[index]->widget()) allocate(child.get(), placed[index].frame);
  }
}

bool AdAreaView::isItem(const std::weak_ptr<View>& item) const {
  const auto view = item.lock();
  return view && (view.get() == this ||
                  std::any_of(subviews_.begin(), subviews_.end(),
                              [&](const auto& subview) { return subview.get() == view.get(); }));
}

}  // namespace vemora::gtk
