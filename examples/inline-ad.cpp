// The smallest complete host app: a window that shows ads, and then its content.
//   inline-ad HOST[:PORT] [CERTIFICATE.pem]
// HOST serves the controller page. CERTIFICATE.pem is the certificate of a test server.
#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/VemoraSDK.h>

#include <cstdio>
#include <string>

using namespace vemora;

static std::shared_ptr<VemoraInlineAdPlayer> player;
static GtkWindow* window;

static void showContent() {
  player.reset();  // Closes the controller page. No callback follows.
  gtk_window_set_child(window, gtk_label_new("Here is the content."));
}

struct AdHost : VemoraAdPlayerDelegate {
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override {
    auto request = VemoraAdRequest::init();
    request->setChannel("42");
    return request;
  }
  void vemoraDidLoadAds(const Player& loaded, const AdGroup& ads,
                        const std::optional<VMRError>& error) override {
    if (error) std::fprintf(stderr, "Loading ads: %s\n", toString(*error).c_str());
    if (ads && !ads->ads().empty()) return loaded->start();
    showContent();
  }
  void vemoraAdGroupComplete(const Player&, const AdGroup&) override { showContent(); }
  void vemoraAdError(const Player&, const Ad&, const VMRError& error) override {
    std::fprintf(stderr, "Playing ads: %s\n", toString(error).c_str());
    showContent();
  }
};

static void activate(GtkApplication* application) {
  if (window) return gtk_window_present(window);  // Activated again.
  window = GTK_WINDOW(gtk_application_window_new(application));
  GtkWidget* const adView = gtk::newAdView();
  gtk_window_set_default_size(window, 640, 360);
  gtk_window_set_child(window, adView);
  g_signal_connect(window, "destroy", G_CALLBACK(+[](GtkWidget*, gpointer) { player.reset(); }), nullptr);
  gtk_window_present(window);

  static const auto host = std::make_shared<AdHost>();  // The player holds it weakly.
  player = VemoraInlineAdPlayer::initInView(gtk::viewForWidget(adView), host);
  player->load();
}

/// False, with a message, when the file holds no certificate.
static bool trust(const char* certificateFile, const std::string& host) {
  g_autoptr(GError) error = nullptr;
  g_autoptr(GTlsCertificate) certificate = g_tls_certificate_new_from_file(certificateFile, &error);
  if (certificate) gtk::allowTLSCertificateForHost(certificate, host.substr(0, host.find(':')));
  if (error) std::fprintf(stderr, "inline-ad: %s: %s\n", certificateFile, error->message);
  return certificate;
}

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: inline-ad HOST[:PORT] [CERTIFICATE.pem]\n");
    return 2;
  }
  if (argc == 3 && !trust(argv[2], argv[1])) return 2;
  Vemora::setAPIKey("publisher-key");
  gtk::setInfoDictionaryEntry("VemoraControllerHost", argv[1]);
  g_autoptr(GtkApplication) application =
      gtk_application_new("org.example.InlineAd", G_APPLICATION_DEFAULT_FLAGS);
  g_signal_connect(application, "activate", G_CALLBACK(activate), nullptr);
  return g_application_run(G_APPLICATION(application), 0, nullptr);
}
