#include "backends/gtk/ui/HostWindows.h"

#include "backends/gtk/ui/WidgetViewController.h"
#include "ports/Application.h"
#include "ports/Platform.h"

#include <Vemora/NotificationCenter.h>

#include <algorithm>

namespace vemora::gtk {

namespace {

std::vector<GObjectPtr<GtkWindow>> toplevels() {
  GListModel* list = gtk_window_get_toplevels();
  std::vector<GObjectPtr<GtkWindow>> windows;
  for (guint index = 0; index < g_list_model_get_n_items(list); ++index) {
    windows.push_back(GObjectPtr<GtkWindow>::adopt(GTK_WINDOW(g_list_model_get_item(list, index))));
  }
  return windows;
}

/// False for windows of the SDK and for the toolkit's inspector, which uses a separate display.
bool isHostWindow(GtkWindow* window) {
  return !isOwnWindow(window) && gtk_widget_get_display(GTK_WIDGET(window)) == gdk_display_get_default();
}

NotificationCenter& center() {
  return NotificationCenter::defaultCenter();
}

}  // namespace

void HostWindows::watch() {
  assertMainThread();
  toplevelsChanged_ = connectSignal<void(guint, guint, guint)>(
      gtk_window_get_toplevels(), "items-changed", [weak = weak_from_this()](guint, guint, guint) {
        if (const auto self = weak.lock()) self->toplevelsChanged();
      });
  toplevelsChanged();
}

GObjectPtr<GtkWindow> HostWindows::keyWindow() const {
  assertMainThread();
  const auto last = lastActive_.lock();
  GObjectPtr<GtkWindow> visible;
  bool lastIsAlive = false;
  for (const auto& window : toplevels()) {
    if (!isHostWindow(window.get())) continue;
    if (gtk_window_is_active(window.get())) return window;
    lastIsAlive = lastIsAlive || window.get() == last.get();
    if (!visible && gtk_widget_get_visible(GTK_WIDGET(window.get()))) visible = window;
  }
  return lastIsAlive && gtk_widget_get_visible(GTK_WIDGET(last.get())) ? last : visible;
}

void HostWindows::toplevelsChanged() {
  const auto current = toplevels();
  std::erase_if(watched_, [&](const auto& entry) {
    const auto window = entry->window.lock();
    return std::none_of(current.begin(), current.end(),
                        [&](const auto& w) { return w.get() == window.get(); });
  });
  for (const auto& window : current) {
    const bool known = std::any_of(watched_.begin(), watched_.end(), [&](const auto& entry) {
      return entry->window.lock().get() == window.get();
    });
    if (known) continue;
    auto entry = std::make_unique<Watched>();
    entry->window.set(window.get());
    entry->activeChanged = connectSignal<void(GParamSpec*)>(window.get(), "notify::is-active",
                                                            [weak = weak_from_this()](GParamSpec*) {
                                                              if (const auto self = weak.lock())
                                                                self->activeChanged();
                                                            });
    entry->surfaceRelease = GLSurfaceRelease::watch(window.get());
    watched_.push_back(std::move(entry));
  }
  activeChanged();
}

void HostWindows::activeChanged() {
  bool active = false;
  for (const auto& window : toplevels()) {
    if (!gtk_window_is_active(window.get())) continue;
    active = true;
    if (isHostWindow(window.get())) lastActive_.set(window.get());
  }
  const bool wasActive = std::exchange(inUse_, active);
  if (active && std::exchange(left_, false)) {
    center().postNotification({UIApplicationDidBecomeActiveNotification, nullptr, nullptr}, whenLeft_);
  } else if (wasActive && !active) {
    dispatch().mainAfter(kLeaveDelay, [weak = weak_from_this(), absence = ++absences_] {
      if (const auto self = weak.lock()) self->leaveIfStillIn(absence);
    });
  }
}

void HostWindows::leaveIfStillIn(std::uint64_t absence) {
  // The app may have become active and inactive again since; the later absence has its own delay.
  if (inUse_ || left_ || absence != absences_) return;
  left_ = true;
  whenLeft_ = center().now();
  center().postNotification({UIApplicationWillResignActiveNotification, nullptr, nullptr}, whenLeft_);
}

}  // namespace vemora::gtk
