#pragma once

#include <gtk/gtk.h>

#include <functional>

namespace vemora::gtk {

/// The widget that holds the SDK's views: in the host's window, over a GtkOverlay, in an interstitial, or,
/// never drawn, as the parking place of a window.
///
/// It requests no size, whatever its children request, so that an ad never changes the host's layout, and it
/// clips its children. Where it has no child, it lets pointer events through.
GType adAreaWidgetGetType();

/// Floating.
GtkWidget* adAreaWidgetNew();
bool isAdAreaWidget(GtkWidget* widget);

/// Sets what allocates the children each time the area is laid out; it is given the area's size.
void adAreaSetLayout(GtkWidget* area, std::function<void(int width, int height)> layout);
void adAreaSetBlack(GtkWidget* area);

/// For the parking place of a window: it is never drawn.
void adAreaSetParked(GtkWidget* area);
bool adAreaIsParked(GtkWidget* area);

}  // namespace vemora::gtk
