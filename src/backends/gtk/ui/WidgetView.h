#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/GObjectSignal.h"
#include "ports/View.h"

#include <gtk/gtk.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora::gtk {

class AdAreaView;

/// The view of any widget. The widget owns its view (see `viewOfWidget`), and the view refers to it weakly.
/// After the widget was destroyed, the view is in no window and has no size, and its operations are no-ops.
///
/// A plain WidgetView represents a widget of the host app between an ad and its window. The SDK reads its
/// geometry, because a widget that clips an ad affects the ad's visibility. It neither moves the widget nor
/// adds anything to it.
///
/// A view counts as in a window only while its widget is mapped: a page of a stack that is not shown, or a
/// window that is not, is on no screen, though it is still in the tree.
class WidgetView : public virtual View, public std::enable_shared_from_this<WidgetView> {
 public:
  explicit WidgetView(GtkWidget* widget);
  ~WidgetView() override;
  /// Called once by the creator of the view: handlers hold it weakly, which a constructor cannot set up.
  virtual void watchWidget();
  WidgetView(const WidgetView&) = delete;
  WidgetView& operator=(const WidgetView&) = delete;

  std::shared_ptr<View> superview() const override;
  std::shared_ptr<Window> window() const override;
  bool isHidden() const override;
  Rect frame() const override;
  Rect bounds() const override;
  bool isDescendantOfView(const View& ancestor) const override;
  std::optional<Rect> convertRectToView(const Rect& rect, const View& other) const override;

  void addSubview(const std::shared_ptr<View>& view) override;
  void removeFromSuperview() override;
  void setFrame(const Rect& frame) override;
  void setUserInteractionEnabled(bool enabled) override;
  void setOpaque(bool opaque) override;
  void setBackgroundColorBlack() override;

  void setTranslatesAutoresizingMaskIntoConstraints(bool translates) override;
  void addConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void removeConstraint(const std::shared_ptr<LayoutConstraint>& constraint) override;
  void setNeedsLayout() override;

  void addObserver(std::weak_ptr<KeyValueObserver> observer, std::string_view keyPath, bool initial) override;
  void removeObserver(const KeyValueObserver* observer, std::string_view keyPath) override;
  void setLayoutObserver(std::weak_ptr<LayoutObserver> observer) override;

  void* layer() const override;

  GObjectPtr<GtkWidget> widget() const { return widget_.lock(); }

  /// Set while a fixed frame applies, absent while constraints do.
  std::optional<Rect> fixedFrame() const { return translates_ ? std::optional(frame_) : std::nullopt; }

 protected:
  /// Runs after the widget got another parent or was mapped or unmapped.
  virtual void didMove() {}

 private:
  friend class AdAreaView;

  struct Observation {
    std::weak_ptr<KeyValueObserver> observer;
    const KeyValueObserver* identity;
    std::string keyPath;
  };

  void widgetMoved();
  bool isPlacedByUs(GtkWidget* widget) const;
  void notifyObservers(std::string_view keyPath);
  void watchLayout();
  void windowLaidOut();
  std::optional<Rect> placeInWindow() const;

  GObjectWeakPtr<GtkWidget> widget_;
  std::weak_ptr<AdAreaView> container_;  ///< The area that holds this view as a subview.
  Rect frame_;
  bool translates_ = true;
  bool moving_ = false;  ///< Between two parents: observers are not notified meanwhile.
  std::weak_ptr<Window> lastWindow_;
  std::vector<Observation> observations_;
  std::weak_ptr<LayoutObserver> layoutObserver_;
  std::optional<Rect> lastPlace_;  ///< The place of the last layout that was seen; absent in no window.
  SignalConnection mapped_, unmapped_, visibleChanged_, surfaceLaidOut_;
};

/// The view of a widget, made at the first call and kept as long as the widget; null for null. Windows and ad
/// areas get views of their own kinds.
std::shared_ptr<WidgetView> viewOfWidget(GtkWidget* widget);

/// Ties a new view that owns its widget, rather than the other way round, to that widget.
void setViewOfWidget(GtkWidget* widget, const std::shared_ptr<WidgetView>& view);

}  // namespace vemora::gtk
