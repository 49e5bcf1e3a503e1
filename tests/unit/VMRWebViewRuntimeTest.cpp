#include "CoreTest.h"
#include "core/page/VMRWebViewRuntime.h"

#include <atomic>
#include <mutex>

namespace vemora {
namespace {

using testing::FakeView;
using testing::FakeWebView;

constexpr char kPage[] = "https://cdn.vemora.example/mobile/sdk/v4/native/VMRWebViewRuntime.html";

class Visibility final : public VMRRuntimeMessageHandler {
 public:
  bool onMessage(const std::shared_ptr<VMRRpc>& message) override {
    std::lock_guard lock(mutex_);
    messages_.push_back(message);
    onMainThread_ = onMainThread_ || dispatch().isMainThread();
    return true;
  }
  void onShow() override { note('s'); }
  void onHide() override { note('h'); }

  std::string takeChanges() {
    std::lock_guard lock(mutex_);
    return std::exchange(changes_, {});
  }
  std::vector<std::shared_ptr<VMRRpc>> messages() {
    std::lock_guard lock(mutex_);
    return messages_;
  }
  bool wasOnMainThread() const { return onMainThread_; }

 private:
  void note(char change) {
    std::lock_guard lock(mutex_);
    changes_ += change;
    onMainThread_ = onMainThread_ || dispatch().isMainThread();
  }

  std::mutex mutex_;
  std::string changes_;
  std::vector<std::shared_ptr<VMRRpc>> messages_;
  std::atomic<bool> onMainThread_{false};
};

class VMRWebViewRuntimeTest : public CoreTest {
 protected:
  VMRWebViewRuntimeTest() { runtime_->registerObserver(seen_); }

  std::shared_ptr<FakeView> addTo(const std::shared_ptr<FakeView>& parent, const Rect& frame) {
    auto view = std::make_shared<FakeView>(frame);
    parent->addSubview(view);
    return view;
  }
  /// Puts the web view there and says whether it then counts as visible.
  bool isVisibleAt(const std::shared_ptr<FakeView>& parent, const Rect& frame) {
    view_->setFrame(frame);
    parent->addSubview(view_);
    const bool visible = runtime_->isVisible();
    view_->removeFromSuperview();
    settle();
    return visible;
  }
  const std::shared_ptr<FakeView> window() { return application().window(); }

  std::shared_ptr<VMRWebViewRuntime> runtime_ = VMRWebViewRuntime::init();
  std::shared_ptr<FakeWebView> view_ = application().lastWebView();
  std::shared_ptr<Visibility> seen_ = std::make_shared<Visibility>();
};

TEST_F(VMRWebViewRuntimeTest, BeginsLoadingThePageWithItsConfiguration) {
  ASSERT_EQ(view_->requests().size(), 1u);
  EXPECT_EQ(view_->requests()[0].url, kPage);
  const std::vector<std::pair<std::string, std::string>> headers = {{"Access-Control-Allow-Origin", "*"}};
  EXPECT_EQ(view_->requests()[0].headers, headers);
  EXPECT_EQ(view_->journal(),
            (std::vector<std::string>{"navigationDelegate", "uiDelegate", std::string("load ") + kPage}));
  EXPECT_TRUE(view_->configuration().allowsInlineMediaPlayback);
  EXPECT_FALSE(view_->configuration().mediaTypesRequireUserAction);
  EXPECT_EQ(view_->contentController().names(), (std::vector<std::string>{"Vemora", "VemoraLog"}));
  EXPECT_EQ(view_->contentController().handlerNamed("Vemora"),
            view_->contentController().handlerNamed("VemoraLog"));
  EXPECT_FALSE(view_->isScrollEnabled());
  EXPECT_EQ(view_->frame(), Rect{});
  EXPECT_FALSE(runtime_->loaded()->isDone());

  platform().fakeBundle().main["VemoraControllerHost"] = "ads.example:8443";
  const auto other = VMRWebViewRuntime::init();
  EXPECT_EQ(application().lastWebView()->requests()[0].url,
            "https://ads.example:8443/mobile/sdk/v4/native/VMRWebViewRuntime.html");
}

TEST_F(VMRWebViewRuntimeTest, EvaluatesMessagesOnTheMainThread) {
  ScriptedPage page(view_);
  const std::string text = "quotes \" ' and \n newlines \xe2\x80\xa8 </script>";
  const auto message = VMRRpc::initWithMethod("m", JsonValue::object({{"text", text}}));
  runtime_->postMessage(message, nullptr);
  EXPECT_TRUE(view_->scripts().empty());
  settle();
  EXPECT_EQ(view_->scripts()[0],
            "window.VemoraProxy.bridge.onMessage(JSON.stringify(" + message->jsonString() + "));");
  EXPECT_EQ(page.calls()[0].params["text"], JsonValue(text)) << "posted even before the page has loaded";
}

TEST_F(VMRWebViewRuntimeTest, SendsAKeyThatLiteralsTakeForThePrototypeAsData) {
  const auto message = VMRRpc::initWithMethod("m", json(R"({"__proto__":"value"})"));
  runtime_->postMessage(message, nullptr);
  settle();
  EXPECT_EQ(view_->scripts()[0], "window.VemoraProxy.bridge.onMessage(JSON.stringify(JSON.parse(" +
                                     *JsonValue(message->jsonString()).serialized() + ")));");
}

TEST_F(VMRWebViewRuntimeTest, LogsAndReportsFailedScripts) {
  ScriptedPage page(view_);
  page.failScripts(VMRError{"WebKit", 4, "A JavaScript exception occurred", {}, {}, nullptr});
  std::vector<VMRError> errors;
  const auto message = VMRRpc::initWithMethod("m", nullptr);
  runtime_->postMessage(message, [&](const VMRError& error) { errors.push_back(error); });
  runtime_->postMessage(message, nullptr);
  settle();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].code, 4);
  EXPECT_EQ(system().countLines("VEMORA ERROR: FAILED JS EVAL: " + view_->scripts()[0] +
                                "\nA JavaScript exception occurred (WebKit 4)"),
            2u);
}

