#pragma once

#include <gtk/gtk.h>

namespace vemora::gtk {

/// The widget that holds views of ours: in the host's window, over a GtkOverlay, in an interstitial, or,
/// unseen, for the web views that wait in a window.
///
/// It asks for no room whatever its children would like, so that an ad never changes the layout around it,
/// and it clips them. Children live in an inner widget that is always as large as the area itself:
/// GtkConstraintLayout derives a minimum size from constraints, and only a parent that does not pass it on
/// keeps it from the host's layout. Where no child is, the area lets the pointer through.
GType adAreaWidgetGetType();

/// Floating.
GtkWidget* adAreaWidgetNew();
bool isAdAreaWidget(GtkWidget* widget);

/// The inner widget, whose layout manager is a GtkConstraintLayout; null once the area has been disposed of.
GtkWidget* adAreaContent(GtkWidget* area);
void adAreaSetBlack(GtkWidget* area);

/// For an area that is a stowaway in a window: it is never drawn.
void adAreaSetParked(GtkWidget* area);
bool adAreaIsParked(GtkWidget* area);

}  // namespace vemora::gtk
