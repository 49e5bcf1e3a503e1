#include "core/page/VMRWebViewRuntime.h"
#include "gtk/ControllerServer.h"
#include "gtk/GtkTest.h"

#include <webkit/webkit.h>

#include <algorithm>
#include <mutex>

/// What frames, plain http and navigations of a page come to.
namespace vemora::test {
namespace {

/// Tries to post from a frame in every way in which a script can get at a window, and then counts its
/// attempts to the page.
constexpr char kHostileFrame[] = R"(<script>
let attempts = 0;
const root = () => document.documentElement;
const tryPost = (how, target) => {
  ++attempts;
  try { target.webkit.messageHandlers.test.postMessage("frame: " + how); } catch {}
};
const inside = "<script>try { webkit.messageHandlers.test.postMessage('frame: inside'); } catch {}<\/script>";
const frame = (how, properties) => {
  const element = document.createElement("iframe");
  element.onload = () => tryPost(how + " loaded", element.contentWindow);
  Object.assign(element, properties);
  root().append(element);
  tryPost(how, element.contentWindow);
  return element;
};
tryPost("direct", window);
frame("empty", {});
frame("about:blank", { src: "about:blank" });
frame("srcdoc", { srcdoc: inside });
frame("script address", { src: "javascript:'<p>'" });
frame("blob", { src: URL.createObjectURL(new Blob([inside], { type: "text/html" })) });
frame("data", { src: "data:text/html," + inside });
frame("same origin", { src: "/plain" });
frame("image", { src: "/image.svg" });
frame("sandboxed", { sandbox: "allow-scripts", srcdoc: inside });
const moved = frame("moved", {});
root().append(moved);
tryPost("after the move", moved.contentWindow);
// A sandboxed frame may not touch the documents of its own frames.
try {
  const written = frame("written", {});
  written.contentDocument.open();
  written.contentDocument.write(inside);
  tryPost("while written", written.contentWindow);
  written.contentDocument.close();
} catch {}
setTimeout(() => {
  tryPost("later", window);
  parent.postMessage({ attempts, seen: String(window.webkit && window.webkit.messageHandlers) }, "*");
  document.open();
  document.write("<p>" + inside);
  document.close();
  tryPost("reopened", window);
}, 500);
</script>)";

constexpr char kSvg[] = R"(<svg xmlns="http://www.w3.org/2000/svg"><script>
try { webkit.messageHandlers.test.postMessage("frame: svg"); } catch {}
</script></svg>)";

class PageBoundaryTest : public ::testing::Test {
 protected:
  static std::shared_ptr<Page> loadedPage(const std::string& url) {
    auto page = Page::create();
    application().keyWindow()->addSubview(page->view);
    page->load(url);
    EXPECT_EQ(page->outcome(), "finished");
    return page;
  }

  HostWindow host_;
};

TEST_F(PageBoundaryTest, FramesDoNotReachTheHandlersUnlessThePagePassesMessagesOn) {
  LoopbackServer own;
  LoopbackServer foreign;
  foreign.serve("/frame", kHostileFrame);
  foreign.serve("/plain", "<p>plain");
  foreign.serve("/image.svg", kSvg, "image/svg+xml");
  own.serve("/page",
            "<script>onmessage = event => webkit.messageHandlers.test.postMessage(event.data)</script>"
            "<iframe src='" +
                foreign.url("/frame") +
                "'></iframe>"
                "<iframe sandbox=allow-scripts src='" +
                foreign.url("/frame") + "'></iframe>");
  const auto page = loadedPage(own.url("/page"));
  ASSERT_TRUE(waitUntil([&] { return page->messages.size() >= 2; }, 20)) << page->messages.size();
  runFor(0.5);
  for (const auto& message : page->messages) {
    EXPECT_GT(message.body["attempts"].integerValue(), 15) << message.body.serialized().value_or("");
    EXPECT_EQ(message.body["seen"], JsonValue("undefined"));
  }
  EXPECT_EQ(page->messages.size(), 2U);
}

