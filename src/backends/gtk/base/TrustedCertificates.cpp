#include "backends/gtk/base/TrustedCertificates.h"

#include "base/Mutex.h"

#include <algorithm>
#include <memory>

namespace vemora::gtk {

namespace {

struct CertificateList {
  Mutex mutex;  ///< Guards the list.
  std::vector<TrustedCertificate> entries VMR_GUARDED_BY(mutex);
};

CertificateList& list() {
  static CertificateList& shared = *new CertificateList;
  return shared;
}

std::string lowerCased(std::string_view host) {
  const GStringPtr lower(g_ascii_strdown(host.data(), static_cast<gssize>(host.size())));
  return lower.get();
}

}  // namespace

void addTrustedCertificate(GTlsCertificate* certificate, std::string_view host) {
  if (!certificate || isTrustedCertificate(certificate, host)) return;
  const MutexLock lock(list().mutex);
  list().entries.push_back({GObjectPtr<GTlsCertificate>::retain(certificate), lowerCased(host)});
}

bool isTrustedCertificate(GTlsCertificate* certificate, std::string_view host) {
  const std::string wanted = lowerCased(host);
  const auto entries = trustedCertificates();
  return std::any_of(entries.begin(), entries.end(), [&](const TrustedCertificate& entry) {
    return entry.host == wanted && g_tls_certificate_is_same(entry.certificate.get(), certificate);
  });
}

std::vector<TrustedCertificate> trustedCertificates() {
  const MutexLock lock(list().mutex);
  return list().entries;
}

}  // namespace vemora::gtk
