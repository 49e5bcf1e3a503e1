#include "backends/gtk/ui/NetworkSessions.h"

#include "backends/gtk/base/TrustedCertificates.h"
#include "ports/Platform.h"

#include <memory>
#include <string>
#include <vector>

namespace vemora::gtk {

namespace {

using WeakSession = GObjectWeakPtr<WebKitNetworkSession>;

std::vector<std::unique_ptr<WeakSession>>& liveSessions() {
  static auto& sessions = *new std::vector<std::unique_ptr<WeakSession>>;
  std::erase_if(sessions, [](const auto& session) { return !session->lock(); });
  return sessions;
}

void allow(WebKitNetworkSession* session, const TrustedCertificate& trusted) {
  webkit_network_session_allow_tls_certificate_for_host(session, trusted.certificate.get(),
                                                        trusted.host.c_str());
}

void cancelDownload(WebKitNetworkSession*, WebKitDownload* download, gpointer) {
  webkit_download_cancel(download);
}

}  // namespace

GObjectPtr<WebKitNetworkSession> newNetworkSession() {
  assertMainThread();
  auto session = GObjectPtr<WebKitNetworkSession>::adopt(webkit_network_session_new_ephemeral());
  // Neither an ad nor a page behind one puts files into the user's folders.
  g_signal_connect(session.get(), "download-started", G_CALLBACK(cancelDownload), nullptr);
  for (const auto& trusted : trustedCertificates()) allow(session.get(), trusted);
  liveSessions().push_back(std::make_unique<WeakSession>(session.get()));
  return session;
}

GObjectPtr<WebKitNetworkSession> adNetworkSession() {
  assertMainThread();
  static auto& shared = *new WeakSession;
  auto session = shared.lock();
  if (!session) {
    session = newNetworkSession();
    shared.set(session.get());
  }
  return session;
}

void trustCertificateForHost(GTlsCertificate* certificate, std::string_view host) {
  assertMainThread();
  addTrustedCertificate(certificate, host);
  for (const auto& session : liveSessions()) {
    for (const auto& trusted : trustedCertificates()) allow(session->lock().get(), trusted);
  }
}

}  // namespace vemora::gtk
