#include "../common/TestFolder.h"
#include "HttpsClient.h"
#include "LocalServer.h"

#include <Vemora/JsonValue.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vemora::test {
namespace {

namespace fs = std::filesystem;

/// Content without a period, so that a piece from the wrong place is noticed.
std::string noise(std::size_t size) {
  std::string text(size, '\0');
  unsigned state = 1;
  for (char& byte : text) byte = static_cast<char>((state = state * 1664525u + 1013904223u) >> 24);
  return text;
}

void collectStrings(const JsonValue& value, std::vector<std::string>& into) {
  if (value.isString()) into.emplace_back(value.stringValue().value_or(""));
  for (const JsonValue& element : value.elements()) collectStrings(element, into);
  for (const JsonValue::Entry& entry : value.entries()) collectStrings(entry.value, into);
}

class LocalServerTest : public testing::Test {
 protected:
  LocalServerTest() {
    options.page = folder.write("page.html", "<title>page</title>");
    options.mediaFolder = folder.path() / "media";
    options.rootFolder = folder.path() / "root";
    fs::create_directories(*options.mediaFolder);
    fs::create_directories(*options.rootFolder);
  }

  void start() {
    server = std::make_unique<LocalServer>(options);
    std::string problem;
    ASSERT_TRUE(server->start(problem)) << problem;
    client = std::make_unique<HttpsClient>(server->certificatePem());
  }

  Reply get(const std::string& path, const std::map<std::string, std::string>& headers = {}) {
    return client->send(server->origin() + path, {"GET", headers});
  }

  Reply getRange(const std::string& path, const std::string& range) { return get(path, {{"Range", range}}); }

  /// The answer's head and body for a request line that no client library would send.
  std::string ask(const std::string& requestLine) {
    return client->exchange(server->origin(), requestLine + "\r\nHost: x\r\nConnection: close\r\n\r\n");
  }

