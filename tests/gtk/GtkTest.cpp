#include "gtk/GtkTest.h"

namespace vemora::test {

using gtk::GFree;
using gtk::GObjectPtr;

void runFor(double seconds) {
  waitUntil([] { return false; }, seconds);
}

void runFrames() {
  runFor(0.1);
}

void runTool(const std::vector<std::string>& command) {
  std::vector<const char*> arguments;
  for (const auto& argument : command) arguments.push_back(argument.c_str());
  arguments.push_back(nullptr);
  GError* error = nullptr;
  const auto process = GObjectPtr<GSubprocess>::adopt(
      g_subprocess_newv(arguments.data(), G_SUBPROCESS_FLAGS_STDERR_SILENCE, &error));
  ASSERT_EQ(error, nullptr) << error->message;
  bool ended = false;
  g_subprocess_wait_async(
      process.get(), nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) {
        g_subprocess_wait_finish(G_SUBPROCESS(source), result, nullptr);
        *static_cast<bool*>(data) = true;
      },
      &ended);
  ASSERT_TRUE(waitUntil([&] { return ended; }));
}

HostWindow::HostWindow(int width, int height, bool present)
    : window_(GObjectPtr<GtkWindow>::retain(GTK_WINDOW(gtk_window_new()))),
      content_(GObjectPtr<GtkWidget>::sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, 0))),
      adWidget_(GObjectPtr<GtkWidget>::sink(gtk::newAdView())) {
  gtk_window_set_default_size(window_.get(), width, height);
  gtk_window_set_decorated(window_.get(), FALSE);
  gtk_widget_set_vexpand(adWidget_.get(), TRUE);
  gtk_box_append(GTK_BOX(content_.get()), gtk_label_new("An app"));
  gtk_box_append(GTK_BOX(content_.get()), adWidget_.get());
  gtk_window_set_child(window_.get(), content_.get());
  if (!present) return;
  gtk_window_present(window_.get());
  EXPECT_TRUE(waitUntil([this] { return gtk_widget_get_width(adWidget_.get()) > 0; }));
}

HostWindow::~HostWindow() {
  destroy();
}

void HostWindow::destroy() {
  content_.reset();
  adWidget_.reset();
  if (window_) gtk_window_destroy(window_.get());
  window_.reset();
}

std::string dataUrl(const std::string& html) {
  const std::unique_ptr<char, GFree<g_free>> encoded(
      g_base64_encode(reinterpret_cast<const guchar*>(html.data()), html.size()));
  return std::string("data:text/html;charset=utf-8;base64,") + encoded.get();
}

std::shared_ptr<Page> Page::create(bool upgradeToHTTPS) {
  auto page = std::make_shared<Page>();
  WebViewConfiguration configuration;
  configuration.userContentController = application().createUserContentController();
  configuration.allowsInlineMediaPlayback = true;
  configuration.mediaTypesRequireUserAction = false;
  configuration.upgradeToHTTPS = upgradeToHTTPS;
  // Weakly, as the runtime does it: a controller that holds the page that holds the view would keep all
  // three.
  struct Forward : ScriptMessageHandler {
    explicit Forward(std::weak_ptr<Page> to) : page(std::move(to)) {}
    void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) override {
      if (const auto strong = page.lock()) strong->userContentControllerDidReceiveScriptMessage(message);
    }
    std::weak_ptr<Page> page;
  };
  configuration.userContentController->addScriptMessageHandler(std::make_shared<Forward>(page), "test");
  page->view = application().createWebView({}, configuration);
  page->view->setNavigationDelegate(page);
  page->view->setUIDelegate(page);
  return page;
}

void Page::loadHtml(const std::string& html) {
  load(dataUrl(html));
}

void Page::load(const std::string& url, std::vector<std::pair<std::string, std::string>> headers) {
  URLRequest request;
  request.url = url;
  request.headers = std::move(headers);
  view->loadRequest(request);
}

std::string Page::outcome() {
  if (!waitUntil([this] { return outcomes.size() > heard_; })) return "nothing";
  return outcomes[heard_++];
}

void Page::loadHtmlAndWait(const std::string& html) {
  loadHtml(html);
  ASSERT_EQ(outcome(), "finished");
}

JsonValue Page::ask(const std::string& expression) {
  const std::size_t before = messages.size();
  view->evaluateJavaScript("window.webkit.messageHandlers.test.postMessage(" + expression + ")", {});
  if (!waitUntil([&] { return messages.size() > before; })) return "no answer";
  return messages.back().body;
}

double Page::timerSpeed(double seconds) {
  ask("(clearInterval(window.timer), window.ticks = 0, window.timer = setInterval(() => ++ticks, 10), 0)");
  runFor(seconds);
  return ask("ticks").doubleValue() / (seconds * 100);
}

bool Page::isAtFullSpeed() {
  for (int sample = 0; sample < 10; ++sample) {
    if (timerSpeed() > 0.2) return true;
  }
  return false;
}

std::optional<VMRError> Page::evaluate(const std::string& script) {
  // Shared, since a completion may come after this has given up.
  struct Result {
    int completions = 0;
    std::optional<VMRError> error;
  };
  const auto result = std::make_shared<Result>();
  view->evaluateJavaScript(script, [result](const std::optional<VMRError>& error) {
    ++result->completions;
    result->error = error;
  });
  EXPECT_EQ(result->completions, 0) << "completed before the call returned";
  EXPECT_TRUE(waitUntil([&] { return result->completions > 0; })) << "never completed";
  runFrames();
  EXPECT_EQ(result->completions, 1);
  return result->error;
}

void Page::userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) {
  messages.push_back(message);
}

void Page::webViewDidFinishNavigation() {
  outcomes.push_back("finished");
  if (whenFinished) whenFinished();
}

void Page::webViewDidFailProvisionalNavigation(const VMRError& error) {
  lastError = error;
  outcomes.push_back("provisional");
}

void Page::webViewDidFailNavigation(const VMRError& error) {
  lastError = error;
  outcomes.push_back("failed");
}

void Page::webViewWebContentProcessDidTerminate() {
  outcomes.push_back("terminated");
}

void Page::webViewCreateWebView(const std::optional<std::string>& url) {
  newWindows.push_back(url);
}

void Page::webViewRunJavaScriptAlertPanel(std::string_view message, std::function<void()> completion) {
  alerts.emplace_back(message);
  if (completeAlerts) {
    completion();
  } else {
    alertCompletion = std::move(completion);
  }
}

std::shared_ptr<LayoutConstraint> constrain(const std::shared_ptr<View>& first,
                                            const std::shared_ptr<View>& second, LayoutAttribute attribute,
                                            double multiplier) {
  auto constraint = std::make_shared<LayoutConstraint>();
  constraint->firstItem = first;
  constraint->firstAttribute = attribute;
  constraint->secondItem = second;
  constraint->secondAttribute = attribute;
  constraint->multiplier = multiplier;
  second->addConstraint(constraint);
  return constraint;
}

void pinEdges(const std::shared_ptr<View>& view, const std::shared_ptr<View>& superview) {
  view->setTranslatesAutoresizingMaskIntoConstraints(false);
  for (const auto edge :
       {LayoutAttribute::Leading, LayoutAttribute::Trailing, LayoutAttribute::Top, LayoutAttribute::Bottom}) {
    constrain(view, superview, edge);
  }
}

}  // namespace vemora::test
