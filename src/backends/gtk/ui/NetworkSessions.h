#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <webkit/webkit.h>

#include <string_view>

/// The network sessions of web views. All are ephemeral: data that an ad or a click-through page stores is
/// kept in memory, is deleted with the session, and is never written to the user's folders. Main thread only.
namespace vemora::gtk {

/// The one of all ad pages, so that they share connections and the memory cache; it lives as long as any of
/// them.
GObjectPtr<WebKitNetworkSession> adNetworkSession();
/// A new session for a browser window, separate from that of the ads.
GObjectPtr<WebKitNetworkSession> newNetworkSession();

/// Applies to all existing and future sessions.
void trustCertificateForHost(GTlsCertificate* certificate, std::string_view host);

}  // namespace vemora::gtk
