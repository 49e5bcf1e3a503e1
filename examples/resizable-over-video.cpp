// A resizable ad over a video of the app's own: it begins as large as the video, shrinks to two thirds once
// the viewer has seen three seconds of it, and gives way to the video at its end.
#include "arguments.h"

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/VemoraSDK.h>

using namespace vemora;

namespace {

constexpr double kShrinkAtSeconds = 3;
constexpr float kSmallSize = 0.66F;

GtkWindow* window;
GtkPicture* video;
std::shared_ptr<VemoraAdPlayerCallbacks> callbacks;
std::shared_ptr<VemoraResizableAdPlayer> player;

/// In place of the app's own video.
void playVideo(bool plays) {
  gtk_widget_set_opacity(GTK_WIDGET(video), plays ? 1 : 0.4);
  g_print(plays ? "The video plays.\n" : "The video is paused.\n");
}

void endAds(const char* how) {
  g_print("The ads have ended: %s\n", how);
  player.reset();
  playVideo(true);
}

void loadAds(GtkWidget* overlay) {
  callbacks = std::make_shared<VemoraAdPlayerCallbacks>();  // Kept: the player holds it weakly.
  callbacks->onRequest = [](const auto&) {
    auto request = VemoraAdRequest::init();
    request->setChannel("42");
    return request;
  };
  callbacks->onDidLoadAds = [](const auto& loaded, const auto& group, const auto& error) {
    if (group && !group->ads().empty()) return loaded->start();
    if (error) g_printerr("%s\n", toString(*error).c_str());
    endAds("NoAds");
  };
  callbacks->onAdGroupStart = [](const auto&, const auto&) { playVideo(false); };
  callbacks->onAdAspectRatio = [](const auto&, const auto&, double ratio) {
    g_print("The ad's video is %.2f times as wide as high.\n", ratio);
  };
  callbacks->onAdTimeUpdate = [](const auto& running, const auto&, double time) {
    running->setSize(time < kShrinkAtSeconds ? 1 : kSmallSize);
  };
  callbacks->onAdGroupComplete = [](const auto&, const auto&) { endAds("Completed"); };
  callbacks->onAdError = [](const auto&, const auto&, const auto& error) {
    g_printerr("%s\n", toString(error).c_str());
    endAds("Failed");
  };
  // Covers the overlay, and with it the video.
  player = VemoraResizableAdPlayer::initInView(gtk::viewForWidget(overlay), callbacks);
  player->setStartTimeout(15);
  player->load();
}

void activate(GtkApplication* application) {
  if (window) return gtk_window_present(window);  // Activated again.
  window = GTK_WINDOW(gtk_application_window_new(application));
  gtk_window_set_default_size(window, 640, 360);
  video = GTK_PICTURE(gtk_picture_new());
  GtkWidget* const overlay = gtk_overlay_new();
  gtk_overlay_set_child(GTK_OVERLAY(overlay), GTK_WIDGET(video));
  gtk_window_set_child(window, overlay);
  g_signal_connect(window, "destroy", G_CALLBACK(+[](GtkWidget*, gpointer) { player.reset(); }), nullptr);
  gtk_window_present(window);
  loadAds(overlay);
}

}  // namespace

int main(int argc, char** argv) {
  if (!useController(argc, argv)) return 2;
  g_autoptr(GtkApplication) application =
      gtk_application_new("org.example.OverVideo", G_APPLICATION_DEFAULT_FLAGS);
  g_signal_connect(application, "activate", G_CALLBACK(activate), nullptr);
  return g_application_run(G_APPLICATION(application), 0, nullptr);
}
