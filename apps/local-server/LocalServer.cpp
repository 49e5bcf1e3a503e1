#include "LocalServer.h"

#include "../common/GLibHandles.h"
#include "../common/InputFiles.h"
#include "FileLookup.h"
#include "FileResponse.h"
#include "SelfSignedCertificate.h"

#include <utility>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kBeaconPrefix = "/beacon/";
constexpr std::string_view kMediaPrefix = "/media/";

std::string textOrEmpty(const char* text) {
  return text ? text : "";
}

GObjectPtr<GSocketAddress> loopbackAddress(GSocketFamily family, std::uint16_t port) {
  const auto address = GObjectPtr<GInetAddress>::adopt(g_inet_address_new_loopback(family));
  return GObjectPtr<GSocketAddress>::adopt(g_inet_socket_address_new(address.get(), port));
}

std::uint16_t listeningPort(SoupServer* server) {
  GSList* const uris = soup_server_get_uris(server);
  const int port = uris ? g_uri_get_port(static_cast<GUri*>(uris->data)) : 0;
  g_slist_free_full(uris, [](gpointer uri) { g_uri_unref(static_cast<GUri*>(uri)); });
  return static_cast<std::uint16_t>(port);
}

/// The same for every answer: nothing may be kept, and pages of any origin may read.
void addCommonHeaders(SoupServerMessage* message) {
  SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
  soup_message_headers_replace(headers, "Cache-Control", "no-store");
  soup_message_headers_replace(headers, "Access-Control-Allow-Origin", "*");
  soup_message_headers_replace(headers, "Access-Control-Expose-Headers", "Content-Length, Content-Range");
  soup_message_headers_replace(headers, "X-Content-Type-Options", "nosniff");
}

void answerOptions(SoupServerMessage* message, const char* allowed) {
  SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
  soup_message_headers_replace(headers, "Allow", allowed);
  soup_message_headers_replace(headers, "Access-Control-Allow-Methods", allowed);
  const char* const asked = soup_message_headers_get_list(soup_server_message_get_request_headers(message),
                                                          "Access-Control-Request-Headers");
  if (asked) soup_message_headers_replace(headers, "Access-Control-Allow-Headers", asked);
  soup_server_message_set_status(message, SOUP_STATUS_NO_CONTENT, nullptr);
}

bool holdsOriginMarks(const fs::path& file) {
  const std::string_view type = mediaTypeOf(file);
  return type == "application/json" || type == "application/xml";
}

/// The path and the query as they were sent.
std::string targetOf(SoupServerMessage* message) {
  GUri* const uri = soup_server_message_get_uri(message);
  if (!uri) return "";
  std::string target = textOrEmpty(g_uri_get_path(uri));
  if (const char* const query = g_uri_get_query(uri)) target.append("?").append(query);
  return target;
}

}  // namespace

LocalServer::LocalServer(LocalServerOptions options) : options_(std::move(options)) {
  if (options_.document) document_.emplace(*options_.document);
}

LocalServer::~LocalServer() {
  stop();
}

bool LocalServer::start(std::string& problem) {
  const std::optional<SelfSignedCertificate> made = makeLoopbackCertificate(problem);
  if (!made) return false;
  const std::string pem = made->certificatePem + made->privateKeyPem;
  GErrorHolder error;
  const auto certificate = GObjectPtr<GTlsCertificate>::adopt(
      g_tls_certificate_new_from_pem(pem.data(), static_cast<gssize>(pem.size()), error.out()));
  if (!certificate) {
    problem = "cannot use TLS: " + error.message();
    return false;
  }
  if (!listen(certificate.get(), problem)) return false;
  certificatePem_ = made->certificatePem;
  return true;
}

bool LocalServer::listen(GTlsCertificate* certificate, std::string& problem) {
  // Paths are taken as they were sent and decoded in one place, here.
  auto server = GObjectPtr<SoupServer>::adopt(soup_server_new(
      "tls-certificate", certificate, "raw-paths", TRUE, "server-header", "vemora-serve", nullptr));
  GErrorHolder error;
  const auto ipv4 = loopbackAddress(G_SOCKET_FAMILY_IPV4, options_.port);
  if (!soup_server_listen(server.get(), ipv4.get(), SOUP_SERVER_LISTEN_HTTPS, error.out())) {
    problem = "cannot listen on 127.0.0.1 port " + std::to_string(options_.port) + ": " + error.message();
    return false;
  }
  const std::uint16_t port = listeningPort(server.get());
  // Machines without IPv6 are common, and the origin names the other address: a failure here costs nothing.
  const auto ipv6 = loopbackAddress(G_SOCKET_FAMILY_IPV6, port);
  soup_server_listen(server.get(), ipv6.get(), SOUP_SERVER_LISTEN_HTTPS, nullptr);

  // Request bodies are not read, so that their size must not matter.
  soup_server_add_early_handler(
      server.get(), nullptr,
      [](SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer) {
        soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
      },
      nullptr, nullptr);
  soup_server_add_handler(
      server.get(), nullptr,
      [](SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer self) {
        static_cast<LocalServer*>(self)->answer(message);
      },
      this, nullptr);
  server_ = std::move(server);
  origin_ = "https://127.0.0.1:" + std::to_string(port);
  return true;
}

