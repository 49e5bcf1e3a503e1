#include "gtk/GtkTest.h"
#include "gtk/LoopbackServer.h"

#include <webkit/webkit.h>

#include <cmath>

namespace vemora::test {

namespace {

WebKitWebView* webKitOf(const std::shared_ptr<WebView>& view) {
  return WEBKIT_WEB_VIEW(view->layer());
}

class WebViewTest : public testing::Test {
 protected:
  std::shared_ptr<Page> parkedPage(const std::string& html = "<p>page") {
    auto page = Page::create();
    application().keyWindow()->addSubview(page->view);
    page->loadHtmlAndWait(html);
    return page;
  }

  HostWindow host_;
};

}  // namespace

TEST_F(WebViewTest, EvaluatesScriptsWhoseValueCannotLeaveThePage) {
  const auto page = parkedPage();
  EXPECT_FALSE(page->evaluate("window.a = 1; undefined"));
  EXPECT_FALSE(page->evaluate("window.b = 2; Promise.resolve(3)"));
  EXPECT_FALSE(page->evaluate("(() => 1)"));
  EXPECT_FALSE(page->evaluate("document.body"));
  EXPECT_EQ(page->ask("[a, b]"), JsonValue::parse("[1,2]"));
  EXPECT_FALSE(page->evaluate(std::string("window.nul = 'x\0y'.length", 25)));
  EXPECT_EQ(page->ask("nul"), JsonValue(3));
}

TEST_F(WebViewTest, ReportsScriptsThatFail) {
  const auto page = parkedPage();
  const auto thrown = page->evaluate("throw new Error('no such thing')");
  ASSERT_TRUE(thrown);
  EXPECT_NE(thrown->description.find("no such thing"), std::string::npos);
  EXPECT_TRUE(page->evaluate("this is no script"));
  EXPECT_TRUE(page->evaluate("window.c = '\xff\xfe'"));
  EXPECT_TRUE(page->evaluate("window.c = '\xed\xa0\x80'"));
  EXPECT_EQ(page->ask("typeof c"), JsonValue("undefined"));
}

TEST_F(WebViewTest, FailsEvaluationsOfAProcessThatEnded) {
  const auto page = parkedPage();
  std::vector<bool> failed;
  for (int i = 0; i < 3; ++i) {
    page->view->evaluateJavaScript(
        "new Promise(() => {}); while (true);",
        [&](const std::optional<VMRError>& error) { failed.push_back(error.has_value()); });
  }
  webkit_web_view_terminate_web_process(webKitOf(page->view));
  EXPECT_EQ(page->outcome(), "terminated");
  ASSERT_TRUE(waitUntil([&] { return failed.size() == 3; }));
  EXPECT_EQ(failed, std::vector<bool>(3, true));
  EXPECT_TRUE(page->evaluate("1"));
  // A new page comes in a new process.
  page->loadHtmlAndWait("<p>again");
  EXPECT_FALSE(page->evaluate("Promise.resolve()"));
}

TEST_F(WebViewTest, CompletesNothingAfterTheViewIsDestroyed) {
  auto page = parkedPage();
  bool completed = false;
  page->view->evaluateJavaScript("1", [&](const auto&) { completed = true; });
  page->view->evaluateJavaScript("\xff", [&](const auto&) { completed = true; });
  page->view->removeFromSuperview();
  page.reset();
  runFrames();
  EXPECT_FALSE(completed);
}

TEST_F(WebViewTest, DecodesMessagesOfEveryShape) {
  const auto page = parkedPage();
  EXPECT_EQ(page->ask("{id: '7', params: {list: [1, 2.5, true, null]}, big: 9007199254740991}"),
            JsonValue::parse(R"({"id":"7","params":{"list":[1,2.5,true,null]},"big":9007199254740991})"));
  EXPECT_EQ(page->ask("{}"), JsonValue(JsonDictionary{}));
  EXPECT_EQ(page->ask("[]"), JsonValue(std::vector<JsonValue>{}));
  EXPECT_EQ(page->ask("'text'"), JsonValue("text"));
  EXPECT_EQ(page->ask("''"), JsonValue(""));
  EXPECT_EQ(page->ask("'a\\u0000b'"), JsonValue(std::string("a\0b", 3)));
  EXPECT_EQ(page->ask("{t: 'a\\u0000b'}")["t"], JsonValue(std::string("a\0b", 3)));
  EXPECT_EQ(page->ask("'half \\ud800 pair'"), JsonValue("half \xef\xbf\xbd pair"));
  EXPECT_EQ(page->ask("{t: 'half \\udc00'}")["t"], JsonValue("half \xef\xbf\xbd"));
  EXPECT_EQ(page->ask("'\\u{1f600}'"), JsonValue("\xf0\x9f\x98\x80"));
  EXPECT_EQ(page->ask("12"), JsonValue(12));
  EXPECT_EQ(page->ask("true").type(), JsonValue::Type::Boolean);
  EXPECT_TRUE(page->ask("null").isNull());
  EXPECT_TRUE(page->ask("undefined").isNull());
  EXPECT_TRUE(std::isnan(page->ask("NaN").doubleValue()));
  EXPECT_TRUE(std::isinf(page->ask("-Infinity").doubleValue()));
  EXPECT_EQ(page->ask("(() => { const o = {}; o.o = o; return o; })()"), JsonValue("[object Object]"));
  EXPECT_TRUE(
      page->ask("(() => { let o = {}; for (let i = 0; i < 2000; ++i) o = {o}; return o; })()").isString());
  EXPECT_EQ(page->ask("'x'.repeat(1 << 20)").asString()->size(), std::size_t{1} << 20);
}

TEST_F(WebViewTest, ForgetsAHandlerThatWasRemoved) {
  const auto page = parkedPage();
  page->view->configuration().userContentController->removeScriptMessageHandlerForName("test");
  page->view->configuration().userContentController->removeScriptMessageHandlerForName("test");
  EXPECT_TRUE(page->evaluate("window.webkit.messageHandlers.test.postMessage(1)"));
  EXPECT_TRUE(page->messages.empty());
}

TEST_F(WebViewTest, SendsTheRequestsHeadersAndLoadsErrorPages) {
  LoopbackServer server;
  server.serve("/page", "<p>page");
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->load(server.url("/page"),
             {{"Access-Control-Allow-Origin", "*"}, {"Bad\nName", "x"}, {"X-Bad", "a\r\nb: c"}});
  EXPECT_TRUE(page->outcomes.empty());
  EXPECT_EQ(page->outcome(), "finished");
  EXPECT_EQ(page->httpStatus, 200);
  EXPECT_EQ(server.requestHeader("/page", "Access-Control-Allow-Origin"), "*");
  EXPECT_EQ(server.requestHeader("/page", "X-Bad"), "");
  page->load(server.url("/none"));
  EXPECT_EQ(page->outcome(), "finished");
  EXPECT_EQ(page->httpStatus, 404);
}

TEST_F(WebViewTest, DistinguishesFailuresBeforeContentFromLaterOnes) {
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  // A port without a listener, and one that web pages may not use.
  const std::string closed = LoopbackServer().url("/");
  for (const std::string& address : {closed, std::string("http://127.0.0.1:1/"), std::string(),
                                     std::string("no address"), std::string("vemora-unknown://host/"),
                                     std::string("file:///nonexistent"), std::string("http://\xff/")}) {
    page->load(address);
    EXPECT_EQ(page->outcome(), "provisional") << address;
    EXPECT_FALSE(page->lastError->description.empty());
  }

  LoopbackServer server;
  server.serve("/broken", [](SoupServerMessage* message) {
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
    soup_message_headers_set_content_type(headers, "text/html", nullptr);
    soup_message_headers_set_content_length(headers, 100000);
    const std::string start(4096, ' ');
    soup_message_body_append(soup_server_message_get_response_body(message), SOUP_MEMORY_COPY, start.data(),
                             start.size());
    g_signal_connect(message, "wrote-chunk", G_CALLBACK(+[](SoupServerMessage* written, gpointer) {
                       g_socket_close(soup_server_message_get_socket(written), nullptr);
                     }),
                     nullptr);
  });
  server.serve("/file", "bytes", "application/x-unknown");
  page->load(server.url("/file"));
  EXPECT_EQ(page->outcome(), "provisional");
  page->load(server.url("/broken"));
  EXPECT_EQ(page->outcome(), "failed");
  const std::size_t heard = page->outcomes.size();
  runFrames();
  EXPECT_EQ(page->outcomes.size(), heard);
}

TEST_F(WebViewTest, FailsOnceForALoadThatIsReplacedOrStopped) {
  LoopbackServer server;
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  // The request may reach the server before the view is notified that the load began, and a load that has not
  // begun for the view cannot fail.
  int started = 0;
  g_signal_connect(webKitOf(page->view), "load-changed",
                   G_CALLBACK(+[](WebKitWebView*, WebKitLoadEvent event, gpointer count) {
                     if (event == WEBKIT_LOAD_STARTED) ++*static_cast<int*>(count);
                   }),
                   &started);
  const auto loadForEver = [&](const char* path) {
    server.serve(path, [](SoupServerMessage* message) { soup_server_message_pause(message); });
    started = 0;
    page->load(server.url(path));
    return waitUntil([&] { return server.requests(path) == 1 && started == 1; });
  };
  ASSERT_TRUE(loadForEver("/slow"));
  page->loadHtml("<p>other");
  EXPECT_EQ(page->outcome(), "provisional");
  EXPECT_EQ(page->outcome(), "finished");

  ASSERT_TRUE(loadForEver("/slower"));
  page->view->stopLoading();
  EXPECT_EQ(page->outcomes.size(), 2U) << "notified before the call returned";
  EXPECT_EQ(page->outcome(), "provisional");
  // The view outlives this function's variables.
  g_signal_handlers_disconnect_by_data(webKitOf(page->view), &started);
}

TEST_F(WebViewTest, TrustsACertificateForItsHostOnly) {
  LoopbackServer server(LoopbackServer::Security::SelfSigned);
  server.serve("/page", "<p>page");
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->load(server.url("/page"));
  EXPECT_EQ(page->outcome(), "provisional");
  gtk::allowTLSCertificateForHost(server.certificate(), "elsewhere.example");
  page->load(server.url("/page"));
  EXPECT_EQ(page->outcome(), "provisional");
  gtk::allowTLSCertificateForHost(server.certificate(), "127.0.0.1");
  // A process that has already loaded a page is notified a little later.
  EXPECT_TRUE(waitUntil([&] {
    page->load(server.url("/page"));
    return page->outcome() == "finished";
  }));
}

TEST_F(WebViewTest, ForwardsWindowRequestsAndOpensNone) {
  const auto page = parkedPage();
  EXPECT_EQ(page->ask("String(window.open('https://ads.example/a?b=c'))"), JsonValue("null"));
  EXPECT_EQ(page->ask("String(window.open())"), JsonValue("null"));
  page->evaluate(
      "const a = document.createElement('a'); a.href = 'https://ads.example/d'; a.target = '_blank'; "
      "a.click()");
  ASSERT_TRUE(waitUntil([&] { return page->newWindows.size() == 3; }));
  EXPECT_EQ(page->newWindows[0], "https://ads.example/a?b=c");
  EXPECT_EQ(page->newWindows[2], "https://ads.example/d");
}

TEST_F(WebViewTest, ForwardsAlertsAndAnswersConfirmAndPromptWithNo) {
  const auto page = parkedPage();
  // As the SDK does it: the completion runs before the delegate returns.
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(page->evaluate("alert('at once'); window.atOnce = true"));
  EXPECT_EQ(page->ask("atOnce"), JsonValue(true));
  EXPECT_EQ(std::exchange(page->alerts, {}), std::vector<std::string>(3, "at once"));
  page->completeAlerts = false;
  page->view->evaluateJavaScript("alert('first'); window.done = true", {});
  ASSERT_TRUE(waitUntil([&] { return page->alerts.size() == 1; }));
  EXPECT_EQ(page->alerts[0], "first");
  std::exchange(page->alertCompletion, nullptr)();
  EXPECT_EQ(page->ask("done"), JsonValue(true));
  // A completion that is dropped also lets the page continue.
  page->view->evaluateJavaScript("alert('second')", {});
  ASSERT_TRUE(waitUntil([&] { return page->alerts.size() == 2; }));
  page->alertCompletion = nullptr;
  EXPECT_EQ(page->ask("[confirm('?'), prompt('?', 'x')]"), JsonValue::parse("[false,null]"));
}

TEST_F(WebViewTest, MayBeDestroyedInsideItsOwnDelegateCall) {
  auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->whenFinished = [raw = page.get()] {
    raw->view->removeFromSuperview();
    raw->view.reset();
  };
  page->loadHtml("<p>page");
  EXPECT_EQ(page->outcome(), "finished");
  EXPECT_FALSE(page->view);
  runFrames();
}

TEST_F(WebViewTest, ScrollsOnlyWhenEnabled) {
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->view->setScrollEnabled(false);
  page->loadHtmlAndWait("<body style='height: 5000px'>");
  EXPECT_EQ(page->ask("getComputedStyle(document.documentElement).overflowY"), JsonValue("hidden"));
  page->view->setScrollEnabled(true);
  EXPECT_EQ(page->ask("getComputedStyle(document.documentElement).overflowY"), JsonValue("visible"));
}

TEST_F(WebViewTest, KeepsPlayingWhileItMoves) {
  LoopbackServer server;
  char* bytes = nullptr;
  gsize size = 0;
  ASSERT_TRUE(g_file_get_contents(TEST_VIDEO, &bytes, &size, nullptr));
  server.serve("/ad.mp4", std::string(bytes, size), "video/mp4");
  g_free(bytes);
  server.serve("/page",
               "<video autoplay playsinline loop src=/ad.mp4></video><script>const v = "
               "document.querySelector('video')</script>");
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->load(server.url("/page"));
  ASSERT_EQ(page->outcome(), "finished");
  ASSERT_TRUE(waitUntil([&] { return page->ask("v.currentTime").doubleValue() > 0.1; }))
      << *page->ask("String(v.error && v.error.message) + v.readyState").asString();
  const auto ad = host_.adView();
  ad->addSubview(page->view);
  pinEdges(page->view, ad);
  EXPECT_EQ(page->ask("v.paused"), JsonValue(false));
  page->ask("(window.at = v.currentTime, 0)");
  EXPECT_TRUE(waitUntil([&] { return page->ask("v.currentTime != at").boolValue(); }));
  EXPECT_TRUE(page->isAtFullSpeed());
  EXPECT_FALSE(webkit_web_view_get_is_muted(webKitOf(page->view)));
  page->view->removeFromSuperview();
  EXPECT_TRUE(webkit_web_view_get_is_muted(webKitOf(page->view)));
}

TEST_F(WebViewTest, AnimatesAgainAfterZeroSize) {
  const auto page = parkedPage(
      "<script>let frames = 0; (function next() { ++frames; requestAnimationFrame(next) })()</script>");
  host_.adView()->addSubview(page->view);
  const auto isAnimated = [&] {
    const double before = page->ask("frames").doubleValue();
    return waitUntil([&] { return page->ask("frames").doubleValue() > before + 5; });
  };
  page->view->setFrame({0, 0, 300, 200});
  EXPECT_TRUE(isAnimated());
  page->view->setFrame({});
  EXPECT_EQ(page->view->frame(), Rect{});
  runFrames();
  page->view->setFrame({0, 0, 300, 200});
  EXPECT_TRUE(isAnimated());
}

TEST_F(WebViewTest, LeaksNothingWhenCreatedAndDestroyedRepeatedly) {
  constexpr int kLives = 12;
  int gone = 0;
  const auto countGone = [](gpointer count, GObject*) { ++*static_cast<int*>(count); };
  for (int life = 0; life < kLives; ++life) {
    auto page = parkedPage();
    g_object_weak_ref(G_OBJECT(webKitOf(page->view)), countGone, &gone);
    host_.adView()->addSubview(page->view);
    pinEdges(page->view, host_.adView());
    page->view->evaluateJavaScript("new Promise(() => {})", [](const auto&) {});
    page->load("about:blank");
    page->view->removeFromSuperview();
  }
  EXPECT_TRUE(waitUntil([&] { return gone == kLives; }));
}

TEST(UserAgent, IsThatOfTheWebView) {
  std::optional<std::string> agent;
  application().webViewUserAgent([&](const auto& answer) { agent = answer; });
  ASSERT_TRUE(agent);
  const auto page = Page::create();
  page->loadHtmlAndWait("<p>page");
  EXPECT_EQ(page->ask("navigator.userAgent"), JsonValue(agent));
}

}  // namespace vemora::test