TEST_F(VMRWebViewRuntimeTest, KeepsTheControllerInItsDocumentAndOnHttps) {
  const std::string refused = "VEMORA ERROR: Controller page not allowed to navigate to ";
  EXPECT_TRUE(view_->configuration().upgradeToHTTPS);
  EXPECT_TRUE(view_->mayNavigateTo("HTTPS://other.example/page"));
  EXPECT_FALSE(view_->mayNavigateTo("http://cdn.vemora.example/page?user=secret"));
  EXPECT_EQ(system().countLines(refused + "http://cdn.vemora.example"), 1u);
  view_->commitNavigation();
  for (const char* address :
       {kPage, "https://other.example/", "data:text/html,x", "about:blank", "no address"}) {
    EXPECT_FALSE(view_->mayNavigateTo(address)) << address;
  }
  view_->finishNavigation();
  EXPECT_TRUE(view_->post("Vemora", json(R"({"id":"1","method":"event"})")));
}

TEST_F(VMRWebViewRuntimeTest, LogsRefusedNavigationsWithoutTheirAddressAndOnceAsAnError) {
  Vemora::debugMode(true);
  view_->finishNavigation();
  for (int i = 0; i < 3; ++i) EXPECT_FALSE(view_->mayNavigateTo("https://other.example/?user=secret"));
  Vemora::debugMode(false);
  const std::string line = "Controller page not allowed to navigate to https://other.example";
  EXPECT_EQ(system().countLines("VEMORA ERROR: " + line), 1u);
  EXPECT_EQ(system().countLines("VEMORA LOG: " + line), 2u);
}

TEST_F(VMRWebViewRuntimeTest, TakesTheBridgeFromADocumentThatReplacesTheController) {
  view_->finishNavigation();
  ASSERT_TRUE(view_->post("Vemora", json(R"({"id":"1","method":"event"})")));
  view_->commitNavigation();
  EXPECT_FALSE(view_->post("Vemora", json(R"({"id":"1","method":"event"})")));
  EXPECT_FALSE(view_->post("VemoraLog", JsonValue("line")));
  EXPECT_EQ(system().countLines("VEMORA ERROR: Controller page replaced by another document"), 1u);
}

TEST_F(VMRWebViewRuntimeTest, HandsPageMessagesToTheObserversInTheBackground) {
  view_->post("Vemora", json(R"({"id":"1","method":"event","params":{"event":"AdStarted"}})"));
  view_->post("Vemora", json(R"({"id":12,"method":"event"})"));
  settle();
  const auto messages = seen_->messages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ((messages[0] == nullptr) + (messages[1] == nullptr), 1)
      << "text that is not a message is dispatched as well";
  EXPECT_FALSE(seen_->wasOnMainThread());
}

