#include "backends/glib/GLibSystem.h"

#include "backends/glib/GLibHandles.h"

#include <glib.h>
#include <sys/random.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <memory>

namespace vemora::glib {

std::uint32_t randomUInt32() {
  std::uint32_t value = 0;
  while (getrandom(&value, sizeof value, 0) != static_cast<ssize_t>(sizeof value)) {
    if (errno != EINTR) std::abort();
  }
  return value;
}

std::string newUUIDString() {
  const GStringPtr text(g_uuid_string_random());
  std::string upper(text.get());
  std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
  return upper;
}

System::SHA1Digest sha1(std::string_view bytes) {
  System::SHA1Digest digest{};
  gsize length = digest.size();
  const std::unique_ptr<GChecksum, GFree<g_checksum_free>> checksum(g_checksum_new(G_CHECKSUM_SHA1));
  g_checksum_update(checksum.get(), reinterpret_cast<const guchar*>(bytes.data()),
                    static_cast<gssize>(bytes.size()));
  g_checksum_get_digest(checksum.get(), digest.data(), &length);
  return digest;
}

std::optional<URL> urlWithString(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return std::nullopt;
  const std::string terminated(text);
  const GUriPtr uri(g_uri_parse(terminated.c_str(), G_URI_FLAGS_ENCODED, nullptr));
  if (!uri) return std::nullopt;
  const char* host = g_uri_get_host(uri.get());
  return URL{terminated, g_uri_get_scheme(uri.get()), host ? host : ""};
}

}  // namespace vemora::glib
