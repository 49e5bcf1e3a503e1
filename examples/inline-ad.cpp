// The smallest host app that is still real: a window with one place for ads.
//   inline-ad HOST[:PORT] [CERTIFICATE.pem]
#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/Vemora.h>
#include <Vemora/VemoraInlineAdPlayer.h>

#include <cstdio>
#include <string>

using namespace vemora;

struct AdHost : VemoraAdPlayerDelegate {
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    return VemoraAdRequest::init();
  }
  void vemoraDidLoadAds(const Player& player, const AdGroup&, const std::optional<VMRError>& error) override {
    if (error) std::fprintf(stderr, "No ads: %s\n", toString(*error).c_str());
    player->start();  // Does nothing when there are none.
  }
  void vemoraAdError(const Player&, const Ad&, const VMRError& error) override {
    std::fprintf(stderr, "The ads have ended: %s\n", toString(error).c_str());
  }
};

static std::shared_ptr<AdHost> adHost;
static std::shared_ptr<VemoraInlineAdPlayer> player;

static void activate(GtkApplication* application) {
  GtkWidget* const window = gtk_application_window_new(application);
  GtkWidget* const place = gtk::newAdView();
  gtk_window_set_default_size(GTK_WINDOW(window), 640, 360);
  gtk_window_set_child(GTK_WINDOW(window), place);
  gtk_window_present(GTK_WINDOW(window));

  adHost = std::make_shared<AdHost>();
  player = VemoraInlineAdPlayer::initInView(gtk::viewForWidget(place));
  player->setDelegate(adHost);
  player->load();
}

int main(int argc, char** argv) {
  if (argc < 2) return std::fprintf(stderr, "usage: inline-ad HOST[:PORT] [CERTIFICATE.pem]\n"), 2;
  const std::string host = argv[1];
  Vemora::setAPIKey("publisher-key");
  gtk::setInfoDictionaryEntry("VemoraControllerHost", argv[1]);
  if (argc > 2) {  // A server of your own, for tests.
    g_autoptr(GTlsCertificate) certificate = g_tls_certificate_new_from_file(argv[2], nullptr);
    gtk::allowTLSCertificateForHost(certificate, host.substr(0, host.find(':')));
  }
  g_autoptr(GtkApplication) application =
      gtk_application_new("org.example.InlineAd", G_APPLICATION_DEFAULT_FLAGS);
  g_signal_connect(application, "activate", G_CALLBACK(activate), nullptr);
  const int status = g_application_run(G_APPLICATION(application), 0, nullptr);
  player.reset();
  return status;
}
