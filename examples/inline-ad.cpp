// The smallest complete host app: a window that shows ads, and then its content, whatever happens to the ads.
#include "arguments.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/VemoraSDK.h>

using namespace vemora;

static std::shared_ptr<VemoraAdBreak> adBreak;
static GtkWindow* window;

static void showContent(const VemoraAdBreak::Result& result) {
  g_print("The ads have ended: %s\n", toString(result.outcome).c_str());
  if (result.error) g_printerr("%s\n", toString(*result.error).c_str());
  adBreak.reset();
  gtk_window_set_child(window, gtk_label_new("Here is the content."));
}

static void activate(GtkApplication* application) {
  if (window) return gtk_window_present(window);  // Activated again.
  window = GTK_WINDOW(gtk_application_window_new(application));
  GtkWidget* const adView = gtk::newAdView();
  gtk_window_set_default_size(window, 640, 360);
  gtk_window_set_child(window, adView);
  g_signal_connect(window, "destroy", G_CALLBACK(+[](GtkWidget*, gpointer) { adBreak.reset(); }), nullptr);
  gtk_window_present(window);

  auto request = VemoraAdRequest::init();
  request->setChannel("42");
  adBreak = VemoraAdBreak::initInline(request, gtk::viewForWidget(adView));
  adBreak->run(showContent);
}

int main(int argc, char** argv) {
  if (!useController(argc, argv)) return 2;
  g_autoptr(GtkApplication) application =
      gtk_application_new("org.example.InlineAd", G_APPLICATION_DEFAULT_FLAGS);
  g_signal_connect(application, "activate", G_CALLBACK(activate), nullptr);
  return g_application_run(G_APPLICATION(application), 0, nullptr);
}
