#include "../../common/MainLoop.h"
#include "BackgroundServer.h"
#include "SelfSignedCertificate.h"
#include "URLSessionEnd.h"
#include "backends/gtk/base/TrustedCertificates.h"
#include "backends/gtk/network/SoupURLSession.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace vemora::gtk {

namespace {

using test::BackgroundServer;
using test::waitUntil;
using Result = std::optional<VMRError>;

constexpr char kUserAgent[] = "Mozilla/5.0 (X11; Linux) Exactly/1.0 as, set";

URLRequest requestFor(const std::string& url) {
  URLRequest request;
  request.url = url;
  request.cachePolicy = URLRequestCachePolicy::ReloadIgnoringLocalCacheData;
  request.addValue(kUserAgent, "User-Agent");
  return request;
}

/// The session object is destroyed as soon as it has started the download.
Result download(const URLRequest& request, const URLSessionLimits& limits = {}) {
  const auto promise = std::make_shared<std::promise<Result>>();
  std::future<Result> result = promise->get_future();
  const std::thread::id caller = std::this_thread::get_id();
  makeSoupURLSession(limits)->downloadTaskWithRequest(request, [promise, caller](const Result& error) {
    EXPECT_NE(std::this_thread::get_id(), caller);
    promise->set_value(error);
  });
  if (result.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
    ADD_FAILURE() << "No completion for " << request.url;
    return std::nullopt;
  }
  return result.get();
}

std::vector<std::string> valuesOf(const BackgroundServer::Request& request, const std::string& field) {
  std::vector<std::string> values;
  const auto [begin, end] = request.headers.equal_range(field);
  for (auto header = begin; header != end; ++header) values.push_back(header->second);
  return values;
}

/// A fresh certificate for loopback, with its key; null when none can be made.
GObjectPtr<GTlsCertificate> serverCertificate() {
  std::string problem;
  const auto pem = makeLoopbackCertificate(problem);
  EXPECT_TRUE(pem) << problem;
  if (!pem) return {};
  const std::string text = pem->certificatePem + pem->privateKeyPem;
  return GObjectPtr<GTlsCertificate>::adopt(g_tls_certificate_new_from_pem(text.c_str(), -1, nullptr));
}

TEST(URLSessionTest, SendsTheHeadersAlsoAfterARedirectAndNoCookie) {
  BackgroundServer server;
  server.on("/start", [](SoupServerMessage* message) {
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    soup_message_headers_append(headers, "Set-Cookie", "id=1; Path=/");
    soup_server_message_set_redirect(message, SOUP_STATUS_FOUND, "/end");
  });
  EXPECT_EQ(download(requestFor(server.url("/start"))), std::nullopt);
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2u);
  EXPECT_EQ(requests[0].path, "/start");
  EXPECT_EQ(requests[1].path, "/end");
  for (const auto& request : requests) {
    EXPECT_EQ(valuesOf(request, "User-Agent"), std::vector<std::string>{kUserAgent});
    EXPECT_EQ(request.headers.count("Cookie"), 0u);
    EXPECT_EQ(request.headers.count("If-None-Match"), 0u);
  }
}

TEST(URLSessionTest, SendsARequestAgainInsteadOfUsingACache) {
  BackgroundServer server;
  server.on("/", [](SoupServerMessage* message) {
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    soup_message_headers_append(headers, "Cache-Control", "max-age=3600");
  });
  EXPECT_EQ(download(requestFor(server.url("/"))), std::nullopt);
  EXPECT_EQ(download(requestFor(server.url("/"))), std::nullopt);
  EXPECT_EQ(server.requests().size(), 2u);
}

TEST(URLSessionTest, TreatsAnErrorStatusAsAResponse) {
  BackgroundServer server;
  for (const int status : {404, 401, 500}) {
    const std::string path = "/" + std::to_string(status);
    server.on(path, [status](SoupServerMessage* message) {
      soup_server_message_set_status(message, static_cast<guint>(status), nullptr);
    });
  }
  for (const char* path : {"/404", "/401", "/500"}) {
    EXPECT_EQ(download(requestFor(server.url(path))), std::nullopt) << path;
  }
}

TEST(URLSessionTest, LeavesOutInvalidHeaders) {
  BackgroundServer server;
  URLRequest request = requestFor(server.url("/"));
  request.addValue("a\r\nX-Injected: yes", "X-Split");
  request.addValue("value", "X Bad: yes");
  request.addValue("", "");
  request.addValue("kept", "X-Kept");
  EXPECT_EQ(download(request), std::nullopt);
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(valuesOf(requests[0], "X-Kept"), std::vector<std::string>{"kept"});
  EXPECT_EQ(requests[0].headers.count("X-Injected") + requests[0].headers.count("X-Split"), 0u);
}