std::optional<std::string> LocalServer::documentAddress() const {
  if (!document_ || origin_.empty()) return std::nullopt;
  return origin_ + document_->path();
}

void LocalServer::stop() {
  if (!server_) return;
  // Another reference may keep the SoupServer alive for a moment: it must not call back any more.
  soup_server_remove_handler(server_.get(), nullptr);
  soup_server_disconnect(server_.get());
  server_ = nullptr;
}

void LocalServer::answer(SoupServerMessage* message) {
  addCommonHeaders(message);
  const std::string_view method = soup_server_message_get_method(message);
  const std::string rawPath = textOrEmpty(g_uri_get_path(soup_server_message_get_uri(message)));
  const bool isBeacon = rawPath.starts_with(kBeaconPrefix);
  const char* const allowed = isBeacon ? "GET, HEAD, OPTIONS, POST" : "GET, HEAD, OPTIONS";

  if (method == SOUP_METHOD_OPTIONS) {
    answerOptions(message, allowed);
  } else if (method != SOUP_METHOD_GET && method != SOUP_METHOD_HEAD &&
             !(isBeacon && method == SOUP_METHOD_POST)) {
    respondWithStatus(message, SOUP_STATUS_METHOD_NOT_ALLOWED);
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Allow", allowed);
  } else if (isBeacon) {
    answerBeacon(message);
  } else if (const GStringPtr path(g_uri_unescape_string(rawPath.c_str(), nullptr)); path) {
    answerPath(message, path.get());
  } else {
    respondWithStatus(message, SOUP_STATUS_BAD_REQUEST);
  }
  if (options_.onRequest) {
    options_.onRequest(std::string(method), targetOf(message), soup_server_message_get_status(message));
  }
}

void LocalServer::answerBeacon(SoupServerMessage* message) {
  const std::string method = soup_server_message_get_method(message);
  if (method != SOUP_METHOD_HEAD) {
    GUri* const uri = soup_server_message_get_uri(message);
    beacons_.push_back({method, textOrEmpty(g_uri_get_path(uri)), textOrEmpty(g_uri_get_query(uri)),
                        textOrEmpty(soup_message_headers_get_one(
                            soup_server_message_get_request_headers(message), "User-Agent"))});
  }
  soup_server_message_set_status(message, SOUP_STATUS_NO_CONTENT, nullptr);
}

void LocalServer::answerPath(SoupServerMessage* message, const std::string& path) {
  if (path == kControllerPagePath) {
    respondWithFile(message, options_.page);
  } else if (path == "/ads.json") {
    answerJsonFile(message, options_.ads);
  } else if (path == "/config.json") {
    answerJsonFile(message, options_.config);
  } else if (path == "/beacons") {
    respondWithText(message, SOUP_STATUS_OK, "application/json", beaconsAsJson(beacons_));
  } else if (path.starts_with(kMediaPrefix)) {
    answerBelow(message, options_.mediaFolder, std::string_view(path).substr(kMediaPrefix.size()));
  } else if (document_ && path.starts_with(document_->prefix())) {
    answerFile(message, document_->find(std::string_view(path).substr(document_->prefix().size())),
               document_->replacements(origin_));
  } else {
    answerBelow(message, options_.rootFolder, path);
  }
}

void LocalServer::answerBelow(SoupServerMessage* message, const std::optional<fs::path>& folder,
                              std::string_view relative) {
  answerFile(message, folder ? fileBelow(*folder, relative) : std::nullopt, {{kOriginMark, origin_}});
}

void LocalServer::answerFile(SoupServerMessage* message, const std::optional<fs::path>& file,
                             const Replacements& replacements) {
  if (!file) {
    respondWithStatus(message, SOUP_STATUS_NOT_FOUND);
  } else if (holdsOriginMarks(*file)) {
    respondWithTemplate(message, *file, mediaTypeOf(*file), replacements);
  } else {
    respondWithFile(message, *file);
  }
}

void LocalServer::answerJsonFile(SoupServerMessage* message, const std::optional<fs::path>& file) {
  if (file) {
    respondWithTemplate(message, *file, "application/json", {{kOriginMark, origin_}});
  } else {
    respondWithStatus(message, SOUP_STATUS_NOT_FOUND);
  }
}

}  // namespace vemora
