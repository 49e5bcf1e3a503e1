#include "backends/glib/GLibSystem.h"
#include "backends/gtk/GtkPorts.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/network/SoupURLSession.h"

#include <glib.h>

#include <memory>
#include <string>

namespace vemora::gtk {

namespace {

class DesktopSystem final : public System {
 public:
  void log(LogLevel level, std::string_view line) override {
    // Log writers take UTF-8 up to the first zero byte. Zero bytes and invalid ones become U+FFFD.
    const GStringPtr text(
        g_utf8_make_valid(line.data() ? line.data() : "", static_cast<gssize>(line.size())));
    // Errors differ by their priority (4 is "warning" for the journal) and not by their GLib level, since a
    // failed beacon must not end a host that makes GLib's warnings fatal.
    const GLogField fields[] = {
        {"PRIORITY", level == LogLevel::Error ? "4" : "5", -1},
        {"GLIB_DOMAIN", "Vemora", -1},
        {"MESSAGE", text.get(), -1},
    };
    g_log_structured_array(G_LOG_LEVEL_MESSAGE, fields, G_N_ELEMENTS(fields));
  }

  std::uint32_t randomUInt32() override { return glib::randomUInt32(); }
  std::string newUUIDString() override { return glib::newUUIDString(); }
  SHA1Digest sha1(std::string_view bytes) override { return glib::sha1(bytes); }
  std::optional<URL> urlWithString(std::string_view text) override { return glib::urlWithString(text); }
  std::unique_ptr<URLSession> createEphemeralURLSession() override { return makeSoupURLSession(); }
};

}  // namespace

std::unique_ptr<System> makeSystem() {
  return std::make_unique<DesktopSystem>();
}

}  // namespace vemora::gtk