TEST_F(VMRWebViewRuntimeTest, LogsPageLinesAndOddBodies) {
  view_->post("VemoraLog", "hello");
  view_->post("VemoraLog", json(R"({"a":[1]})"));
  view_->post("Vemora", R"({"method":"ping"})");
  view_->post("Vemora", json("[1]"));
  view_->post("Vemora", 5);
  view_->post("Vemora", nullptr);
  const testing::FakeUserContentController& controller = view_->contentController();
  controller.handlerNamed("Vemora")->userContentControllerDidReceiveScriptMessage({"vemoralog", "any case"});
  controller.handlerNamed("Vemora")->userContentControllerDidReceiveScriptMessage(
      {"Other", json(R"({"method":"x"})")});
  settle();
  for (const char* line :
       {"JS LOG - hello", R"(JS LOG - {"a":[1]})", R"(JS Invalid message body - {"method":"ping"})",
        "JS Invalid message body - [1]", "JS Invalid message body - 5", "JS Invalid message body - (null)",
        "JS LOG - any case"}) {
    EXPECT_TRUE(logged(line)) << line;
  }
  ASSERT_EQ(seen_->messages().size(), 1u) << "any name but the log's is the bridge's";
  EXPECT_TRUE(seen_->messages()[0]->isKindOf("x"));
}

TEST_F(VMRWebViewRuntimeTest, NeedsTwentyPointsEachWay) {
  EXPECT_TRUE(isVisibleAt(window(), {0, 0, 20, 20}));
  EXPECT_FALSE(isVisibleAt(window(), {0, 0, 200, 19.99}));
  EXPECT_FALSE(isVisibleAt(window(), {0, 0, 19.99, 200}));
  EXPECT_FALSE(runtime_->isVisible()) << "out of the window";
}

TEST_F(VMRWebViewRuntimeTest, NeedsHalfOfItsAreaInsideEverySuperview) {
  EXPECT_TRUE(isVisibleAt(window(), {-50, 0, 100, 100}));
  EXPECT_FALSE(isVisibleAt(window(), {-50.1, 0, 100, 100}));
  EXPECT_FALSE(isVisibleAt(window(), {400, 0, 100, 100}));
  // Each of the two edges leaves enough; both together do not.
  const auto outer = addTo(window(), {0, -30, 300, 100});
  const auto inner = addTo(outer, {0, 0, 300, 300});
  EXPECT_TRUE(isVisibleAt(inner, {0, 0, 100, 100}));
  EXPECT_FALSE(isVisibleAt(inner, {-40, 0, 100, 100}));
  // An ancestor of a large superview clips, too.
  const auto strip = addTo(window(), {0, 0, 300, 49});
  EXPECT_FALSE(isVisibleAt(addTo(strip, {0, 0, 300, 300}), {0, 0, 100, 100}));
}

TEST_F(VMRWebViewRuntimeTest, NotifiesOfTransitionsAtOnce) {
  view_->setFrame({0, 0, 100, 100});
  EXPECT_EQ(seen_->takeChanges(), "") << "there is no initial announcement";
  window()->addSubview(view_);
  settle();
  EXPECT_EQ(seen_->takeChanges(), "s");
  view_->setHidden(true);
  settle();
  EXPECT_EQ(seen_->takeChanges(), "h");
  view_->setHidden(false);
  settle();
  view_->setHidden(false);
  settle();
  EXPECT_EQ(seen_->takeChanges(), "s");
  view_->setFrame({0, 0, 10, 10});
  settle();
  EXPECT_EQ(seen_->takeChanges(), "h") << "after the layout, without waiting for the poll";
  view_->setFrame({0, 0, 100, 100});
  settle();
  EXPECT_EQ(seen_->takeChanges(), "s");
  view_->removeFromSuperview();
  settle();
  EXPECT_EQ(seen_->takeChanges(), "h");
  EXPECT_FALSE(seen_->wasOnMainThread());
}

TEST_F(VMRWebViewRuntimeTest, PollsForWhatNoObserverReports) {
  view_->setFrame({0, 0, 100, 100});
  window()->addSubview(view_);
  view_->setLayoutObserver({});
  settle();
  seen_->takeChanges();
  view_->setFrame({0, 0, 10, 10});
  settle();
  EXPECT_EQ(seen_->takeChanges(), "");
  advance(1);
  EXPECT_EQ(seen_->takeChanges(), "h");
}

