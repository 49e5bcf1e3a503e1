#pragma once

#include <gio/gio.h>

#include <string_view>

namespace vemora::gtk {

/// Remembers that this certificate is trusted for this host (without port, letter case aside). From any
/// thread.
void addTrustedCertificate(GTlsCertificate* certificate, std::string_view host);
/// Whether the host app trusts this certificate for this host. From any thread.
bool isTrustedCertificate(GTlsCertificate* certificate, std::string_view host);

}  // namespace vemora::gtk