  TestFolder folder;
  LocalServerOptions options;
  std::unique_ptr<LocalServer> server;
  std::unique_ptr<HttpsClient> client;
};

TEST_F(LocalServerTest, ServesThePageToAnyOriginAndDisablesCaching) {
  start();
  const Reply reply = get(std::string(kControllerPagePath));
  EXPECT_EQ(reply.status, 200u) << reply.error;
  EXPECT_EQ(reply.body, "<title>page</title>");
  EXPECT_EQ(reply.header("content-type"), "text/html; charset=utf-8");
  EXPECT_EQ(reply.header("cache-control"), "no-store");
  EXPECT_EQ(reply.header("access-control-allow-origin"), "*");

  folder.write("page.html", "edited");
  EXPECT_EQ(get(std::string(kControllerPagePath)).body, "edited");
  fs::remove(options.page);
  EXPECT_EQ(get(std::string(kControllerPagePath)).status, 404u);
}

TEST_F(LocalServerTest, PutsItsOriginIntoListsButNotIntoPagesOrVideos) {
  options.ads = folder.write("list", R"({"a":"{{origin}}/x","b":"{{origin}}{{origin}}"})");
  options.config = folder.write("config", R"(["{{origin}}"])");
  folder.write("root/tags/ad.XML", "<a>{{origin}}</a>");
  folder.write("root/page.html", "{{origin}}");
  start();
  const std::string& origin = server->origin();
  const Reply ads = get("/ads.json");
  EXPECT_EQ(ads.body, R"({"a":")" + origin + R"(/x","b":")" + origin + origin + R"("})");
  EXPECT_EQ(ads.header("content-type"), "application/json");
  EXPECT_EQ(get("/config.json").body, R"([")" + origin + R"("])");
  EXPECT_EQ(get("/tags/ad.XML").body, "<a>" + origin + "</a>");
  EXPECT_EQ(get("/page.html").body, "{{origin}}");
}

TEST_F(LocalServerTest, AnswersNotFoundForUnknownPaths) {
  options.mediaFolder.reset();
  options.rootFolder.reset();
  start();
  for (const char* path : {"/ads.json", "/config.json", "/media/ad-1.mp4", "/", "/page.html"}) {
    EXPECT_EQ(get(path).status, 404u) << path;
  }
}

TEST_F(LocalServerTest, CertificateNamesTheLoopbackAddressesOnly) {
  start();
  const std::string port = server->origin().substr(server->origin().rfind(':'));
  EXPECT_EQ(client->send("https://localhost" + port + "/beacons").status, 200u);
  EXPECT_EQ(HttpsClient("").send(server->origin() + "/beacons").status, 0u)
      << "no client trusts it by default";

  const auto certificate = GObjectPtr<GTlsCertificate>::adopt(
      g_tls_certificate_new_from_pem(server->certificatePem().c_str(), -1, nullptr));
  const auto verdict = [&](const char* host) {
    const auto identity = GObjectPtr<GSocketConnectable>::adopt(g_network_address_new(host, 443));
    return g_tls_certificate_verify(certificate.get(), identity.get(), certificate.get());
  };
  for (const char* host : {"127.0.0.1", "::1", "localhost"}) EXPECT_EQ(verdict(host), 0u) << host;
  EXPECT_EQ(verdict("127.0.0.2"), G_TLS_CERTIFICATE_BAD_IDENTITY);
  EXPECT_EQ(verdict("example.com"), G_TLS_CERTIFICATE_BAD_IDENTITY);
  EXPECT_EQ(server->certificatePem().find("PRIVATE"), std::string::npos);
}

TEST_F(LocalServerTest, ServesRanges) {
  folder.write("media/ad.mp4", "0123456789");
  folder.write("media/empty.mp4", "");
  start();
  const Reply whole = get("/media/ad.mp4");
  EXPECT_EQ(whole.body, "0123456789");
  EXPECT_EQ(whole.header("accept-ranges"), "bytes");
  EXPECT_EQ(whole.header("content-type"), "video/mp4");

  struct Case {
    const char* range;
    unsigned status;
    const char* body;
    const char* contentRange;
  };
  for (const Case& c :
       {Case{"bytes=0-", 206, "0123456789", "bytes 0-9/10"}, Case{"bytes=2-4", 206, "234", "bytes 2-4/10"},
        Case{"bytes=9-9", 206, "9", "bytes 9-9/10"}, Case{"bytes=7-999", 206, "789", "bytes 7-9/10"},
        Case{"bytes=-3", 206, "789", "bytes 7-9/10"}, Case{"bytes=-999", 206, "0123456789", "bytes 0-9/10"},
        Case{"bytes=0-0,5-6", 200, "0123456789", ""}, Case{"bytes=4-2", 200, "0123456789", ""},
        Case{"lines=1-2", 200, "0123456789", ""}, Case{"bytes=x", 200, "0123456789", ""}}) {
    const Reply reply = getRange("/media/ad.mp4", c.range);
    EXPECT_EQ(reply.status, c.status) << c.range;
    EXPECT_EQ(reply.body, c.body) << c.range;
    EXPECT_EQ(reply.header("content-range"), c.contentRange) << c.range;
  }
  for (const char* range : {"bytes=10-", "bytes=99-100", "bytes=-0"}) {
    const Reply reply = getRange("/media/ad.mp4", range);
    EXPECT_EQ(reply.status, 416u) << range;
    EXPECT_EQ(reply.header("content-range"), "bytes */10") << range;
  }
  EXPECT_EQ(get("/media/ad.mp4", {{"Range", "bytes=0-1"}, {"If-Range", "\"old\""}}).body, "0123456789");
  EXPECT_EQ(get("/media/empty.mp4").status, 200u);
  EXPECT_EQ(getRange("/media/empty.mp4", "bytes=0-").status, 416u);
}

TEST_F(LocalServerTest, AnswersHeadWithTheLengthAlone) {
  options.ads = folder.write("ads", "{{origin}}");
  folder.write("media/ad.mp4", noise(300'000));
  start();
  Reply reply = client->send(server->origin() + "/media/ad.mp4", {"HEAD"});
  EXPECT_EQ(reply.status, 200u);
  EXPECT_EQ(reply.header("content-length"), "300000");
  EXPECT_EQ(reply.body, "");
  reply = client->send(server->origin() + "/ads.json", {"HEAD"});
  EXPECT_EQ(reply.header("content-length"), std::to_string(server->origin().size()));
  EXPECT_EQ(get("/media/ad.mp4").status, 200u) << "the connection is still in step";
}

TEST_F(LocalServerTest, StreamsFilesInChunks) {
  const std::string video = noise(3'000'001);
  folder.write("media/video.mp4", video);
  start();
  EXPECT_TRUE(get("/media/video.mp4").body == video);
  EXPECT_TRUE(getRange("/media/video.mp4", "bytes=1000003-2999999").body ==
              video.substr(1'000'003, 1'999'997));
}

TEST_F(LocalServerTest, ClosesTheConnectionWhenAFileShrinksWhileServed) {
  const fs::path video = folder.write("media/video.mp4", noise(64'000'000));
  start();
  const auto message = GObjectPtr<SoupMessage>::adopt(
      soup_message_new("GET", (server->origin() + "/media/video.mp4").c_str()));
  const auto sent = await([&](GAsyncReadyCallback done, gpointer data) {
    soup_session_send_async(client->session(), message.get(), G_PRIORITY_DEFAULT, nullptr, done, data);
  });
  const auto body =
      GObjectPtr<GInputStream>::adopt(soup_session_send_finish(client->session(), sent.get(), nullptr));
  ASSERT_TRUE(body);
  fs::resize_file(video, 1000);

  std::size_t received = 0;
  while (true) {
    const auto read = await([&](GAsyncReadyCallback done, gpointer data) {
      g_input_stream_read_bytes_async(body.get(), 1'000'000, G_PRIORITY_DEFAULT, nullptr, done, data);
    });
    const GBytesPtr piece(g_input_stream_read_bytes_finish(body.get(), read.get(), nullptr));
    if (!piece || g_bytes_get_size(piece.get()) == 0) break;
    received += g_bytes_get_size(piece.get());
  }
  EXPECT_LT(received, 64'000'000u);
  EXPECT_EQ(get("/beacons").status, 200u);
}

TEST_F(LocalServerTest, NeverLeavesItsFolders) {
  folder.write("secret.txt", "SECRET");
  folder.write("rooted/secret.txt", "SECRET");  // its name begins like that of the root folder
  folder.write("root/inside.txt", "inside");
  fs::create_directories(folder.path() / "root/sub");
  fs::create_symlink("../inside.txt", folder.path() / "root/sub/link-within");
  fs::create_symlink("../secret.txt", folder.path() / "root/link-out");
  fs::create_directory_symlink(folder.path(), folder.path() / "root/folder-out");
  start();
  EXPECT_EQ(get("/inside.txt").body, "inside");
  EXPECT_EQ(get("/sub/link-within").body, "inside");
  EXPECT_EQ(get("/inside%2Etxt").body, "inside");
  for (const char* path : {"/../secret.txt", "/sub/../../secret.txt", "/%2e%2e/secret.txt",
                           "/..%2fsecret.txt", "/../rooted/secret.txt", "/link-out", "/folder-out/secret.txt",
                           "/media/../secret.txt", "/media/%2e%2e%2fsecret.txt", "/media//../secret.txt",
                           "/sub", "/sub/", "//etc/hostname", "/media//etc/hostname"}) {
    const std::string answer = ask(std::string("GET ") + path + " HTTP/1.1");
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 404")) << path << ": " << answer;
    EXPECT_EQ(answer.find("SECRET"), std::string::npos) << path;
  }
}

TEST_F(LocalServerTest, SharesOnlyTheDocumentAndTheFilesItNames) {
  options.document =
      folder.write("tag/ad.xml", R"(<VAST a="wrapped/inner.xml"><![CDATA[{{origin}}/video.mp4?x=1]]>
      {{origin}}/beacon/i?x=1 ../page.html /page.html https://other.example/key.pem <b>sp%20ace.vtt</b></VAST>)");
  folder.write("tag/video.mp4", "video");
  folder.write("tag/sp ace.vtt", "captions");
  folder.write("tag/key.pem", "SECRET");
  folder.write("tag/wrapped/inner.xml", "<VAST>{{origin}}/second.mp4 beside.mp4</VAST>");
  folder.write("tag/wrapped/beside.mp4", "beside");
  folder.write("tag/second.mp4", "second");
  start();
  const std::string address = server->documentAddress().value_or("");
  const std::string base = address.substr(0, address.rfind('/') + 1);
  EXPECT_EQ(base.size(), server->origin().size() + 34) << "128 bits in hexadecimal, between two slashes";
  EXPECT_NE(SharedDocument(*options.document).prefix(), SharedDocument(*options.document).prefix());

  const Reply document = client->send(address);
  EXPECT_EQ(document.status, 200u);
  EXPECT_NE(document.body.find("[" + base + "video.mp4?x=1]"), std::string::npos) << document.body;
  EXPECT_NE(document.body.find(server->origin() + "/beacon/i?x=1 "), std::string::npos) << document.body;
  for (const auto& [name, content] : std::map<std::string, std::string>{{"video.mp4", "video"},
                                                                        {"sp%20ace.vtt", "captions"},
                                                                        {"second.mp4", "second"},
                                                                        {"wrapped/beside.mp4", "beside"}}) {
    EXPECT_EQ(client->send(base + name).body, content) << name;
  }
  EXPECT_NE(client->send(base + "wrapped/inner.xml").body.find(base + "second.mp4"), std::string::npos);
  for (const char* name : {"key.pem", "", "..%2fpage.html", "wrapped/"}) {
    EXPECT_EQ(client->send(base + name).status, 404u) << name;
  }
  for (const char* path : {"/ad.xml", "/video.mp4", "/key.pem", "/tag/ad.xml"}) {
    EXPECT_EQ(get(path).status, 404u) << path;
  }
}

TEST_F(LocalServerTest, CountsBeaconsInOrderOfArrival) {
  start();
  const std::string& origin = server->origin();
  EXPECT_EQ(get("/beacon/impression?ad=1&x=%5Bm%5D", {{"User-Agent", "web view"}}).status, 204u);
  EXPECT_EQ(client->send(origin + "/beacon/a%20b/c", {"POST", {}, noise(500'000)}).status, 204u);
  EXPECT_EQ(client->send(origin + "/beacon/not-counted", {"HEAD"}).status, 204u);
  EXPECT_EQ(client->send(origin + "/beacon/not-counted", {"PUT"}).status, 405u);
  EXPECT_TRUE(
      ask("GET /beacon/q\xff?\"[MACRO]\xff\" HTTP/1.1\r\nUser-Agent: a\xff").starts_with("HTTP/1.1 204"));

  ASSERT_EQ(server->beacons().size(), 3u);
  EXPECT_EQ(server->beacons()[1].method, "POST");
  const Reply list = get("/beacons");
  const JsonValue json = JsonValue::parse(list.body).value_or(nullptr);
  ASSERT_TRUE(json.isObject()) << list.body;
  EXPECT_EQ(json["count"].integerValue(), 3);
  const auto text = [&](unsigned index, const char* key) {
    return json["beacons"].elements()[index][key].stringValue().value_or("");
  };
  EXPECT_EQ(text(0, "path"), "/beacon/impression");
  EXPECT_EQ(text(0, "query"), "ad=1&x=%5Bm%5D");
  EXPECT_EQ(text(0, "userAgent"), "web view");
  EXPECT_EQ(text(1, "path"), "/beacon/a%20b/c");
  EXPECT_EQ(text(1, "query"), "");
  EXPECT_EQ(text(1, "userAgent"), "");
  EXPECT_EQ(text(2, "query"), "\"[MACRO]%FF\"");
  EXPECT_EQ(text(2, "userAgent"), "a\xef\xbf\xbd");
}

TEST_F(LocalServerTest, NamesTheMethodsThatItAccepts) {
  start();
  const Reply refused = client->send(server->origin() + "/ads.json", {"POST", {}, "x"});
  EXPECT_EQ(refused.status, 405u);
  EXPECT_EQ(refused.header("allow"), "GET, HEAD, OPTIONS");
  const Reply asked = client->send(server->origin() + "/beacon/x",
                                   {"OPTIONS", {{"Access-Control-Request-Headers", "x-one"}}});
  EXPECT_EQ(asked.status, 204u);
  EXPECT_EQ(asked.header("access-control-allow-methods"), "GET, HEAD, OPTIONS, POST");
  EXPECT_EQ(asked.header("access-control-allow-headers"), "x-one");
  EXPECT_TRUE(server->beacons().empty());
}

TEST_F(LocalServerTest, SurvivesMalformedRequests) {
  start();
  for (const char* requestLine :
       {"", "GET", "GET  HTTP/1.1", "GET / HTTP/9.9", "GET /%00 HTTP/1.1", "GET /%zz HTTP/1.1",
        "GET /\xff\xfe HTTP/1.1", "OPTIONS * HTTP/1.1", "CONNECT x:443 HTTP/1.1",
        "GET https://elsewhere.example/ HTTP/1.1", "POST /beacon/x HTTP/1.1\r\nContent-Length: -5",
        "POST /none HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\nzz"}) {
    const std::string answer = ask(requestLine);
    EXPECT_FALSE(answer.starts_with("HTTP/1.1 200")) << requestLine;
    EXPECT_EQ(get("/beacons").status, 200u) << requestLine;
  }
  ask("GET /" + std::string(100'000, 'a') + " HTTP/1.1");
  EXPECT_EQ(get("/beacons").status, 200u);
}

TEST_F(LocalServerTest, StopsListeningAndKeepsItsCount) {
  start();
  get("/beacon/x");
  server->stop();
  EXPECT_EQ(get("/beacons").status, 0u);
  EXPECT_EQ(server->beacons().size(), 1u);
}

TEST_F(LocalServerTest, ServesEverythingThatTheDemoListNames) {
  options.ads = fs::path(VEMORA_DEMO_FOLDER) / "ads.json";
  options.mediaFolder = fs::path(VEMORA_DEMO_FOLDER) / "media";
  start();
  const JsonValue json = JsonValue::parse(get("/ads.json").body).value_or(nullptr);
  EXPECT_EQ(json["ads"].count(), 3u);
  std::vector<std::string> strings;
  collectStrings(json, strings);
  std::size_t ours = 0;
  for (const std::string& url : strings) {
    if (!url.starts_with(server->origin())) continue;
    ++ours;
    const unsigned status = client->send(url, {"HEAD"}).status;
    EXPECT_EQ(status, url.find("/beacon/") != std::string::npos ? 204u : 200u) << url;
  }
  EXPECT_GT(ours, 40u);
}

}  // namespace
}  // namespace vemora::test