TEST_F(VMRWebViewRuntimeTest, AlreadyCountsAsVisibleWhenItSaysSo) {
  struct Asking final : VMRRuntimeMessageHandler {
    explicit Asking(VMRRuntime& channel) : runtime(channel) {}
    void onShow() override { wasVisible = runtime.isVisible(); }
    VMRRuntime& runtime;
    std::atomic<bool> wasVisible{false};
  };
  const auto asking = std::make_shared<Asking>(*runtime_);
  runtime_->registerObserver(asking);
  view_->setFrame({0, 0, 100, 100});
  window()->addSubview(view_);
  settle();
  EXPECT_TRUE(asking->wasVisible);
}

TEST_F(VMRWebViewRuntimeTest, ClosesInSevenStepsAndKeepsTheLogHandler) {
  view_->setFrame({0, 0, 100, 100});
  window()->addSubview(view_);
  settle();
  seen_->takeChanges();
  const std::size_t before = view_->journal().size();
  std::thread([&] { runtime_->close(); }).join();
  EXPECT_TRUE(runtime_->getWebView()) << "on the main queue, not at once";
  settle();
  const std::vector<std::string> steps(view_->journal().begin() + static_cast<std::ptrdiff_t>(before),
                                       view_->journal().end());
  EXPECT_EQ(steps, (std::vector<std::string>{"navigationDelegate null", "uiDelegate null", "stopLoading",
                                             "load about:blank"}));
  EXPECT_EQ(view_->contentController().names(), std::vector<std::string>{"VemoraLog"});
  EXPECT_FALSE(view_->superview());
  EXPECT_EQ(view_->observerCount(), 0u);
  EXPECT_FALSE(runtime_->getWebView());
  EXPECT_EQ(seen_->takeChanges(), "h");
  EXPECT_FALSE(runtime_->loaded()->isDone());
  EXPECT_EQ(runtime_->observers().size(), 1u);

  runtime_->close();
  const auto late = runtime_->exec(VMRRpc::initWithMethod("late", nullptr));
  advance(3);
  EXPECT_EQ(seen_->takeChanges(), "");
  runtime_->loaded()->resolve(true);
  advance(6);
  EXPECT_EQ(late->error()->failureReason, "Timeout was reached") << "a closed page does not answer";
}

TEST_F(VMRWebViewRuntimeTest, IsDestroyedWhileItsPageKeepsPosting) {
  const std::weak_ptr<VMRWebViewRuntime> weak = runtime_;
  runtime_ = nullptr;
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(view_->observerCount(), 0u);
  EXPECT_TRUE(view_->post("Vemora", json(R"({"method":"ping"})")));
  view_->finishNavigation();
  view_->terminateProcess();
  view_->setHidden(true);
  advance(5);
  EXPECT_EQ(platform().fakeDispatch().pendingTimers(), 0u) << "the visibility poll has ended";
}

TEST_F(VMRWebViewRuntimeTest, MayBeDestroyedOnAnyThread) {
  window()->addSubview(view_);
  view_ = nullptr;
  dispatch().detachNewThread([runtime = std::move(runtime_)]() mutable { runtime = nullptr; });
  settle();
  EXPECT_EQ(application().lastWebView()->observerCount(), 0u);
  application().lastWebView()->removeFromSuperview();
  EXPECT_FALSE(application().lastWebView());
}

TEST_F(VMRWebViewRuntimeTest, SurvivesItsProcessBeforeAndAfterTheLoad) {
  view_->terminateProcess();
  EXPECT_TRUE(runtime_->loaded()->isCancelled());
  const auto future = runtime_->exec(VMRRpc::initWithMethod("m", nullptr));
  settle();
  ASSERT_TRUE(future->error());
  EXPECT_EQ(future->error()->underlyingError->domain, "FakeWebKit");

  const auto second = VMRWebViewRuntime::init();
  const auto secondView = application().lastWebView();
  secondView->finishNavigation();
  secondView->terminateProcess();
  EXPECT_FALSE(second->loaded()->isCancelled());
  second->close();
  settle();
}

// The monitor.

class VMRWebViewMonitorTest : public VMRWebViewRuntimeTest {
 protected:
  static VMRError error(std::int64_t code) { return {"WebKit", code, "no page", {}, {}, nullptr}; }
};