TEST_F(PageBoundaryTest, HandlersLookLikeThoseOfTheWebView) {
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->loadHtmlAndWait("<p>page");
  EXPECT_FALSE(page->evaluate(R"(
    const { messageHandlers } = window.webkit;
    const { test } = messageHandlers;
    const { postMessage } = test;
    postMessage("unbound");
    postMessage(["test" in messageHandlers, test === messageHandlers.test, String(test), typeof messageHandlers.other]);
    undefined)"));
  ASSERT_TRUE(waitUntil([&] { return page->messages.size() == 2; }));
  EXPECT_EQ(page->messages[0].body, JsonValue("unbound"));
  EXPECT_EQ(page->messages[1].body.serialized(), R"([true,true,"[object UserMessageHandler]","undefined"])");
}

TEST_F(PageBoundaryTest, HandlersOutliveTheGarbageOfAPage) {
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->loadHtmlAndWait("<p>page");
  // A collection comes after some hundred megabytes, in a later turn of the page's event loop.
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(page->ask("Array.from({ length: 300000 }, (_, i) => ({ i })).length"), JsonValue(300000))
        << round;
  }
}

TEST_F(PageBoundaryTest, ThePageAndItsFramesLoadNothingOverPlainHttp) {
  LoopbackServer plain;
  ControllerServer secure("");
  const std::string sources[] = {plain.url(""), "http" + secure.url("").substr(5)};
  const auto mediaFrom = [&](const std::string& name) {
    std::string html;
    for (const auto& source : sources) {
      html += "<img src='" + source + "/image-" + name + "'><video preload=auto src='" + source + "/video-" +
              name + "'></video>";
    }
    return html + "<p style='background: url(" + plain.url("/style-" + name) + ")'>text";
  };
  const auto redirect = [&](SoupServerMessage* message) {
    soup_server_message_set_redirect(message, SOUP_STATUS_FOUND, plain.url("/redirected").c_str());
  };
  secure.serve("/redirect", redirect);
  secure.serve("/frame", mediaFrom("frame"));
  secure.serve("/page", mediaFrom("page") +
                            "<img src=/redirect><video src=/redirect></video><iframe src='http" +
                            secure.url("/frame").substr(5) + "'></iframe>");
  // It never finishes: the plain server waits for the rest of what it takes for a request.
  const auto page = Page::create(true);
  application().keyWindow()->addSubview(page->view);
  page->load(secure.url("/page"));
  EXPECT_TRUE(waitUntil([&] {
    return secure.requests("/image-page") == 1 && secure.requests("/video-page") >= 1 &&
           secure.requests("/image-frame") == 1 && secure.requests("/video-frame") >= 1 &&
           secure.requests("/redirect") == 2;
  })) << "what has an address with http is requested over https";
  runFrames();
  for (const char* path : {"/image-page", "/video-page", "/style-page", "/image-frame", "/video-frame",
                           "/style-frame", "/redirected"}) {
    EXPECT_EQ(plain.requests(path), 0) << path;
  }
}

/// Posts the name of its document, and that it is still there.
constexpr char kController[] = R"(<script>
const name = Math.random();
setInterval(() => webkit.messageHandlers.Vemora.postMessage({ id: "1", method: "alive", params: { name } }), 20);
window.VemoraProxy = { bridge: { onMessage() {} } };
</script><a id=away href=/other target=_top>away</a>)";

class LastMessage final : public VMRRuntimeMessageHandler {
 public:
  bool onMessage(const std::shared_ptr<VMRRpc>& message) override {
    const std::lock_guard lock(mutex_);
    ++count_;
    document_ = message ? message->params()["name"] : JsonValue();
    return true;
  }
  int count() const {
    const std::lock_guard lock(mutex_);
    return count_;
  }
  JsonValue document() const {
    const std::lock_guard lock(mutex_);
    return document_;
  }

 private:
  mutable std::mutex mutex_;
  int count_ = 0;
  JsonValue document_;
};

class ControllerNavigationTest : public ::testing::Test {
 protected:
  ControllerNavigationTest() {
    plain_.serve("/other", kController);
    server_.serve("/other", kController);
    server_.serve("/to-http", redirectTo(plain_.url("/other")));
  }

