#include "backends/gtk/ui/WidgetView.h"

#include "backends/gtk/base/MainThreadObject.h"
#include "backends/gtk/ui/AdAreaView.h"
#include "backends/gtk/ui/AdAreaWidget.h"
#include "backends/gtk/ui/ConstraintSolver.h"
#include "backends/gtk/ui/HostWindowView.h"

#include <Vemora/Vemora.h>

#include <algorithm>

namespace vemora::gtk {

namespace {

/// The link from a widget to its view; `owned` is set when the widget owns the view.
struct ViewTie {
  std::shared_ptr<WidgetView> owned;
  std::weak_ptr<WidgetView> view;
};

GQuark viewQuark() {
  static const GQuark quark = g_quark_from_static_string("vemora-view");
  return quark;
}

void tie(GtkWidget* widget, ViewTie link) {
  g_object_set_qdata_full(G_OBJECT(widget), viewQuark(), new ViewTie(std::move(link)),
                          [](gpointer data) { delete static_cast<ViewTie*>(data); });
}

Rect fromGraphene(const graphene_rect_t& rect) {
  return {rect.origin.x, rect.origin.y, rect.size.width, rect.size.height};
}

/// The widget of the superview: a parking place counts as part of its window.
GtkWidget* superviewWidget(GtkWidget* widget) {
  GtkWidget* parent = gtk_widget_get_parent(widget);
  const bool isParked = parent && isAdAreaWidget(parent) && adAreaIsParked(parent);
  return isParked ? gtk_widget_get_parent(parent) : parent;
}

const WidgetView* asWidgetView(const View& view) {
  return dynamic_cast<const WidgetView*>(&view);
}

}  // namespace

std::shared_ptr<WidgetView> viewOfWidget(GtkWidget* widget) {
  assertMainThread();
  if (!widget) return nullptr;
  if (auto* link = static_cast<ViewTie*>(g_object_get_qdata(G_OBJECT(widget), viewQuark()))) {
    return link->view.lock();
  }
  std::shared_ptr<WidgetView> view;
  if (GTK_IS_WINDOW(widget)) {
    view = makeMainThreadObject<HostWindowView>(GTK_WINDOW(widget));
  } else if (isAdAreaWidget(widget)) {
    view = makeMainThreadObject<AdAreaView>(widget);
  } else {
    view = makeMainThreadObject<WidgetView>(widget);
  }
  tie(widget, {view, view});
  view->watchWidget();
  return view;
}

void setViewOfWidget(GtkWidget* widget, const std::shared_ptr<WidgetView>& view) {
  tie(widget, {nullptr, view});
  view->watchWidget();
}

WidgetView::WidgetView(GtkWidget* widget) : widget_(widget) {
  assertMainThread();
}

void WidgetView::watchWidget() {
  const auto widget = this->widget();
  const auto whenMoved = [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->widgetMoved();
  };
  mapped_ = connectSignal<void()>(widget.get(), "map", whenMoved, G_CONNECT_AFTER);
  unmapped_ = connectSignal<void()>(widget.get(), "unmap", whenMoved, G_CONNECT_AFTER);
  visibleChanged_ = connectSignal<void(GParamSpec*)>(widget.get(), "notify::visible",
                                                     [weak = weak_from_this()](GParamSpec*) {
                                                       if (const auto self = weak.lock())
                                                         self->notifyObservers("hidden");
                                                     });
}

WidgetView::~WidgetView() = default;

std::shared_ptr<View> WidgetView::superview() const {
  const auto widget = this->widget();
  return widget ? viewOfWidget(superviewWidget(widget.get())) : nullptr;
}

std::shared_ptr<Window> WidgetView::window() const {
  const auto widget = this->widget();
  if (!widget || !gtk_widget_get_mapped(widget.get())) return nullptr;
  GtkRoot* root = gtk_widget_get_root(widget.get());
  return GTK_IS_WINDOW(root) ? std::dynamic_pointer_cast<Window>(viewOfWidget(GTK_WIDGET(root))) : nullptr;
}

bool WidgetView::isHidden() const {
  const auto widget = this->widget();
  return !widget || !gtk_widget_get_visible(widget.get());
}

bool WidgetView::isPlacedByUs(GtkWidget* widget) const {
  return container_.lock() || (!gtk_widget_get_parent(widget) && !GTK_IS_ROOT(widget));
}

Rect WidgetView::frame() const {
  const auto widget = this->widget();
  if (!widget) return {};
  // A frame that was set is the frame, laid out or not.
  if (translates_ && isPlacedByUs(widget.get())) return frame_;
  GtkWidget* parent = superviewWidget(widget.get());
  graphene_rect_t rect;
  return gtk_widget_compute_bounds(widget.get(), parent ? parent : widget.get(), &rect) ? fromGraphene(rect)
                                                                                        : Rect{};
}

Rect WidgetView::bounds() const {
  const auto widget = this->widget();
  if (!widget) return {};
  if (isPlacedByUs(widget.get())) {
    const Rect own = frame();
    return {0, 0, own.width, own.height};
  }
  graphene_rect_t rect;
  return gtk_widget_compute_bounds(widget.get(), widget.get(), &rect) ? fromGraphene(rect) : Rect{};
}

bool WidgetView::isDescendantOfView(const View& ancestor) const {
  const auto widget = this->widget();
  const WidgetView* other = asWidgetView(ancestor);
  const auto otherWidget = other ? other->widget() : nullptr;
  if (!widget || !otherWidget) return this == other;
  return widget.get() == otherWidget.get() || gtk_widget_is_ancestor(widget.get(), otherWidget.get());
}

std::optional<Rect> WidgetView::convertRectToView(const Rect& rect, const View& other) const {
  const auto widget = this->widget();
  const WidgetView* target = asWidgetView(other);
  const auto targetWidget = target ? target->widget() : nullptr;
  if (!widget || !targetWidget) return std::nullopt;
  GtkRoot* root = gtk_widget_get_root(widget.get());
  if (!root || root != gtk_widget_get_root(targetWidget.get())) return std::nullopt;
  graphene_matrix_t matrix;
  if (!gtk_widget_compute_transform(widget.get(), targetWidget.get(), &matrix)) return std::nullopt;
  graphene_rect_t from, to;
  graphene_rect_init(&from, static_cast<float>(rect.x), static_cast<float>(rect.y),
                     static_cast<float>(rect.width), static_cast<float>(rect.height));
  graphene_matrix_transform_bounds(&matrix, &from, &to);
  return fromGraphene(to);
}

void WidgetView::addSubview(const std::shared_ptr<View>&) {
  assertMainThread();
  Vemora::logError("Only ad views can contain ads, not other widgets of the host app");
}

void WidgetView::removeFromSuperview() {
  assertMainThread();
  const auto self = shared_from_this();
  if (const auto container = container_.lock()) container->removeSubview(*this);
}

void WidgetView::setFrame(const Rect& frame) {
  assertMainThread();
  frame_ = sanitizedFrame(frame);
  setNeedsLayout();
}

void WidgetView::setUserInteractionEnabled(bool enabled) {
  assertMainThread();
  const auto widget = this->widget();
  if (!widget) return;
  gtk_widget_set_can_target(widget.get(), enabled);
  gtk_widget_set_can_focus(widget.get(), enabled);
}

// Only web views and areas draw a background of their own.
void WidgetView::setOpaque(bool) {}
void WidgetView::setBackgroundColorBlack() {}

void WidgetView::setTranslatesAutoresizingMaskIntoConstraints(bool translates) {
  assertMainThread();
  if (translates == translates_) return;
  // The frame that the constraints produced becomes the fixed frame.
  if (translates && container_.lock()) frame_ = sanitizedFrame(frame());
  translates_ = translates;
  setNeedsLayout();
}

void WidgetView::addConstraint(const std::shared_ptr<LayoutConstraint>&) {
  assertMainThread();
}
void WidgetView::removeConstraint(const std::shared_ptr<LayoutConstraint>&) {
  assertMainThread();
}

void WidgetView::setNeedsLayout() {
  assertMainThread();
  if (const auto container = container_.lock()) container->setNeedsLayout();
}

void WidgetView::addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath,
                             bool initial) {
  assertMainThread();
  const auto strong = observer.lock();
  if (!strong) return;
  std::erase_if(observations_, [](const Observation& entry) { return entry.observer.expired(); });
  lastWindow_ = window();
  observations_.push_back({std::move(observer), strong.get(), std::string(keyPath)});
  if (initial) strong->observeValueForKeyPath(keyPath);
}

