#include "backends/gtk/ui/AlertWindow.h"

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/ui/WidgetViewController.h"

#include <algorithm>
#include <memory>
#include <string>

namespace vemora::gtk {

namespace {

/// Text from an untrusted source. Labels need valid UTF-8 without NUL, and very long text takes seconds to
/// lay out.
std::string presentable(std::string_view text) {
  constexpr std::size_t kLongest = 1000;
  const std::string_view shown = text.substr(0, std::min(text.size(), kLongest));
  const std::unique_ptr<char, GFree<g_free>> valid(
      g_utf8_make_valid(shown.data(), static_cast<gssize>(shown.size())));
  return shown.size() < text.size() ? std::string(valid.get()) + "…" : valid.get();
}

GtkWidget* textLabel(std::string_view text) {
  GtkWidget* label = gtk_label_new(presentable(text).c_str());
  gtk_label_set_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
  gtk_label_set_max_width_chars(GTK_LABEL(label), 60);
  gtk_label_set_selectable(GTK_LABEL(label), TRUE);
  gtk_widget_set_can_focus(label, FALSE);
  return label;
}

/// A message from a page may be larger than the screen.
GtkWidget* scrollingText(std::string_view text) {
  GtkWidget* scroller = gtk_scrolled_window_new();
  gtk_scrolled_window_set_policy(GTK_SCROLLED_WINDOW(scroller), GTK_POLICY_NEVER, GTK_POLICY_AUTOMATIC);
  gtk_scrolled_window_set_propagate_natural_height(GTK_SCROLLED_WINDOW(scroller), TRUE);
  gtk_scrolled_window_set_max_content_height(GTK_SCROLLED_WINDOW(scroller), 300);
  gtk_scrolled_window_set_child(GTK_SCROLLED_WINDOW(scroller), textLabel(text));
  return scroller;
}

void closeOnEscape(GtkWidget* window) {
  GtkEventController* controller = gtk_shortcut_controller_new();
  gtk_shortcut_controller_add_shortcut(
      GTK_SHORTCUT_CONTROLLER(controller),
      gtk_shortcut_new(gtk_keyval_trigger_new(GDK_KEY_Escape, {}), gtk_named_action_new("window.close")));
  gtk_widget_add_controller(window, controller);
}

}  // namespace

void showAlertWindow(GtkWindow* parent, std::string_view title, std::string_view message,
                     std::string_view button) {
  GtkWidget* window = gtk_window_new();
  markOwnWindow(GTK_WINDOW(window));
  gtk_window_set_title(GTK_WINDOW(window), presentable(title).c_str());
  gtk_window_set_resizable(GTK_WINDOW(window), FALSE);
  if (parent) {
    gtk_window_set_transient_for(GTK_WINDOW(window), parent);
    gtk_window_set_destroy_with_parent(GTK_WINDOW(window), TRUE);
  }
  closeOnEscape(window);

  GtkWidget* box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 18);
  gtk_widget_set_margin_start(box, 24);
  gtk_widget_set_margin_end(box, 24);
  gtk_widget_set_margin_top(box, 24);
  gtk_widget_set_margin_bottom(box, 24);
  GtkWidget* heading = textLabel(title);
  gtk_widget_add_css_class(heading, "title-4");
  GtkWidget* close = gtk_button_new_with_label(presentable(button).c_str());
  gtk_widget_set_halign(close, GTK_ALIGN_END);
  gtk_actionable_set_action_name(GTK_ACTIONABLE(close), "window.close");
  gtk_box_append(GTK_BOX(box), heading);
  gtk_box_append(GTK_BOX(box), scrollingText(message));
  gtk_box_append(GTK_BOX(box), close);
  gtk_window_set_child(GTK_WINDOW(window), box);
  gtk_window_set_default_widget(GTK_WINDOW(window), close);
  gtk_widget_grab_focus(close);
  gtk_window_present(GTK_WINDOW(window));
}

}  // namespace vemora::gtk
