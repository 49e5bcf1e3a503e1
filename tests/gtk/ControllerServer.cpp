#include "gtk/ControllerServer.h"

#include <Vemora/Gtk/VemoraGtk.h>

#include <string_view>

namespace vemora::test {

ControllerServer::ControllerServer(const std::string& page) : LoopbackServer(Security::SelfSigned) {
  serve(kPagePath, page);
  gtk::setInfoDictionaryEntry("VemoraControllerHost", url("").substr(std::string_view("https://").size()));
  gtk::allowTLSCertificateForHost(certificate(), "127.0.0.1");
}

ControllerServer::~ControllerServer() {
  gtk::setInfoDictionaryEntry("VemoraControllerHost", std::nullopt);
}

}  // namespace vemora::test