TEST(URLSessionTest, RefusesOtherSchemes) {
  for (const char* url :
       {"ftp://127.0.0.1/", "file:///etc/passwd", "about:blank", "javascript:1", "data:,x", "", "http://",
        "http:///path", "//127.0.0.1/", "http://127.0.0.1:99999/", "\xFF\xFE"}) {
    const Result error = download(requestFor(url));
    ASSERT_TRUE(error) << url;
    EXPECT_EQ(error->description, "unsupported URL") << url;
  }
}

TEST(URLSessionTest, ReportsAFailedConnection) {
  std::string url;
  {
    BackgroundServer server;
    url = server.url("/");
  }
  const Result error = download(requestFor(url));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "g-io-error-quark");
  EXPECT_EQ(error->code, G_IO_ERROR_CONNECTION_REFUSED);
  EXPECT_FALSE(error->description.empty());
}

TEST(URLSessionTest, ReportsATruncatedResponse) {
  BackgroundServer server;
  server.on("/", [](SoupServerMessage* message) {
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    soup_message_headers_set_encoding(headers, SOUP_ENCODING_CONTENT_LENGTH);
    soup_message_headers_set_content_length(headers, 1000);
    soup_message_body_append(soup_server_message_get_response_body(message), SOUP_MEMORY_STATIC, "x", 1);
    g_signal_connect(message, "wrote-chunk", G_CALLBACK(+[](SoupServerMessage* written, gpointer) {
                       GSocket* socket = soup_server_message_get_socket(written);
                       g_socket_shutdown(socket, TRUE, TRUE, nullptr);
                     }),
                     nullptr);
  });
  EXPECT_TRUE(download(requestFor(server.url("/"))));
}

TEST(URLSessionTest, TimesOutWithoutAnAnswer) {
  BackgroundServer server;
  server.on("/", [&](SoupServerMessage* message) { server.pause(message); });
  URLSessionLimits limits;
  limits.total = std::chrono::milliseconds(50);
  const Result error = download(requestFor(server.url("/")), limits);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, G_IO_ERROR_TIMED_OUT);
}

