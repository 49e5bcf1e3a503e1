#pragma once

#include <gtk/gtk.h>

#include <string_view>

namespace vemora::gtk {

/// Shows a message with one button, over `parent` if there is one, and returns at once. It blocks no other
/// window.
void showAlertWindow(GtkWindow* parent, std::string_view title, std::string_view message,
                     std::string_view button);

}  // namespace vemora::gtk
