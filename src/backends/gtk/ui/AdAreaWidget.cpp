#include "backends/gtk/ui/AdAreaWidget.h"

#include <utility>

namespace vemora::gtk {

namespace {

struct AdAreaLayout {
  GtkLayoutManager parent;
  std::function<void(int, int)>* allocateChildren;
};
struct AdAreaLayoutClass {
  GtkLayoutManagerClass parent;
};
struct AdArea {
  GtkWidget parent;
  gboolean black;
  gboolean parked;
};
struct AdAreaClass {
  GtkWidgetClass parent;
};

G_DEFINE_TYPE(AdAreaLayout, ad_area_layout, GTK_TYPE_LAYOUT_MANAGER)
G_DEFINE_TYPE(AdArea, ad_area, GTK_TYPE_WIDGET)

AdAreaLayout* asLayout(gpointer manager) {
  return static_cast<AdAreaLayout*>(manager);
}

AdArea* asArea(GtkWidget* widget) {
  return reinterpret_cast<AdArea*>(widget);
}

void ad_area_layout_measure(GtkLayoutManager*, GtkWidget*, GtkOrientation, int, int* minimum, int* natural,
                            int* minimumBaseline, int* naturalBaseline) {
  *minimum = *natural = 0;
  *minimumBaseline = *naturalBaseline = -1;
}

void ad_area_layout_allocate(GtkLayoutManager* manager, GtkWidget*, int width, int height, int) {
  if (const auto* allocateChildren = asLayout(manager)->allocateChildren) (*allocateChildren)(width, height);
}

void ad_area_layout_finalize(GObject* object) {
  delete asLayout(object)->allocateChildren;
  G_OBJECT_CLASS(ad_area_layout_parent_class)->finalize(object);
}

void ad_area_layout_class_init(AdAreaLayoutClass* type) {
  G_OBJECT_CLASS(type)->finalize = ad_area_layout_finalize;
  GTK_LAYOUT_MANAGER_CLASS(type)->measure = ad_area_layout_measure;
  GTK_LAYOUT_MANAGER_CLASS(type)->allocate = ad_area_layout_allocate;
}

void ad_area_layout_init(AdAreaLayout*) {}

gboolean containsNothing(GtkWidget*, double, double) {
  return FALSE;
}

void ad_area_dispose(GObject* object) {
  GtkWidget* widget = GTK_WIDGET(object);
  while (GtkWidget* child = gtk_widget_get_first_child(widget)) gtk_widget_unparent(child);
  G_OBJECT_CLASS(ad_area_parent_class)->dispose(object);
}

void ad_area_snapshot(GtkWidget* widget, GtkSnapshot* snapshot) {
  AdArea* area = asArea(widget);
  if (area->parked) return;
  if (area->black) {
    const GdkRGBA black{0, 0, 0, 1};
    const auto width = static_cast<float>(gtk_widget_get_width(widget));
    const auto height = static_cast<float>(gtk_widget_get_height(widget));
    graphene_rect_t bounds;
    graphene_rect_init(&bounds, 0, 0, width, height);
    gtk_snapshot_append_color(snapshot, &black, &bounds);
  }
  GTK_WIDGET_CLASS(ad_area_parent_class)->snapshot(widget, snapshot);
}

void ad_area_class_init(AdAreaClass* type) {
  G_OBJECT_CLASS(type)->dispose = ad_area_dispose;
  GtkWidgetClass* widgetClass = GTK_WIDGET_CLASS(type);
  widgetClass->snapshot = ad_area_snapshot;
  widgetClass->contains = containsNothing;
  gtk_widget_class_set_layout_manager_type(widgetClass, ad_area_layout_get_type());
  gtk_widget_class_set_css_name(widgetClass, "vemora-ad");
  gtk_widget_class_set_accessible_role(widgetClass, GTK_ACCESSIBLE_ROLE_GROUP);
}

void ad_area_init(AdArea* area) {
  gtk_widget_set_overflow(GTK_WIDGET(area), GTK_OVERFLOW_HIDDEN);
}

}  // namespace

GType adAreaWidgetGetType() {
  return ad_area_get_type();
}

GtkWidget* adAreaWidgetNew() {
  return GTK_WIDGET(g_object_new(ad_area_get_type(), nullptr));
}

bool isAdAreaWidget(GtkWidget* widget) {
  return G_TYPE_CHECK_INSTANCE_TYPE(widget, ad_area_get_type());
}

void adAreaSetLayout(GtkWidget* area, std::function<void(int, int)> layout) {
  auto* manager = asLayout(gtk_widget_get_layout_manager(area));
  delete std::exchange(manager->allocateChildren, new std::function<void(int, int)>(std::move(layout)));
}

void adAreaSetBlack(GtkWidget* area) {
  asArea(area)->black = TRUE;
  gtk_widget_queue_draw(area);
}

void adAreaSetParked(GtkWidget* area) {
  asArea(area)->parked = TRUE;
  gtk_widget_set_can_target(area, FALSE);
  gtk_widget_set_can_focus(area, FALSE);
}

bool adAreaIsParked(GtkWidget* area) {
  return asArea(area)->parked;
}

}  // namespace vemora::gtk
