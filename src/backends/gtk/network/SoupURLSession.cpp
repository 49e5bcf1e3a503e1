#include "backends/gtk/network/SoupURLSession.h"

#include "backends/gtk/base/ContextThread.h"
#include "backends/gtk/base/GErrorConversion.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/HttpFields.h"
#include "backends/gtk/base/TrustedCertificates.h"

#include <libsoup/soup.h>

#include <chrono>
#include <cstdlib>
#include <utility>

namespace vemora::gtk {

namespace {

VMRError ioError(GIOErrorEnum code, const char* description) {
  const GErrorPtr error(g_error_new_literal(G_IO_ERROR, code, description));
  return errorFromGError(*error);
}

gboolean acceptCertificate(SoupMessage* message, GTlsCertificate* certificate, GTlsCertificateFlags,
                           gpointer) {
  return isTrustedCertificate(certificate, g_uri_get_host(soup_message_get_uri(message)));
}

/// Null when the address is not one of HTTP, or the method is not valid.
GObjectPtr<SoupMessage> makeMessage(const URLRequest& request) {
  const GUriPtr uri(g_uri_parse(request.url.c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr));
  if (!uri || !isHttpToken(request.httpMethod)) return nullptr;
  const std::string_view scheme = g_uri_get_scheme(uri.get());
  const char* host = g_uri_get_host(uri.get());
  if ((scheme != "http" && scheme != "https") || !host || !*host) return nullptr;

  auto message =
      GObjectPtr<SoupMessage>::adopt(soup_message_new_from_uri(request.httpMethod.c_str(), uri.get()));
  SoupMessageHeaders* headers = soup_message_get_request_headers(message.get());
  for (const auto& [field, value] : request.headers) {
    if (isHttpToken(field) && isHttpFieldValue(value)) {
      soup_message_headers_append(headers, field.c_str(), value.c_str());
    }
  }
  g_signal_connect(message.get(), "accept-certificate", G_CALLBACK(acceptCertificate), nullptr);
  return message;
}

/// The thread of all downloads. They wait for the network most of the time, so one thread serves any number
/// of them, and neither the main thread nor a worker is held up. Started at first use and stopped when the
/// process ends, which does not wait for downloads.
ContextThread& networkThread() {
  static ContextThread* const thread = [] {
    std::atexit([] { networkThread().stop(std::chrono::steady_clock::now() + std::chrono::seconds(1)); });
    return new ContextThread("vemora-network");
  }();
  return *thread;
}

/// The pool of connections; network thread only. A libsoup session has no cookies and no cache unless they
/// are added, but it keeps the credentials of URLs, so that feature goes.
SoupSession* sharedSession() {
  static SoupSession* const session = [] {
    constexpr int kIdleConnectionSeconds = 10;
    SoupSession* made = soup_session_new_with_options(
        "timeout", kServerSilenceSeconds, "idle-timeout", kIdleConnectionSeconds, "max-conns",
        static_cast<int>(kConcurrentDownloads), "max-conns-per-host", static_cast<int>(kDownloadsPerHost),
        nullptr);
    soup_session_remove_feature_by_type(made, SOUP_TYPE_AUTH_MANAGER);
    return made;
  }();
  return session;
}

/// One download, from its start to its completion; network thread only. The pending operation owns it.
class Download {
 public:
  Download(const URLSessionLimits& limits, URLRequest request, URLSession::Completion completion)
      : limits_(limits), request_(std::move(request)), completion_(std::move(completion)) {}
  ~Download() {
    if (timeout_) g_source_destroy(timeout_.get());
  }

  static void start(std::unique_ptr<Download> self);

 private:
  static void onAnswer(GObject*, GAsyncResult* result, gpointer data);
  static void onBodyRead(GObject*, GAsyncResult* result, gpointer data);
  static gboolean onTimeout(gpointer data);
  static void readBody(std::unique_ptr<Download> self);
  void armTimeout();
  void complete(const std::optional<VMRError>& error);

