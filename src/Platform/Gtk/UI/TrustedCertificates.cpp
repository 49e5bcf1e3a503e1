#include "Platform/Gtk/UI/TrustedCertificates.h"

#include "Foundation/Mutex.h"
#include "Platform/Gtk/GObjectPtr.h"

#include <string>
#include <utility>
#include <vector>

namespace vemora::gtk {

namespace {

struct TrustedCertificates {
  /// Guards the list.
  Mutex mutex;
  std::vector<std::pair<GObjectPtr<GTlsCertificate>, std::string>> entries VMR_GUARDED_BY(mutex);

  static TrustedCertificates& shared() {
    static TrustedCertificates& list = *new TrustedCertificates;
    return list;
  }
};

}  // namespace

void addTrustedCertificate(GTlsCertificate* certificate, std::string_view host) {
  if (!certificate || isTrustedCertificate(certificate, host)) return;
  TrustedCertificates& trusted = TrustedCertificates::shared();
  MutexLock lock(trusted.mutex);
  trusted.entries.emplace_back(GObjectPtr<GTlsCertificate>::retain(certificate), host);
}

bool isTrustedCertificate(GTlsCertificate* certificate, std::string_view host) {
  const std::string wanted(host);
  TrustedCertificates& trusted = TrustedCertificates::shared();
  MutexLock lock(trusted.mutex);
  for (const auto& [entry, entryHost] : trusted.entries) {
    if (g_ascii_strcasecmp(entryHost.c_str(), wanted.c_str()) == 0 &&
        g_tls_certificate_is_same(entry.get(), certificate)) {
      return true;
    }
  }
  return false;
}

}  // namespace vemora::gtk