TEST_F(VMRWebViewMonitorTest, OnlyTheFirstOutcomeCounts) {
  view_->finishNavigation();
  EXPECT_EQ(std::any_cast<bool>(runtime_->loaded()->value()), true);
  EXPECT_TRUE(view_->neverAdjustsInsets());
  EXPECT_TRUE(view_->hasContentInset());
  view_->failNavigation(error(1));
  EXPECT_FALSE(runtime_->loaded()->error());

  const auto failing = VMRWebViewRuntime::init();
  application().lastWebView()->failProvisionalNavigation(error(2));
  application().lastWebView()->finishNavigation();
  EXPECT_EQ(failing->loaded()->error(), error(2));
  EXPECT_FALSE(failing->loaded()->value().has_value());

  const auto breaking = VMRWebViewRuntime::init();
  application().lastWebView()->failNavigation(error(3));
  EXPECT_EQ(breaking->loaded()->error(), error(3));
}

TEST_F(VMRWebViewMonitorTest, AFailedLoadIsLoggedAndExplainsTheScriptsThatFail) {
  const std::string page =
      "The controller page did not load: "
      "https://cdn.vemora.example/mobile/sdk/v4/native/VMRWebViewRuntime.html: ";
  const auto failing = VMRWebViewRuntime::init();
  const auto view = application().lastWebView();
  view->onEvaluate = [](const std::string&) { return error(7); };
  view->failProvisionalNavigation(error(2));
  view->failNavigation(error(3));
  EXPECT_EQ(system().countLines("VEMORA ERROR: " + page + "no page"), 1u) << "only the first outcome counts";
  std::optional<VMRError> reported;
  failing->postMessage(VMRRpc::initWithMethod("get.ads", nullptr),
                       [&](const VMRError& failure) { reported = failure; });
  settle();
  ASSERT_TRUE(reported && reported->underlyingError);
  EXPECT_EQ(reported->code, 7);
  EXPECT_EQ(toString(*reported->underlyingError), page + "no page (WebKit 2)");

  const auto missing = VMRWebViewRuntime::init();
  application().lastWebView()->finishNavigation(404);
  EXPECT_TRUE(loggedError(page + "HTTP status 404"));
  EXPECT_EQ(std::any_cast<bool>(missing->loaded()->value()), true) << "the page itself has come";

  const auto crashing = VMRWebViewRuntime::init();
  application().lastWebView()->terminateProcess();
  EXPECT_TRUE(loggedError(page + "its web process ended"));
}

TEST_F(VMRWebViewMonitorTest, TurnsWindowRequestsIntoMessages) {
  view_->requestWindow(std::nullopt);
  view_->requestWindow("https://example.com/a?b=1");
  settle();
  ASSERT_EQ(seen_->messages().size(), 1u);
  const auto message = seen_->messages()[0];
  EXPECT_TRUE(message->isKindOf("window"));
  EXPECT_EQ(message->params(), json(R"({"event":"open","url":"https://example.com/a?b=1"})"));
  EXPECT_FALSE(seen_->wasOnMainThread());
}

TEST_F(VMRWebViewMonitorTest, WindowRequestsDoNotOvertakeMessages) {
  constexpr std::size_t kRounds = 200;
  for (std::size_t i = 0; i < kRounds; ++i) {
    view_->post("Vemora", json(R"({"method":"event"})"));
    view_->requestWindow("https://example.com/");
  }
  settle();
  const auto messages = seen_->messages();
  ASSERT_EQ(messages.size(), 2 * kRounds);
  for (std::size_t i = 0; i < messages.size(); ++i)
    ASSERT_TRUE(messages[i]->isKindOf(i % 2 == 0 ? "event" : "window")) << i;
}

TEST_F(VMRWebViewMonitorTest, ShowsAlertsInDebugModeAndNeverBlocksThePage) {
  EXPECT_TRUE(view_->alert("careful"));
  Vemora::debugMode(false);
  EXPECT_TRUE(view_->alert("quiet"));
  EXPECT_EQ(application().alerts(),
            (std::vector<testing::ShownAlert>{{"SDK4 Controller Alert:", "careful", "OK"}}));
}

TEST_F(VMRWebViewMonitorTest, OutlivesItsRuntime) {
  const auto monitor = std::dynamic_pointer_cast<VMRWebViewMonitor>(runtime_->loaded());
  runtime_ = nullptr;
  EXPECT_FALSE(monitor->runtime());
  view_->requestWindow("https://example.com/");
  view_->finishNavigation();
  EXPECT_TRUE(monitor->isDone());
}

}  // namespace
}  // namespace vemora
