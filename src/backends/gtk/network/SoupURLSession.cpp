#include "backends/gtk/network/SoupURLSession.h"

#include "backends/gtk/base/GErrorConversion.h"
#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/TrustedCertificates.h"
#include "backends/gtk/network/NetworkThread.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <deque>
#include <utility>

namespace vemora::gtk {

namespace {

using OwnedError = std::unique_ptr<GError, GFree<g_error_free>>;
using OwnedUri = std::unique_ptr<GUri, GFree<g_uri_unref>>;

VMRError ioError(GIOErrorEnum code, const char* description) {
  const OwnedError error(g_error_new_literal(G_IO_ERROR, code, description));
  return errorFromGError(*error);
}

/// What HTTP allows as a method or a field's name.
bool isToken(std::string_view text) {
  constexpr std::string_view kMarks = "!#$%&'*+-.^_`|~";
  return !text.empty() && std::all_of(text.begin(), text.end(), [&](char c) {
    return g_ascii_isalnum(c) || kMarks.find(c) != std::string_view::npos;
  });
}

bool isFieldValue(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

gboolean acceptCertificate(SoupMessage* message, GTlsCertificate* certificate, GTlsCertificateFlags,
                           gpointer) {
  return isTrustedCertificate(certificate, g_uri_get_host(soup_message_get_uri(message)));
}

/// Null when the address is not one of HTTP's, or the method none at all.
GObjectPtr<SoupMessage> makeMessage(const URLRequest& request) {
  const OwnedUri uri(g_uri_parse(request.url.c_str(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr));
  if (!uri || !isToken(request.httpMethod)) return nullptr;
  const std::string_view scheme = g_uri_get_scheme(uri.get());
  const char* host = g_uri_get_host(uri.get());
  if ((scheme != "http" && scheme != "https") || !host || !*host) return nullptr;

  auto message =
      GObjectPtr<SoupMessage>::adopt(soup_message_new_from_uri(request.httpMethod.c_str(), uri.get()));
  SoupMessageHeaders* headers = soup_message_get_request_headers(message.get());
  for (const auto& [field, value] : request.headers) {
    if (isToken(field) && isFieldValue(value)) {
      soup_message_headers_append(headers, field.c_str(), value.c_str());
    }
  }
  g_signal_connect(message.get(), "accept-certificate", G_CALLBACK(acceptCertificate), nullptr);
  return message;
}

/// The libsoup session of a URLSession: made at its first download, and let go of on the network thread,
/// whoever needed it last.
class SessionCore {
 public:
  static std::shared_ptr<SessionCore> make(const URLSessionLimits& limits) {
    return {new SessionCore(limits), [](SessionCore* core) {
              NetworkThread::shared().post([owned = std::shared_ptr<SessionCore>(core)] {});
            }};
  }

  SoupSession* soupSession() {
    if (!session_) {
      session_ = GObjectPtr<SoupSession>::adopt(
          soup_session_new_with_options("timeout", limits.idleSeconds, nullptr));
    }
    return session_.get();
  }

  const URLSessionLimits limits;

 private:
  explicit SessionCore(const URLSessionLimits& sessionLimits) : limits(sessionLimits) {}

  GObjectPtr<SoupSession> session_;
};

/// One download, from its start to its completion; network thread only. It belongs to the operation that is
/// under way.
class Download {
 public:
  using Done = std::function<void()>;

  Download(std::shared_ptr<SessionCore> core, URLRequest request, URLSession::Completion completion)
      : core_(std::move(core)), request_(std::move(request)), completion_(std::move(completion)) {}
  ~Download() {
    if (timeout_) g_source_destroy(timeout_.get());
  }

  static void start(std::unique_ptr<Download> self, Done done);

 private:
  struct UnrefSource {
    void operator()(GSource* source) const { g_source_unref(source); }
  };

  static void onAnswer(GObject*, GAsyncResult* result, gpointer data);
  static void onBodyRead(GObject*, GAsyncResult* result, gpointer data);
  static gboolean onTimeout(gpointer data);
  static void readBody(std::unique_ptr<Download> self);
  void armTimeout();
  void complete(const std::optional<VMRError>& error);

  const std::shared_ptr<SessionCore> core_;
  const URLRequest request_;
  URLSession::Completion completion_;
  Done done_;
  const GObjectPtr<GCancellable> cancellable_ = GObjectPtr<GCancellable>::adopt(g_cancellable_new());
  std::unique_ptr<GSource, UnrefSource> timeout_;
  GObjectPtr<GInputStream> body_;
  std::size_t bodyBytes_ = 0;
};

void Download::start(std::unique_ptr<Download> self, Done done) {
  self->done_ = std::move(done);
  const GObjectPtr<SoupMessage> message = makeMessage(self->request_);
  if (!message) return self->complete(ioError(G_IO_ERROR_NOT_SUPPORTED, "unsupported URL"));
  self->armTimeout();
  SoupSession* session = self->core_->soupSession();
  GCancellable* cancellable = self->cancellable_.get();
  soup_session_send_async(session, message.get(), G_PRIORITY_DEFAULT, cancellable, onAnswer, self.release());
}

void Download::armTimeout() {
  timeout_.reset(g_timeout_source_new(static_cast<guint>(core_->limits.total.count())));
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
  const OwnedError owned(error);
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
  const OwnedError owned(error);
  if (count > 0) {
    self->bodyBytes_ += static_cast<std::size_t>(count);
    if (self->bodyBytes_ < self->core_->limits.bodyBytes) return readBody(std::move(self));
    g_cancellable_cancel(self->cancellable_.get());
  }
  const bool letGo = g_cancellable_is_cancelled(self->cancellable_.get());
  self->complete(owned && !letGo ? std::optional(errorFromGError(*owned)) : std::nullopt);
}

void Download::complete(const std::optional<VMRError>& error) {
  std::exchange(completion_, nullptr)(error);
  std::exchange(done_, nullptr)();
}

/// Starts downloads in their order, not too many at a time. Network thread only.
class DownloadQueue {
 public:
  static DownloadQueue& shared() {
    static DownloadQueue& queue = *new DownloadQueue;
    return queue;
  }

  void add(std::unique_ptr<Download> download) {
    waiting_.push_back(std::move(download));
    startNext();
  }

 private:
  void startNext() {
    if (running_ == kConcurrentDownloads || waiting_.empty()) return;
    ++running_;
    std::unique_ptr<Download> download = std::move(waiting_.front());
    waiting_.pop_front();
    Download::start(std::move(download), [this] {
      --running_;
      NetworkThread::shared().post([this] { startNext(); });
    });
  }

  std::deque<std::unique_ptr<Download>> waiting_;
  std::size_t running_ = 0;
};

class SoupURLSession final : public URLSession {
 public:
  explicit SoupURLSession(const URLSessionLimits& limits) : core_(SessionCore::make(limits)) {}

  void downloadTaskWithRequest(const URLRequest& request, Completion completion) override {
    auto download = std::make_shared<std::unique_ptr<Download>>(
        std::make_unique<Download>(core_, request, std::move(completion)));
    NetworkThread::shared().post([download] { DownloadQueue::shared().add(std::move(*download)); });
  }

 private:
  const std::shared_ptr<SessionCore> core_;
};

}  // namespace

std::unique_ptr<URLSession> makeSoupURLSession(const URLSessionLimits& limits) {
  return std::make_unique<SoupURLSession>(limits);
}

}  // namespace vemora::gtk