void WidgetView::removeObserver(const KeyValueObserver* observer, std::string_view keyPath) {
  assertMainThread();
  std::erase_if(observations_, [&](const Observation& entry) {
    return entry.identity == observer && entry.keyPath == keyPath;
  });
}

void WidgetView::setLayoutObserver(std::weak_ptr<LayoutObserver> observer) {
  assertMainThread();
  layoutObserver_ = std::move(observer);
  watchLayout();
  lastPlace_ = placeInWindow();
}

void* WidgetView::layer() const {
  return widget().get();
}

void WidgetView::widgetMoved() {
  if (moving_) return;
  didMove();
  watchLayout();
  const auto now = window();
  if (now == lastWindow_.lock()) return;
  lastWindow_ = now;
  notifyObservers("window");
}

/// A widget is not notified when an ancestor moves it, but the surface is, because it lays out the whole
/// window.
void WidgetView::watchLayout() {
  surfaceLaidOut_.disconnect();
  lastPlace_.reset();
  const auto widget = this->widget();
  if (layoutObserver_.expired() || !widget) return;
  GtkNative* native = gtk_widget_get_native(widget.get());
  GdkSurface* surface = native ? gtk_native_get_surface(native) : nullptr;
  if (!surface) return;
  surfaceLaidOut_ = connectSignal<void(int, int)>(
      surface, "layout",
      [weak = weak_from_this()](int, int) {
        if (const auto self = weak.lock()) self->windowLaidOut();
      },
      G_CONNECT_AFTER);
}

void WidgetView::windowLaidOut() {
  const auto place = placeInWindow();
  if (!place || place == std::exchange(lastPlace_, place)) return;
  if (const auto observer = layoutObserver_.lock()) observer->viewDidLayout();
}

std::optional<Rect> WidgetView::placeInWindow() const {
  const auto widget = this->widget();
  if (!widget || !gtk_widget_get_mapped(widget.get())) return std::nullopt;
  graphene_rect_t place;
  GtkWidget* window = GTK_WIDGET(gtk_widget_get_native(widget.get()));
  if (!window || !gtk_widget_compute_bounds(widget.get(), window, &place)) return std::nullopt;
  return fromGraphene(place);
}

void WidgetView::notifyObservers(std::string_view keyPath) {
  const auto snapshot = observations_;
  for (const auto& entry : snapshot) {
    if (entry.keyPath != keyPath) continue;
    if (const auto observer = entry.observer.lock()) observer->observeValueForKeyPath(keyPath);
  }
}

}  // namespace vemora::gtk
