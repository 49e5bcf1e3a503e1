#pragma once

#include <Vemora/Gtk/VemoraGtk.h>
#include <Vemora/Vemora.h>

#include <cstdio>
#include <string>

/// What every example takes: HOST[:PORT], which serves the controller page, and the certificate of a test
/// server. False, with a message, when they cannot be used.
inline bool useController(int argc, char** argv) {
  if (argc < 2 || argc > 3) {
    std::fprintf(stderr, "usage: %s HOST[:PORT] [CERTIFICATE.pem]\n", argv[0]);
    return false;
  }
  const std::string host = argv[1];
  if (argc == 3) {
    g_autoptr(GError) error = nullptr;
    g_autoptr(GTlsCertificate) certificate = g_tls_certificate_new_from_file(argv[2], &error);
    if (!certificate) {
      std::fprintf(stderr, "%s: %s: %s\n", argv[0], argv[2], error->message);
      return false;
    }
    vemora::gtk::allowTLSCertificateForHost(certificate, host.substr(0, host.find(':')));
  }
  vemora::Vemora::setAPIKey("publisher-key");
  vemora::gtk::setInfoDictionaryEntry("VemoraControllerHost", host);
  return true;
}
