#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <webkit/webkit.h>

#include <string_view>

/// The network sessions of web views. All are ephemeral: what an ad or a click-through page wants to remember
/// is kept in memory and goes with the session, and nothing of it is written under the user's folders. Main
/// thread.
namespace vemora::gtk {

/// The one of all ad pages, so that they share connections and the memory cache; it lives as long as any of
/// them.
GObjectPtr<WebKitNetworkSession> adNetworkSession();
/// A new one for a browser window, apart from the ads'.
GObjectPtr<WebKitNetworkSession> newNetworkSession();

/// For all sessions, those to come as well.
void trustCertificateForHost(GTlsCertificate* certificate, std::string_view host);

}  // namespace vemora::gtk
