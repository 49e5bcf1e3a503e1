#include "BackgroundServer.h"

#include "backends/gtk/base/ContextThread.h"

#include <cstdlib>
#include <future>

namespace vemora::test {

BackgroundServer::BackgroundServer(GTlsCertificate* certificate) {
  std::promise<void> listens;
  thread_ = std::thread([&] {
    g_main_context_push_thread_default(context_);
    run(certificate);
    listens.set_value();
    g_main_loop_run(loop_);
    {
      MutexLock lock(mutex_);
      paused_.clear();
    }
    soup_server_disconnect(server_);
    g_object_unref(server_);
    g_main_context_pop_thread_default(context_);
  });
  listens.get_future().wait();
}

BackgroundServer::~BackgroundServer() {
  gtk::runOnContext(context_, [this] { g_main_loop_quit(loop_); });
  thread_.join();
  g_main_loop_unref(loop_);
  g_main_context_unref(context_);
}

void BackgroundServer::run(GTlsCertificate* certificate) {
  server_ = soup_server_new("tls-certificate", certificate, nullptr);
  soup_server_add_handler(
      server_, nullptr,
      [](SoupServer*, SoupServerMessage* message, const char* path, GHashTable*, gpointer self) {
        static_cast<BackgroundServer*>(self)->handle(message, path);
      },
      this, nullptr);
  const auto options = certificate ? SOUP_SERVER_LISTEN_HTTPS : SoupServerListenOptions{};
  if (!soup_server_listen_local(server_, 0, options, nullptr)) std::abort();
  GSList* uris = soup_server_get_uris(server_);
  const int port = g_uri_get_port(static_cast<GUri*>(uris->data));
  origin_ = (certificate ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port);
  g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
}

void BackgroundServer::handle(SoupServerMessage* message, const char* path) {
  Request request{path, {}};
  soup_message_headers_foreach(
      soup_server_message_get_request_headers(message),
      [](const char* name, const char* value, gpointer headers) {
        static_cast<decltype(Request::headers)*>(headers)->emplace(name, value);
      },
      &request.headers);
  {
    MutexLock lock(mutex_);
    requests_.push_back(std::move(request));
  }
  soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
  if (const auto handler = handlers_.find(path); handler != handlers_.end()) handler->second(message);
}

std::vector<BackgroundServer::Request> BackgroundServer::requests() const {
  MutexLock lock(mutex_);
  return requests_;
}

void BackgroundServer::pause(SoupServerMessage* message) {
  soup_server_message_pause(message);
  MutexLock lock(mutex_);
  paused_.push_back(gtk::GObjectPtr<SoupServerMessage>::retain(message));
}

std::size_t BackgroundServer::pausedCount() const {
  MutexLock lock(mutex_);
  return paused_.size();
}

void BackgroundServer::answerPaused() {
  gtk::runOnContext(context_, [this] {
    std::vector<gtk::GObjectPtr<SoupServerMessage>> paused;
    {
      MutexLock lock(mutex_);
      paused.swap(paused_);
    }
    for (const auto& message : paused) soup_server_message_unpause(message.get());
  });
}

}  // namespace vemora::test
