#include "gtk/GtkTest.h"
#include "gtk/LoopbackServer.h"

#include <webkit/webkit.h>

namespace vemora::test {

namespace {

using gtk::GObjectPtr;

struct FinishCounter : SFSafariViewControllerDelegate {
  void safariViewControllerDidFinish(const std::shared_ptr<SFSafariViewController>& controller) override {
    finished.push_back(controller);
  }
  std::vector<std::shared_ptr<SFSafariViewController>> finished;
};

struct DismissalRecorder : PresentationControllerDelegate {
  void presentationControllerDidDismiss() override {
    ++notified;
    if (const auto presenter = root.lock()) stillPresented = presenter->presentedViewController() != nullptr;
  }
  std::weak_ptr<ViewController> root;
  int notified = 0;
  bool stillPresented = false;
};

GtkWindow* windowOf(const std::shared_ptr<ViewController>& controller) {
  return GTK_WINDOW(gtk_widget_get_root(GTK_WIDGET(controller->view()->layer())));
}

GtkWidget* findWidget(GtkWidget* widget, const std::function<bool(GtkWidget*)>& matches) {
  if (matches(widget)) return widget;
  for (GtkWidget* child = gtk_widget_get_first_child(widget); child;
       child = gtk_widget_get_next_sibling(child)) {
    if (GtkWidget* found = findWidget(child, matches)) return found;
  }
  return nullptr;
}

GtkWidget* buttonNamed(const std::shared_ptr<ViewController>& controller, std::string_view name) {
  return findWidget(GTK_WIDGET(windowOf(controller)), [&](GtkWidget* widget) {
    const char* tooltip = GTK_IS_BUTTON(widget) ? gtk_widget_get_tooltip_text(widget) : nullptr;
    return tooltip && name == tooltip;
  });
}

std::vector<std::string> headerTexts(const std::shared_ptr<ViewController>& controller) {
  std::vector<std::string> texts;
  findWidget(gtk_window_get_titlebar(windowOf(controller)), [&](GtkWidget* widget) {
    if (GTK_IS_LABEL(widget)) texts.emplace_back(gtk_label_get_text(GTK_LABEL(widget)));
    return false;
  });
  return texts;
}

class PresentationTest : public testing::Test {
 protected:
  void SetUp() override { root_ = application().keyWindow()->rootViewController(); }
  void TearDown() override {
    if (root_) root_->dismissViewController(false);
    runFrames();
  }

  static std::shared_ptr<ViewController> newController() {
    return application().createViewController({true});
  }

  /// Presents and waits for the completion.
  static bool present(const std::shared_ptr<ViewController>& from,
                      const std::shared_ptr<ViewController>& what) {
    const auto completed = std::make_shared<bool>(false);
    from->presentViewController(what, true, [completed] { *completed = true; });
    EXPECT_FALSE(*completed) << "completed before it can be on the screen";
    return waitUntil([&] { return *completed; });
  }

  std::shared_ptr<SFSafariViewController> newBrowser(const std::string& address) {
    auto url = Platform::shared().system().urlWithString(address);
    auto browser = application().createSafariViewController(*url);
    if (browser) browser->setDelegate(counter_);
    return browser;
  }

  static WebKitWebView* pageOf(const std::shared_ptr<ViewController>& browser) {
    return WEBKIT_WEB_VIEW(browser->view()->layer());
  }

  bool waitForTitle(const std::shared_ptr<ViewController>& browser, const std::string& title) {
    return waitUntil([&] { return headerTexts(browser).at(0) == title; });
  }

