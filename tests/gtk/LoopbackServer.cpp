#include "gtk/LoopbackServer.h"

#include "SelfSignedCertificate.h"

#include <gtest/gtest.h>

#include <memory>

namespace vemora::test {

using gtk::GObjectPtr;

LoopbackServer::LoopbackServer(Security security)
    : server_(GObjectPtr<SoupServer>::adopt(soup_server_new("server-header", "test", nullptr))) {
  const bool secure = security == Security::SelfSigned;
  if (secure) {
    std::string problem;
    const auto pair = makeLoopbackCertificate(problem);
    if (!pair) ADD_FAILURE() << problem;
    const std::string pem = pair ? pair->certificatePem + pair->privateKeyPem : "";
    certificate_ =
        GObjectPtr<GTlsCertificate>::adopt(g_tls_certificate_new_from_pem(pem.c_str(), -1, nullptr));
    soup_server_set_tls_certificate(server_.get(), certificate_.get());
  }
  soup_server_add_handler(server_.get(), nullptr, answer, this, nullptr);
  GError* error = nullptr;
  const auto options = static_cast<SoupServerListenOptions>(
      SOUP_SERVER_LISTEN_IPV4_ONLY | (secure ? static_cast<int>(SOUP_SERVER_LISTEN_HTTPS) : 0));
  if (!soup_server_listen_local(server_.get(), 0, options, &error)) {
    ADD_FAILURE() << error->message;
    g_error_free(error);
    return;
  }
  GSList* uris = soup_server_get_uris(server_.get());
  char* text = g_uri_to_string(static_cast<GUri*>(uris->data));
  base_ = text;
  base_.pop_back();
  g_free(text);
  g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
}

LoopbackServer::~LoopbackServer() {
  soup_server_disconnect(server_.get());
}

void LoopbackServer::serve(const std::string& path, const std::string& body, const char* type) {
  serve(path, [body, type](SoupServerMessage* message) {
    // libsoup notices late that a client has left an idle connection, and tests count descriptors.
    soup_message_headers_append(soup_server_message_get_response_headers(message), "Connection", "close");
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, body.data(), body.size());
  });
}

void LoopbackServer::serve(const std::string& path, Handler handler) {
  handlers_[path] = std::move(handler);
}

std::string LoopbackServer::url(const std::string& path) const {
  return base_ + path;
}

int LoopbackServer::requests(const std::string& path) const {
  const auto entry = seen_.find(path);
  return entry == seen_.end() ? 0 : entry->second.count;
}

std::string LoopbackServer::requestHeader(const std::string& path, const std::string& name) const {
  const auto entry = seen_.find(path);
  if (entry == seen_.end()) return {};
  const auto header = entry->second.headers.find(name);
  return header == entry->second.headers.end() ? "" : header->second;
}

void LoopbackServer::answer(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                            gpointer data) {
  auto* self = static_cast<LoopbackServer*>(data);
  Seen& seen = self->seen_[path];
  ++seen.count;
  seen.headers.clear();
  soup_message_headers_foreach(
      soup_server_message_get_request_headers(message),
      [](const char* name, const char* value, gpointer headers) {
        (*static_cast<std::map<std::string, std::string>*>(headers))[name] = value;
      },
      &seen.headers);
  const auto handler = self->handlers_.find(path);
  if (handler == self->handlers_.end()) {
    soup_server_message_set_status(message, SOUP_STATUS_NOT_FOUND, nullptr);
    soup_server_message_set_response(message, "text/html", SOUP_MEMORY_STATIC, "gone", 4);
    return;
  }
  handler->second(message);
}

}  // namespace vemora::test