  const URLSessionLimits limits_;
  const URLRequest request_;
  URLSession::Completion completion_;
  const GObjectPtr<GCancellable> cancellable_ = GObjectPtr<GCancellable>::adopt(g_cancellable_new());
  GSourcePtr timeout_;
  GObjectPtr<GInputStream> body_;
  std::size_t bodyBytes_ = 0;
};

void Download::start(std::unique_ptr<Download> self) {
  const GObjectPtr<SoupMessage> message = makeMessage(self->request_);
  if (!message) return self->complete(ioError(G_IO_ERROR_NOT_SUPPORTED, "unsupported URL"));
  self->armTimeout();
  GCancellable* cancellable = self->cancellable_.get();
  soup_session_send_async(sharedSession(), message.get(), G_PRIORITY_DEFAULT, cancellable, onAnswer,
                          self.release());
}

void Download::armTimeout() {
  timeout_.reset(g_timeout_source_new(static_cast<guint>(limits_.total.count())));
  g_source_set_callback(timeout_.get(), onTimeout, this, nullptr);
  g_source_attach(timeout_.get(), g_main_context_get_thread_default());
}

gboolean Download::onTimeout(gpointer data) {
  g_cancellable_cancel(static_cast<Download*>(data)->cancellable_.get());
  return G_SOURCE_REMOVE;
}

void Download::onAnswer(GObject* session, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Download> self(static_cast<Download*>(data));
  GError* error = nullptr;
  self->body_ =
      GObjectPtr<GInputStream>::adopt(soup_session_send_finish(SOUP_SESSION(session), result, &error));
  if (self->body_) return readBody(std::move(self));
  const GErrorPtr owned(error);
  const bool timedOut = g_cancellable_is_cancelled(self->cancellable_.get());
  self->complete(timedOut ? ioError(G_IO_ERROR_TIMED_OUT, "The request timed out.")
                          : errorFromGError(*owned));
}

void Download::readBody(std::unique_ptr<Download> self) {
  constexpr gsize kChunk = 16384;
  GInputStream* body = self->body_.get();
  GCancellable* cancellable = self->cancellable_.get();
  g_input_stream_skip_async(body, kChunk, G_PRIORITY_DEFAULT, cancellable, onBodyRead, self.release());
}

void Download::onBodyRead(GObject* body, GAsyncResult* result, gpointer data) {
  std::unique_ptr<Download> self(static_cast<Download*>(data));
  GError* error = nullptr;
  const gssize count = g_input_stream_skip_finish(G_INPUT_STREAM(body), result, &error);
  const GErrorPtr owned(error);
  if (count > 0) {
    self->bodyBytes_ += static_cast<std::size_t>(count);
    if (self->bodyBytes_ < self->limits_.bodyBytes) return readBody(std::move(self));
    g_cancellable_cancel(self->cancellable_.get());
  }
  const bool isBeyondLimit = g_cancellable_is_cancelled(self->cancellable_.get());
  self->complete(owned && !isBeyondLimit ? std::optional(errorFromGError(*owned)) : std::nullopt);
}

void Download::complete(const std::optional<VMRError>& error) {
  std::exchange(completion_, nullptr)(error);
}

class SoupURLSession final : public URLSession {
 public:
  explicit SoupURLSession(const URLSessionLimits& limits) : limits_(limits) {}

  void downloadTaskWithRequest(const URLRequest& request, Completion completion) override {
    auto download = std::make_shared<std::unique_ptr<Download>>(
        std::make_unique<Download>(limits_, request, std::move(completion)));
    networkThread().post([download] { Download::start(std::move(*download)); });
  }

 private:
  const URLSessionLimits limits_;
};

}  // namespace

std::unique_ptr<URLSession> makeSoupURLSession(const URLSessionLimits& limits) {
  return std::make_unique<SoupURLSession>(limits);
}

}  // namespace vemora::gtk