void writeWithoutEnd(SoupServerMessage* message, std::size_t chunk) {
  SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
  soup_message_headers_set_encoding(headers, SOUP_ENCODING_CHUNKED);
  soup_message_body_set_accumulate(soup_server_message_get_response_body(message), FALSE);
  static const std::string text(100'000, 'x');
  const auto append = [](SoupServerMessage* written, gpointer size) {
    soup_message_body_append(soup_server_message_get_response_body(written), SOUP_MEMORY_STATIC, text.data(),
                             GPOINTER_TO_SIZE(size));
    soup_server_message_unpause(written);
  };
  g_signal_connect(message, "wrote-chunk", G_CALLBACK(+append), GSIZE_TO_POINTER(chunk));
  append(message, GSIZE_TO_POINTER(chunk));
}

TEST(URLSessionTest, StopsReadingAnEndlessResponse) {
  BackgroundServer server;
  server.on("/", [](SoupServerMessage* message) { writeWithoutEnd(message, 100'000); });
  EXPECT_EQ(download(requestFor(server.url("/"))), std::nullopt);
  URLSessionLimits patient;
  patient.bodyBytes = std::size_t{1} << 40;
  patient.total = std::chrono::milliseconds(100);
  EXPECT_EQ(download(requestFor(server.url("/")), patient), std::nullopt);
}

TEST(URLSessionTest, TrustsACertificateOnlyForItsHost) {
  const auto certificate = serverCertificate();
  ASSERT_TRUE(certificate);
  BackgroundServer server(certificate.get());
  addTrustedCertificate(certificate.get(), "another.example");
  const Result refused = download(requestFor(server.url("/")));
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->domain, "g-tls-error-quark");
  EXPECT_TRUE(server.requests().empty());
  addTrustedCertificate(certificate.get(), "127.0.0.1");
  EXPECT_EQ(download(requestFor(server.url("/"))), std::nullopt);
  EXPECT_EQ(server.requests().size(), 1u);
}

TEST(URLSessionTest, LimitsTheDownloadsFromOneHostAndUsesOneThread) {
  constexpr int kBeacons = 40;
  BackgroundServer server;
  server.on("/", [&](SoupServerMessage* message) { server.pause(message); });
  std::atomic<int> completed{0};
  std::atomic<int> failed{0};
  Mutex mutex;
  std::set<std::thread::id> threads;
  for (int i = 0; i < kBeacons; ++i) {
    makeSoupURLSession()->downloadTaskWithRequest(requestFor(server.url("/")), [&](const Result& error) {
      {
        MutexLock lock(mutex);
        threads.insert(std::this_thread::get_id());
      }
      failed += error.has_value();
      ++completed;
    });
  }
  EXPECT_TRUE(waitUntil([&] { return server.pausedCount() == kDownloadsPerHost; }));
  EXPECT_EQ(completed, 0);
  EXPECT_TRUE(waitUntil([&] {
    EXPECT_LE(server.pausedCount(), kDownloadsPerHost);
    if (server.pausedCount() > 0) server.answerPaused();
    return completed == kBeacons;
  }));
  EXPECT_EQ(failed, 0);
  MutexLock lock(mutex);
  EXPECT_EQ(threads.size(), 1u);
}

TEST(URLSessionTest, ASilentServerDoesNotDelayOtherHosts) {
  BackgroundServer silent;
  silent.on("/", [&](SoupServerMessage* message) { silent.pause(message); });
  BackgroundServer other;
  std::atomic<int> completed{0};
  constexpr int kBeacons = 200;
  for (int i = 0; i < kBeacons; ++i) {
    makeSoupURLSession()->downloadTaskWithRequest(requestFor(silent.url("/")),
                                                  [&](const Result&) { ++completed; });
  }
  EXPECT_TRUE(waitUntil([&] { return silent.pausedCount() == kDownloadsPerHost; }));
  EXPECT_EQ(download(requestFor(other.url("/"))), std::nullopt);
  EXPECT_EQ(completed, 0);
  EXPECT_TRUE(waitUntil([&] {
    if (silent.pausedCount() > 0) silent.answerPaused();
    return completed == kBeacons;
  }));
}

TEST(URLSessionTest, SendsABurstOverTLS) {
  const auto certificate = serverCertificate();
  ASSERT_TRUE(certificate);
  BackgroundServer server(certificate.get());
  addTrustedCertificate(certificate.get(), "127.0.0.1");
  constexpr int kBeacons = 150;
  std::atomic<int> completed{0};
  std::atomic<int> failed{0};
  for (int i = 0; i < kBeacons; ++i) {
    makeSoupURLSession()->downloadTaskWithRequest(requestFor(server.url("/")), [&](const Result& error) {
      failed += error.has_value();
      ++completed;
    });
  }
  EXPECT_TRUE(waitUntil([&] { return completed == kBeacons; }));
  EXPECT_EQ(failed, 0);
  EXPECT_EQ(server.requests().size(), static_cast<std::size_t>(kBeacons));
}

TEST(URLSessionTest, KeepsNoCredentialsForLaterRequests) {
  BackgroundServer server;
  server.on("/", [](SoupServerMessage* message) {
    soup_message_headers_append(soup_server_message_get_response_headers(message), "WWW-Authenticate",
                                "Basic realm=\"ads\"");
    soup_server_message_set_status(message, SOUP_STATUS_UNAUTHORIZED, nullptr);
  });
  std::string withPassword = server.url("/");
  withPassword.insert(withPassword.find("//") + 2, "user:password@");
  EXPECT_EQ(download(requestFor(withPassword)), std::nullopt);
  EXPECT_EQ(download(requestFor(server.url("/"))), std::nullopt);
  for (const auto& request : server.requests()) EXPECT_EQ(request.headers.count("Authorization"), 0u);
}

class URLSessionEndTest : public testing::TestWithParam<const char*> {};

TEST_P(URLSessionEndTest, DoesNotDelayTheEndOfTheProcess) {
  BackgroundServer server;
  server.on("/", [&](SoupServerMessage* message) { server.pause(message); });
  std::string program = "/proc/self/exe", option = "--end-process", way = GetParam(), url = server.url("/");
  char* arguments[] = {program.data(), option.data(), way.data(), url.data(), nullptr};
  int status = -1;
  ASSERT_TRUE(g_spawn_sync(nullptr, arguments, nullptr, G_SPAWN_DEFAULT, nullptr, nullptr, nullptr, nullptr,
                           &status, nullptr));
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 7) << status;
}

INSTANTIATE_TEST_SUITE_P(Exits, URLSessionEndTest, testing::Values("main", "completion"));

}  // namespace

void endProcessWithDownloads(const std::string& way, const std::string& url) {
  for (unsigned int i = 1; i < kDownloadsPerHost; ++i) {
    makeSoupURLSession()->downloadTaskWithRequest(requestFor(url), [](const Result&) { std::abort(); });
  }
  if (way == "main") std::exit(7);
  makeSoupURLSession()->downloadTaskWithRequest(requestFor("x:"), [](const Result&) { std::exit(7); });
  for (;;) pause();
}

}  // namespace vemora::gtk
