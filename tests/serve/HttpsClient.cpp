#include "HttpsClient.h"

#include <string_view>

namespace vemora::test {
namespace {

std::string textOf(GBytes* bytes) {
  gsize size = 0;
  const auto* const data = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  return data ? std::string(data, size) : std::string();
}

std::map<std::string, std::string> headersOf(SoupMessage* message) {
  std::map<std::string, std::string> result;
  soup_message_headers_foreach(
      soup_message_get_response_headers(message),
      [](const char* name, const char* value, gpointer into) {
        const GStringPtr lower(g_ascii_strdown(name, -1));
        (*static_cast<std::map<std::string, std::string>*>(into))[lower.get()] = value;
      },
      &result);
  return result;
}

void trustWhenHandshaking(GSocketClient*, GSocketClientEvent event, GSocketConnectable*, GIOStream* stream,
                          gpointer database) {
  if (event == G_SOCKET_CLIENT_TLS_HANDSHAKING) {
    g_tls_connection_set_database(G_TLS_CONNECTION(stream), static_cast<GTlsDatabase*>(database));
  }
}

}  // namespace

GObjectPtr<GAsyncResult> await(const std::function<void(GAsyncReadyCallback, gpointer)>& begin) {
  GObjectPtr<GAsyncResult> result;
  begin(
      [](GObject*, GAsyncResult* r, gpointer into) {
        *static_cast<GObjectPtr<GAsyncResult>*>(into) = GObjectPtr<GAsyncResult>::retain(r);
      },
      &result);
  while (!result) g_main_context_iteration(nullptr, TRUE);
  return result;
}

HttpsClient::HttpsClient(const std::string& certificatePem)
    : session_(
          GObjectPtr<SoupSession>::adopt(soup_session_new_with_options("proxy-resolver", nullptr, nullptr))) {
  if (!certificatePem.empty()) {
    const auto file = folder_.write("trusted.pem", certificatePem);
    trusted_ = GObjectPtr<GTlsDatabase>::adopt(g_tls_file_database_new(file.c_str(), nullptr));
    soup_session_set_tls_database(session_.get(), trusted_.get());
  }
}

Reply HttpsClient::send(const std::string& url, const Request& request) {
  const auto message = GObjectPtr<SoupMessage>::adopt(soup_message_new(request.method.c_str(), url.c_str()));
  if (!message) return {0, "", "not a URL: " + url, {}};
  for (const auto& [name, value] : request.headers) {
    soup_message_headers_append(soup_message_get_request_headers(message.get()), name.c_str(), value.c_str());
  }
  if (!request.body.empty()) {
    const GBytesPtr body(g_bytes_new(request.body.data(), request.body.size()));
    soup_message_set_request_body_from_bytes(message.get(), "text/plain", body.get());
  }
  const auto result = await([&](GAsyncReadyCallback done, gpointer data) {
    soup_session_send_and_read_async(session_.get(), message.get(), G_PRIORITY_DEFAULT, nullptr, done, data);
  });
  GErrorHolder error;
  const GBytesPtr bytes(soup_session_send_and_read_finish(session_.get(), result.get(), error.out()));
  if (!bytes) return {0, "", error.message(), {}};
  return {soup_message_get_status(message.get()), textOf(bytes.get()), "", headersOf(message.get())};
}

std::string HttpsClient::exchange(const std::string& origin, const std::string& bytes) {
  const auto client = GObjectPtr<GSocketClient>::adopt(g_socket_client_new());
  g_socket_client_set_enable_proxy(client.get(), FALSE);
  g_socket_client_set_tls(client.get(), TRUE);
  g_signal_connect(client.get(), "event", G_CALLBACK(trustWhenHandshaking), trusted_.get());
  const std::string host = origin.substr(std::string_view("https://").size());
  const auto connected = await([&](GAsyncReadyCallback done, gpointer data) {
    g_socket_client_connect_to_host_async(client.get(), host.c_str(), 443, nullptr, done, data);
  });
  const auto connection = GObjectPtr<GSocketConnection>::adopt(
      g_socket_client_connect_to_host_finish(client.get(), connected.get(), nullptr));
  if (!connection) return "no connection";

  GOutputStream* const output = g_io_stream_get_output_stream(G_IO_STREAM(connection.get()));
  const auto written = await([&](GAsyncReadyCallback done, gpointer data) {
    g_output_stream_write_all_async(output, bytes.data(), bytes.size(), G_PRIORITY_DEFAULT, nullptr, done,
                                    data);
  });
  g_output_stream_write_all_finish(output, written.get(), nullptr, nullptr);

  GInputStream* const input = g_io_stream_get_input_stream(G_IO_STREAM(connection.get()));
  std::string all;
  while (true) {
    const auto read = await([&](GAsyncReadyCallback done, gpointer data) {
      g_input_stream_read_bytes_async(input, 65536, G_PRIORITY_DEFAULT, nullptr, done, data);
    });
    const GBytesPtr piece(g_input_stream_read_bytes_finish(input, read.get(), nullptr));
    if (!piece || g_bytes_get_size(piece.get()) == 0) return all;
    all += textOf(piece.get());
  }
}

}  // namespace vemora::test
