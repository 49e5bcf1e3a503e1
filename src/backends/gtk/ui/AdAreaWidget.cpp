#include "backends/gtk/ui/AdAreaWidget.h"

namespace vemora::gtk {

namespace {

struct AdAreaContent {
  GtkWidget parent;
};
struct AdAreaContentClass {
  GtkWidgetClass parent;
};
struct AdArea {
  GtkWidget parent;
  GtkWidget* content;
  gboolean black;
  gboolean parked;
};
struct AdAreaClass {
  GtkWidgetClass parent;
};

G_DEFINE_TYPE(AdAreaContent, ad_area_content, GTK_TYPE_WIDGET)
G_DEFINE_TYPE(AdArea, ad_area, GTK_TYPE_WIDGET)

AdArea* asArea(GtkWidget* widget) {
  return reinterpret_cast<AdArea*>(widget);
}

gboolean containsNothing(GtkWidget*, double, double) {
  return FALSE;
}

void ad_area_content_dispose(GObject* object) {
  GtkWidget* widget = GTK_WIDGET(object);
  while (GtkWidget* child = gtk_widget_get_first_child(widget)) gtk_widget_unparent(child);
  G_OBJECT_CLASS(ad_area_content_parent_class)->dispose(object);
}

void ad_area_content_class_init(AdAreaContentClass* type) {
  G_OBJECT_CLASS(type)->dispose = ad_area_content_dispose;
  GTK_WIDGET_CLASS(type)->contains = containsNothing;
  gtk_widget_class_set_layout_manager_type(GTK_WIDGET_CLASS(type), GTK_TYPE_CONSTRAINT_LAYOUT);
  gtk_widget_class_set_accessible_role(GTK_WIDGET_CLASS(type), GTK_ACCESSIBLE_ROLE_GROUP);
}

void ad_area_content_init(AdAreaContent*) {}

void ad_area_dispose(GObject* object) {
  AdArea* area = asArea(GTK_WIDGET(object));
  g_clear_pointer(&area->content, gtk_widget_unparent);
  G_OBJECT_CLASS(ad_area_parent_class)->dispose(object);
}

void ad_area_measure(GtkWidget*, GtkOrientation, int, int* minimum, int* natural, int* minimumBaseline,
                     int* naturalBaseline) {
  *minimum = *natural = 0;
  *minimumBaseline = *naturalBaseline = -1;
}

void ad_area_size_allocate(GtkWidget* widget, int width, int height, int) {
  GtkWidget* content = asArea(widget)->content;
  if (!content) return;
  // The toolkit wants to be asked before it is told; the answer is not for us to follow.
  gtk_widget_measure(content, GTK_ORIENTATION_HORIZONTAL, -1, nullptr, nullptr, nullptr, nullptr);
  gtk_widget_measure(content, GTK_ORIENTATION_VERTICAL, -1, nullptr, nullptr, nullptr, nullptr);
  gtk_widget_allocate(content, width, height, -1, nullptr);
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
  widgetClass->measure = ad_area_measure;
  widgetClass->size_allocate = ad_area_size_allocate;
  widgetClass->snapshot = ad_area_snapshot;
  widgetClass->contains = containsNothing;
  gtk_widget_class_set_css_name(widgetClass, "vemora-ad");
  gtk_widget_class_set_accessible_role(widgetClass, GTK_ACCESSIBLE_ROLE_GROUP);
}

void ad_area_init(AdArea* area) {
  GtkWidget* widget = GTK_WIDGET(area);
  area->content = GTK_WIDGET(g_object_new(ad_area_content_get_type(), nullptr));
  gtk_widget_set_parent(area->content, widget);
  gtk_widget_set_overflow(widget, GTK_OVERFLOW_HIDDEN);
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

GtkWidget* adAreaContent(GtkWidget* area) {
  return asArea(area)->content;
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
