// An interstitial at a natural break: a reader turns the pages of a magazine. While the second page is read,
// an ad is loaded; it is shown before the third one, if it is there by then. A reader never waits for an ad.
#include "arguments.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/VemoraSDK.h>

using namespace vemora;

namespace {

constexpr int kBreakBefore = 3;

struct Magazine {
  GtkWindow* window = nullptr;
  GtkLabel* text = nullptr;
  int page = 1;
  std::shared_ptr<VemoraAdBreak> adBreak;

  void show() {
    g_autofree char* title = g_strdup_printf("Page %d", page);
    gtk_label_set_text(text, title);
    g_print("%s\n", title);
  }

  void preload() {
    auto request = VemoraAdRequest::init();
    request->setChannel("42");
    adBreak = VemoraAdBreak::initInterstitial(request);
    adBreak->preload();
  }

  void turnPage() {
    ++page;
    if (page == kBreakBefore - 1) preload();
    const bool isBreak = page == kBreakBefore && adBreak && adBreak->isReady();
    if (!isBreak) return show();
    adBreak->run([this](const VemoraAdBreak::Result& result) {
      g_print("The ads have ended: %s\n", toString(result.outcome).c_str());
      adBreak.reset();
      show();
    });
  }
};

Magazine magazine;

void activate(GtkApplication* application) {
  if (magazine.window) return gtk_window_present(magazine.window);  // Activated again.
  magazine.window = GTK_WINDOW(gtk_application_window_new(application));
  gtk_window_set_default_size(magazine.window, 480, 640);
  GtkWidget* const column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 12);
  magazine.text = GTK_LABEL(gtk_label_new(nullptr));
  gtk_widget_set_vexpand(GTK_WIDGET(magazine.text), TRUE);
  GtkWidget* const next = gtk_button_new_with_label("Next page");
  g_signal_connect(next, "clicked", G_CALLBACK(+[](GtkButton*, gpointer) { magazine.turnPage(); }), nullptr);
  gtk_box_append(GTK_BOX(column), GTK_WIDGET(magazine.text));
  gtk_box_append(GTK_BOX(column), next);
  gtk_window_set_child(magazine.window, column);
  gtk_window_set_default_widget(magazine.window, next);
  gtk_widget_grab_focus(next);
  g_signal_connect(magazine.window, "destroy",
                   G_CALLBACK(+[](GtkWidget*, gpointer) { magazine.adBreak.reset(); }), nullptr);
  gtk_window_present(magazine.window);
  magazine.show();
}

}  // namespace

int main(int argc, char** argv) {
  if (!useController(argc, argv)) return 2;
  g_autoptr(GtkApplication) application =
      gtk_application_new("org.example.Magazine", G_APPLICATION_DEFAULT_FLAGS);
  g_signal_connect(application, "activate", G_CALLBACK(activate), nullptr);
  // To turn a page from outside: gapplication action org.example.Magazine next
  g_autoptr(GSimpleAction) next = g_simple_action_new("next", nullptr);
  g_signal_connect(next, "activate",
                   G_CALLBACK(+[](GSimpleAction*, GVariant*, gpointer) { magazine.turnPage(); }), nullptr);
  g_action_map_add_action(G_ACTION_MAP(application), G_ACTION(next));
  return g_application_run(G_APPLICATION(application), 0, nullptr);
}
