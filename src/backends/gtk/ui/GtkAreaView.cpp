#include "backends/gtk/ui/GtkAreaView.h"

#include "backends/gtk/ui/AdAreaWidget.h"
#include "ports/Platform.h"

#include <algorithm>
#include <cmath>

namespace vemora::gtk {

namespace {

/// Beyond this, graphics drivers refuse textures, and a page's buffers would eat the machine's memory.
constexpr double kMaximumExtent = 8192;
constexpr double kMaximumMultiplier = 1000;

double sanitizedOffset(double value) {
  return std::isfinite(value) ? std::clamp(value, -kMaximumExtent, kMaximumExtent) : 0;
}

double sanitizedSize(double value, double maximum) {
  return std::isfinite(value) && value > 0 ? std::min(value, maximum) : 0;
}

GtkConstraintAttribute toolkitAttribute(LayoutAttribute attribute) {
  switch (attribute) {
    case LayoutAttribute::Leading:
      return GTK_CONSTRAINT_ATTRIBUTE_START;
    case LayoutAttribute::Trailing:
      return GTK_CONSTRAINT_ATTRIBUTE_END;
    case LayoutAttribute::Top:
      return GTK_CONSTRAINT_ATTRIBUTE_TOP;
    case LayoutAttribute::Bottom:
      return GTK_CONSTRAINT_ATTRIBUTE_BOTTOM;
    case LayoutAttribute::CenterX:
      return GTK_CONSTRAINT_ATTRIBUTE_CENTER_X;
    case LayoutAttribute::CenterY:
      return GTK_CONSTRAINT_ATTRIBUTE_CENTER_Y;
    case LayoutAttribute::Width:
      return GTK_CONSTRAINT_ATTRIBUTE_WIDTH;
    case LayoutAttribute::Height:
      return GTK_CONSTRAINT_ATTRIBUTE_HEIGHT;
  }
  return GTK_CONSTRAINT_ATTRIBUTE_NONE;
}

void addConstant(GtkConstraintLayout* layout, GtkWidget* widget, GtkConstraintAttribute attribute,
                 GtkConstraintRelation relation, double value, int strength) {
  gtk_constraint_layout_add_constraint(
      layout, gtk_constraint_new_constant(widget, attribute, relation, value, strength));
}

bool mentions(const LayoutConstraint& constraint, const View& view) {
  return constraint.firstItem.lock().get() == &view || constraint.secondItem.lock().get() == &view;
}

}  // namespace

Rect GtkAreaView::sanitized(const Rect& frame) {
  return {sanitizedOffset(frame.x), sanitizedOffset(frame.y), sanitizedSize(frame.width, kMaximumExtent),
          sanitizedSize(frame.height, kMaximumExtent)};
}

void GtkAreaView::watchWidget() {
  GtkView::watchWidget();
  const std::weak_ptr<GtkAreaView> weak = std::static_pointer_cast<GtkAreaView>(shared_from_this());
  destroyed_ = connectSignal<void()>(widget().get(), "destroy", [weak] {
    const auto self = weak.lock();
    while (self && !self->subviews_.empty()) self->removeSubview(*self->subviews_.back());
  });
}

GtkWidget* GtkAreaView::content() const {
  const auto area = widget();
  return area ? adAreaContent(area.get()) : nullptr;
}

void GtkAreaView::addSubview(const std::shared_ptr<View>& view) {
  assertMainThread();
  const auto child = std::dynamic_pointer_cast<GtkView>(view);
  const auto childWidget = child ? child->widget() : nullptr;
  GtkWidget* parent = content();
  if (!childWidget || !parent || child->container_.lock().get() == this) return;
  const auto oldContainer = child->container_.lock();
  const bool isMovable = oldContainer || !gtk_widget_get_parent(childWidget.get());
  if (!isMovable || GTK_IS_ROOT(childWidget.get()) || isDescendantOfView(*child)) return;

  child->moving_ = true;
  if (oldContainer) oldContainer->removeSubview(*child);
  subviews_.push_back(child);
  child->container_ = std::static_pointer_cast<GtkAreaView>(shared_from_this());
  gtk_widget_set_parent(childWidget.get(), parent);
  child->moving_ = false;
  rebuildConstraints();
  child->widgetMoved();
}

void GtkAreaView::removeSubview(GtkView& view) {
  const auto entry =
      std::find_if(subviews_.begin(), subviews_.end(), [&](const auto& s) { return s.get() == &view; });
  if (entry == subviews_.end()) return;
  const auto self = shared_from_this();
  const auto child = *entry;
  subviews_.erase(entry);
  child->container_.reset();
  std::erase_if(constraints_, [&](const auto& constraint) { return mentions(*constraint, view); });
  rebuildConstraints();
  // An area that is being disposed of has let go of its children's widgets itself.
  if (const auto childWidget = child->widget(); childWidget && gtk_widget_get_parent(childWidget.get())) {
    gtk_widget_unparent(childWidget.get());
  }
  child->widgetMoved();
  if (subviews_.empty() && whenEmpty_) whenEmpty_();
}

void GtkAreaView::addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  assertMainThread();
  if (!constraint || std::find(constraints_.begin(), constraints_.end(), constraint) != constraints_.end())
    return;
  if (!layoutItem(constraint->firstItem) || !layoutItem(constraint->secondItem)) return;
  constraints_.push_back(constraint);
  rebuildConstraints();
}