  static LoopbackServer::Handler redirectTo(const std::string& url) {
    return [url](SoupServerMessage* message) {
      soup_server_message_set_redirect(message, SOUP_STATUS_FOUND, url.c_str());
    };
  }
  void load() {
    runtime_ = VMRWebViewRuntime::init();
    runtime_->registerObserver(last_);
    application().keyWindow()->addSubview(runtime_->getWebView());
    ASSERT_TRUE(waitUntil([&] { return runtime_->loaded()->isDone(); }));
  }
  bool isAlive() {
    const int before = last_->count();
    return waitUntil([&] { return last_->count() > before + 2; }, 5);
  }
  void run(const std::string& script) { runtime_->getWebView()->evaluateJavaScript(script, {}); }
  /// A page that is alive posts every 20 ms.
  bool isSilent() {
    const int before = last_->count();
    runFor(0.4);
    return last_->count() == before;
  }
  static bool logged(const std::string& text) {
    const auto lines = takeWarnings();
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
  }

  LoopbackServer plain_;
  ControllerServer server_{kController};
  HostWindow host_;
  std::shared_ptr<LastMessage> last_ = std::make_shared<LastMessage>();
  std::shared_ptr<VMRWebViewRuntime> runtime_;
};

TEST_F(ControllerNavigationTest, TheLoadFollowsRedirectsOverHttpsOnly) {
  server_.serve(ControllerServer::kPagePath, redirectTo(server_.url("/other")));
  load();
  EXPECT_FALSE(runtime_->loaded()->error());
  EXPECT_TRUE(isAlive());

  for (const char* path : {"/to-http", "/other"}) {
    const auto address = path == std::string("/other") ? plain_.url(path) : server_.url(path);
    server_.serve(ControllerServer::kPagePath, redirectTo(address));
    load();
    EXPECT_TRUE(runtime_->loaded()->error());
    EXPECT_TRUE(logged("Controller page not allowed to navigate to http://127.0.0.1"));
    EXPECT_TRUE(isSilent());
  }
  EXPECT_EQ(plain_.requests("/other"), 0);
}

TEST_F(ControllerNavigationTest, ThePageKeepsItsDocument) {
  load();
  ASSERT_TRUE(isAlive());
  const JsonValue document = last_->document();
  run("location.href = '" + plain_.url("/other") + "'");
  EXPECT_TRUE(
      waitUntil([&] { return logged("Controller page not allowed to navigate to http://127.0.0.1"); }));
  int ended = 0;
  g_signal_connect(runtime_->getWebView()->layer(), "load-changed",
                   G_CALLBACK(+[](void*, WebKitLoadEvent event, int* count) {
                     if (event == WEBKIT_LOAD_FINISHED) ++*count;
                   }),
                   &ended);
  const char* const attempts[] = {
      "location.href = '/to-http'",
      "location.href = '/other'",
      "location.reload()",
      "document.getElementById('away').click()",
      "location.href = 'data:text/html,x'",
      "location.href = URL.createObjectURL(new Blob(['x'], { type: 'text/html' }))",
      "const f = document.createElement('form'); f.method = 'post'; f.action = '/other'; "
      "document.body.append(f); "
      "f.submit()",
      "const i = document.createElement('iframe'); i.srcdoc = '<script>top.location = \"/other\"</' + "
      "'script>'; "
      "document.body.append(i)",
  };
  for (const char* attempt : attempts) {
    const int before = ended;
    run(attempt);
    EXPECT_TRUE(waitUntil([&] { return ended > before; }, 10)) << attempt;
    EXPECT_TRUE(isAlive()) << attempt;
    EXPECT_EQ(last_->document(), document) << attempt;
  }
  EXPECT_EQ(plain_.requests("/other"), 0);
  EXPECT_TRUE(takeWarnings().empty()) << "the first refusal alone is an error";
  run("location.hash = 'part'; history.pushState(1, '', '/pushed')");
  EXPECT_TRUE(isAlive());
  // The view outlives this function's variables.
  g_signal_handlers_disconnect_by_data(runtime_->getWebView()->layer(), &ended);
}

TEST_F(ControllerNavigationTest, AnotherDocumentHasNoBridge) {
  load();
  ASSERT_TRUE(isAlive());
  run("location.href = 'about:blank'");
  ASSERT_TRUE(waitUntil([&] { return logged("Controller page replaced by another document"); }));
  run("window.webkit.messageHandlers.Vemora.postMessage({ id: '1', method: 'alive' })");
  EXPECT_TRUE(isSilent());
}

}  // namespace
}  // namespace vemora::test