  HostWindow host_;
  std::shared_ptr<ViewController> root_;
  std::shared_ptr<FinishCounter> counter_ = std::make_shared<FinishCounter>();
};

}  // namespace

TEST_F(PresentationTest, FillsTheScreenAndCompletesOnceItIsThere) {
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->loadHtmlAndWait("<p>page");
  const auto controller = newController();
  const auto view = controller->view();
  view->addSubview(page->view);
  view->setBackgroundColorBlack();
  pinEdges(page->view, view);
  ASSERT_TRUE(present(root_, controller));

  EXPECT_EQ(root_->presentedViewController(), controller);
  EXPECT_EQ(page->view->superview(), view);
  EXPECT_NE(page->view->window(), nullptr);
  EXPECT_NE(page->view->window(), application().keyWindow())
      << "the interstitial's window is not the key window";
  EXPECT_EQ(page->view->frame(), (Rect{0, 0, 1280, 1024}));
  EXPECT_TRUE(page->isAtFullSpeed());
  EXPECT_TRUE(gtk_window_get_modal(windowOf(controller)));
  EXPECT_EQ(gtk_window_get_transient_for(windowOf(controller)), host_.window());

  root_->dismissViewController(true);
  EXPECT_EQ(root_->presentedViewController(), nullptr);
  EXPECT_EQ(page->view->window(), nullptr);
  root_->dismissViewController(true);
}

TEST_F(PresentationTest, IgnoresASecondPresentationAndOneWithoutAWindow) {
  const auto first = newController();
  const auto second = newController();
  bool completed = false;
  second->presentViewController(first, true, [&] { completed = true; });
  EXPECT_EQ(second->presentedViewController(), nullptr);
  ASSERT_TRUE(present(root_, first));
  root_->presentViewController(second, true, [&] { completed = true; });
  first->presentViewController(first, true, [&] { completed = true; });
  first->presentViewController(nullptr, true, [&] { completed = true; });
  EXPECT_EQ(root_->presentedViewController(), first);
  EXPECT_EQ(first->presentedViewController(), nullptr);
  runFrames();
  EXPECT_FALSE(completed);
}

TEST_F(PresentationTest, DismissesWithEverythingAboveAndNothingBelow) {
  const auto first = newController(), second = newController(), third = newController();
  ASSERT_TRUE(present(root_, first));
  ASSERT_TRUE(present(first, second));
  ASSERT_TRUE(present(second, third));
  first->dismissViewController(true);
  EXPECT_EQ(root_->presentedViewController(), first);
  EXPECT_EQ(first->presentedViewController(), nullptr);
  EXPECT_EQ(second->presentedViewController(), nullptr);
  EXPECT_EQ(windowOf(third), nullptr);
  // What was dismissed can be presented again.
  EXPECT_TRUE(present(first, third));
}

TEST_F(PresentationTest, NeverCompletesWhenDismissedFirst) {
  bool completed = false;
  root_->presentViewController(newController(), true, [&] { completed = true; });
  root_->dismissViewController(true);
  runFrames();
  EXPECT_FALSE(completed);
}

TEST_F(PresentationTest, MayBeDismissedByItsOwnCompletion) {
  bool completed = false;
  root_->presentViewController(newController(), true, [&] {
    completed = true;
    root_->dismissViewController(true);
  });
  EXPECT_TRUE(waitUntil([&] { return completed; }));
  EXPECT_EQ(root_->presentedViewController(), nullptr);
}

TEST_F(PresentationTest, EndsWithTheHostsWindow) {
  const auto controller = newController();
  ASSERT_TRUE(present(root_, controller));
  const auto browser = newBrowser("http://127.0.0.1:1/");
  ASSERT_TRUE(present(controller, browser));
  host_.destroy();
  EXPECT_EQ(root_->presentedViewController(), nullptr);
  EXPECT_EQ(windowOf(controller), nullptr);
  EXPECT_TRUE(counter_->finished.empty());
  EXPECT_EQ(g_list_model_get_n_items(gtk_window_get_toplevels()), 0U);
}

TEST_F(PresentationTest, IsDismissedWhenTheUserClosesItsWindow) {
  const auto page = Page::create();
  const auto controller = newController();
  controller->view()->addSubview(page->view);
  pinEdges(page->view, controller->view());
  ASSERT_TRUE(present(root_, controller));
  gtk_window_close(windowOf(controller));
  EXPECT_EQ(root_->presentedViewController(), nullptr);
  EXPECT_EQ(page->view->window(), nullptr);
  EXPECT_TRUE(present(root_, newController()));
}

TEST_F(PresentationTest, NotifiesItsDelegateOnceWhenTheUserClosesItsWindow) {
  const auto recorder = std::make_shared<DismissalRecorder>();
  recorder->root = root_;
  const auto controller = newController();
  controller->setPresentationDelegate(recorder);
  for (int presentation = 1; presentation <= 2; ++presentation) {
    ASSERT_TRUE(present(root_, controller));
    // Some window managers repeat the request while the window is still on the screen.
    const auto window = GObjectPtr<GtkWindow>::retain(windowOf(controller));
    gtk_window_close(window.get());
    gtk_window_close(window.get());
    runFrames();
    EXPECT_EQ(recorder->notified, presentation);
    EXPECT_FALSE(recorder->stillPresented) << "notified after the controller has left the screen";
    root_->dismissViewController(true);
    runFrames();
    EXPECT_EQ(recorder->notified, presentation) << "a dismissal afterwards is a no-op";
  }
}

TEST_F(PresentationTest, DoesNotNotifyItsDelegateOfTheHostsOwnDismissal) {
  const auto recorder = std::make_shared<DismissalRecorder>();
  const auto lower = newController(), upper = newController();
  lower->setPresentationDelegate(recorder);
  upper->setPresentationDelegate(recorder);
  ASSERT_TRUE(present(root_, lower));
  root_->dismissViewController(true);
  runFrames();
  EXPECT_EQ(recorder->notified, 0);
  ASSERT_TRUE(present(root_, lower));
  ASSERT_TRUE(present(lower, upper));
  root_->dismissViewController(true);
  runFrames();
  EXPECT_EQ(recorder->notified, 0) << "with another controller on top";
}

TEST_F(PresentationTest, NotifiesOnceWhenTheUserClosesABrowser) {
  const auto lower = newBrowser("http://127.0.0.1:1/");
  const auto upper = newBrowser("http://127.0.0.1:1/");
  ASSERT_TRUE(present(root_, lower));
  ASSERT_TRUE(present(lower, upper));
  gtk_window_close(windowOf(lower));
  EXPECT_EQ(counter_->finished, (std::vector{upper, lower}));
  EXPECT_EQ(root_->presentedViewController(), nullptr);

  const auto next = newBrowser("http://127.0.0.1:1/");
  ASSERT_TRUE(present(root_, next));
  g_signal_emit_by_name(buttonNamed(next, "Close"), "clicked");
  EXPECT_EQ(counter_->finished.size(), 3U);
  EXPECT_EQ(counter_->finished.back(), next);

  ASSERT_TRUE(present(root_, newBrowser("http://127.0.0.1:1/")));
  root_->dismissViewController(true);
  runFrames();
  EXPECT_EQ(counter_->finished.size(), 3U) << "a browser that was dismissed says nothing";
}

TEST_F(PresentationTest, BrowsesWithinTheWeb) {
  LoopbackServer server;
  server.serve("/first",
               "<title>First</title><a id=a href=/second>go</a><a id=n target=_blank href=/third>new</a>");
  server.serve("/second", "<title>Second</title>");
  server.serve("/third", "<title>Third</title>");
  const auto browser = newBrowser(server.url("/first"));
  ASSERT_TRUE(present(root_, browser));
  ASSERT_TRUE(waitForTitle(browser, "First"));
  EXPECT_EQ(headerTexts(browser).at(1), server.url("/first"));
  GtkWidget* back = buttonNamed(browser, "Back");
  EXPECT_FALSE(gtk_widget_get_sensitive(back));

  const auto run = [&](const char* script) {
    webkit_web_view_evaluate_javascript(pageOf(browser), script, -1, nullptr, nullptr, nullptr, nullptr,
                                        nullptr);
  };
  // Pages that WebKit alone would show.
  for (const char* address : {"data:text/html,<title>Data</title>", "file:///etc/hostname"}) {
    webkit_web_view_load_uri(pageOf(browser), address);
    EXPECT_TRUE(waitUntil([&] { return !webkit_web_view_is_loading(pageOf(browser)); }));
    EXPECT_EQ(headerTexts(browser).at(0), "First") << address;
  }
  run("location.href = 'file:///etc/passwd'");
  run("location.href = 'vemora-unknown://x'");
  run("document.getElementById('a').click()");
  ASSERT_TRUE(waitForTitle(browser, "Second"));
  EXPECT_TRUE(gtk_widget_get_sensitive(back));
  g_signal_emit_by_name(back, "clicked");
  ASSERT_TRUE(waitForTitle(browser, "First"));
  EXPECT_TRUE(waitUntil([&] { return !gtk_widget_get_sensitive(back); }));
  run("document.getElementById('n').click()");
  ASSERT_TRUE(waitForTitle(browser, "Third"));
  EXPECT_EQ(headerTexts(browser).at(1), server.url("/third"));
}

TEST_F(PresentationTest, StopsThePageOfABrowserThatWasClosedOrDismissed) {
  LoopbackServer server;
  server.serve("/page", "<title>Page</title><script>setInterval(() => fetch('/tick'), 20)</script>");
  server.serve("/tick", "");
  for (const bool byUser : {true, false}) {
    const auto browser = newBrowser(server.url("/page"));
    ASSERT_TRUE(present(root_, browser));
    const int before = server.requests("/tick");
    ASSERT_TRUE(waitUntil([&] { return server.requests("/tick") > before + 2; }));
    if (byUser) {
      gtk_window_close(windowOf(browser));
    } else {
      root_->dismissViewController(true);
    }
    // The browser is still held here, as a player holds it.
    runFrames();
    const int stopped = server.requests("/tick");
    runFor(0.3);
    EXPECT_EQ(server.requests("/tick"), stopped) << (byUser ? "closed" : "dismissed");
  }
}

TEST_F(PresentationTest, KeepsTheBrowsersSessionApartFromTheAds) {
  LoopbackServer server;
  server.serve("/set", "<title>Set</title><script>document.cookie = 'a=b'; localStorage.x = 1</script>");
  const auto page = Page::create();
  application().keyWindow()->addSubview(page->view);
  page->load(server.url("/set"));
  ASSERT_EQ(page->outcome(), "finished");
  page->load(server.url("/set"));
  ASSERT_EQ(page->outcome(), "finished");
  EXPECT_EQ(server.requestHeader("/set", "Cookie"), "a=b");
  const auto browser = newBrowser(server.url("/set"));
  ASSERT_TRUE(present(root_, browser));
  ASSERT_TRUE(waitForTitle(browser, "Set"));
  EXPECT_EQ(server.requestHeader("/set", "Cookie"), "");
}

TEST_F(PresentationTest, ShowsNoAddressOutsideTheWeb) {
  for (const char* address : {"file:///etc/passwd", "javascript:alert(1)", "data:text/html,x", "about:blank",
                              "tel:1", "http:///nohost"}) {
    const auto url = Platform::shared().system().urlWithString(address);
    if (url) {
      EXPECT_EQ(application().createSafariViewController(*url), nullptr) << address;
    }
  }
  EXPECT_EQ(application().createSafariViewController({"file:///etc/passwd", "https", "host"}), nullptr);
  EXPECT_NE(newBrowser("HTTPS://ads.example/"), nullptr);
}

TEST_F(PresentationTest, LeaksNoWindowsOrPages) {
  int gone = 0;
  const auto countGone = [](gpointer count, GObject*) { ++*static_cast<int*>(count); };
  constexpr int kLives = 4;
  for (int life = 0; life < kLives; ++life) {
    const auto controller = newController();
    ASSERT_TRUE(present(root_, controller));
    const auto browser = newBrowser("http://127.0.0.1:1/");
    ASSERT_TRUE(present(controller, browser));
    for (gpointer object :
         {static_cast<gpointer>(windowOf(controller)), static_cast<gpointer>(windowOf(browser)),
          browser->view()->layer(), controller->view()->layer()}) {
      g_object_weak_ref(G_OBJECT(object), countGone, &gone);
    }
    root_->dismissViewController(true);
    counter_->finished.clear();
  }
  EXPECT_TRUE(waitUntil([&] { return gone == 4 * kLives; })) << gone;
}

}  // namespace vemora::test
