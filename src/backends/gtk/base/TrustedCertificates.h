#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <gio/gio.h>

#include <string>
#include <string_view>
#include <vector>

/// The certificates that the host app trusts in addition to the system's, each for one host. Thread-safe.
namespace vemora::gtk {

struct TrustedCertificate {
  GObjectPtr<GTlsCertificate> certificate;
  std::string host;
};

/// Remembers that this certificate is trusted for this host (without port, letter case aside).
void addTrustedCertificate(GTlsCertificate* certificate, std::string_view host);
bool isTrustedCertificate(GTlsCertificate* certificate, std::string_view host);
std::vector<TrustedCertificate> trustedCertificates();

}  // namespace vemora::gtk