void GtkAreaView::removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) {
  assertMainThread();
  if (std::erase(constraints_, constraint) > 0) rebuildConstraints();
}

void GtkAreaView::setNeedsLayout() {
  assertMainThread();
  rebuildConstraints();
  GtkView::setNeedsLayout();
}

void GtkAreaView::setBackgroundColorBlack() {
  assertMainThread();
  if (const auto area = widget()) adAreaSetBlack(area.get());
}

void GtkAreaView::rebuildConstraints() {
  GtkWidget* parent = content();
  if (!parent) return;
  // Taking a constraint out of GTK's solver can leave the others unsolved; a new layout starts from nothing.
  GtkLayoutManager* manager = gtk_constraint_layout_new();
  gtk_widget_set_layout_manager(parent, manager);
  auto* layout = GTK_CONSTRAINT_LAYOUT(manager);
  // Nothing of what is asked for is required: the solver complains of requirements that contradict each
  // other, and makes the best of strong wishes.
  for (const auto& subview : subviews_) {
    const auto child = subview->widget();
    if (!child) continue;
    for (const auto extent : {GTK_CONSTRAINT_ATTRIBUTE_WIDTH, GTK_CONSTRAINT_ATTRIBUTE_HEIGHT}) {
      addConstant(layout, child.get(), extent, GTK_CONSTRAINT_RELATION_LE, kMaximumExtent,
                  GTK_CONSTRAINT_STRENGTH_REQUIRED);
    }
    if (const auto frame = subview->fixedFrame()) {
      const auto fix = [&](GtkConstraintAttribute attribute, double value) {
        addConstant(layout, child.get(), attribute, GTK_CONSTRAINT_RELATION_EQ, value,
                    GTK_CONSTRAINT_STRENGTH_STRONG);
      };
      fix(GTK_CONSTRAINT_ATTRIBUTE_LEFT, frame->x);
      fix(GTK_CONSTRAINT_ATTRIBUTE_TOP, frame->y);
      fix(GTK_CONSTRAINT_ATTRIBUTE_WIDTH, frame->width);
      fix(GTK_CONSTRAINT_ATTRIBUTE_HEIGHT, frame->height);
    }
  }
  std::erase_if(constraints_, [&](const auto& constraint) {
    return !layoutItem(constraint->firstItem) || !layoutItem(constraint->secondItem);
  });
  for (const auto& constraint : constraints_) place(*constraint);
  gtk_widget_queue_resize(parent);
}

void GtkAreaView::place(const LayoutConstraint& constraint) {
  if (isPlacedByFrame(constraint.firstItem)) return;
  auto* layout = GTK_CONSTRAINT_LAYOUT(gtk_widget_get_layout_manager(content()));
  // There is nothing that the system draws over: the safe area is the whole.
  gtk_constraint_layout_add_constraint(
      layout,
      gtk_constraint_new(*layoutItem(constraint.firstItem), toolkitAttribute(constraint.firstAttribute),
                         GTK_CONSTRAINT_RELATION_EQ, *layoutItem(constraint.secondItem),
                         toolkitAttribute(constraint.secondAttribute),
                         sanitizedSize(constraint.multiplier, kMaximumMultiplier),
                         sanitizedOffset(constraint.constant), GTK_CONSTRAINT_STRENGTH_STRONG));
}

std::optional<GtkWidget*> GtkAreaView::layoutItem(const std::weak_ptr<View>& item) const {
  const auto view = item.lock();
  if (!view) return std::nullopt;
  if (view.get() == static_cast<const View*>(this)) return nullptr;
  for (const auto& subview : subviews_) {
    if (static_cast<View*>(subview.get()) == view.get()) return subview->widget().get();
  }
  return std::nullopt;
}

bool GtkAreaView::isPlacedByFrame(const std::weak_ptr<View>& item) const {
  const auto view = std::dynamic_pointer_cast<GtkView>(item.lock());
  return view && view.get() != this && view->fixedFrame();
}

}  // namespace vemora::gtk
