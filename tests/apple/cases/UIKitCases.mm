// The half of the backend that needs UIKit.

#include "backends/apple/UIKit/AppleView.h"
#include "backends/apple/UIKit/AppleViewController.h"
#include "backends/apple/UIKit/AppleWebView.h"
#include "cases/Case.h"

#include <Vemora/NotificationCenter.h>

#import <SafariServices/SafariServices.h>
#import <UIKit/UIKit.h>

#include <cmath>

namespace vemora::apple {
namespace {

class UIKitCase : public Case {
 protected:
  static Application& application() { return Platform::shared().application(); }

  static UIView* newView(CGRect frame) {
    UIView* view = [[UIView alloc] initWithFrame:frame];
    [fake::window() addSubview:view];
    return view;
  }
};

std::shared_ptr<LayoutConstraint> pin(const std::shared_ptr<View>& view, LayoutAttribute attribute,
                                      const std::shared_ptr<View>& container) {
  auto made = std::make_shared<LayoutConstraint>();
  made->firstItem = view;
  made->firstAttribute = attribute;
  made->secondItem = container;
  made->secondAttribute = attribute;
  return made;
}

TEST_F(UIKitCase, WrapsViews) {
  @autoreleasepool {
    const auto container = wrap(newView(NSMakeRect(10, 20, 100, 50)));
    const auto view = wrap([[UIView alloc] initWithFrame:CGRectZero]);
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(view->window(), nullptr);
    EXPECT_FALSE(view->convertRectToView({}, *container));
    container->addSubview(view);
    view->setFrame({5, 6, 20, 10});
    EXPECT_EQ(view->frame(), (Rect{5, 6, 20, 10}));
    EXPECT_EQ(view->bounds(), (Rect{0, 0, 20, 10}));
    EXPECT_TRUE(view->isDescendantOfView(*container));
    EXPECT_FALSE(container->isDescendantOfView(*view));
    EXPECT_EQ(view->convertRectToView(view->bounds(), *view->window()), (Rect{15, 26, 20, 10}));
    EXPECT_EQ(view->superview()->frame(), container->frame());
    EXPECT_TRUE(std::dynamic_pointer_cast<Window>(container->superview()));
    EXPECT_TRUE(
        view->window()->rootViewController()->isEqual(*application().keyWindow()->rootViewController()));
    view->setFrame({0, 0, -1, NAN});
    EXPECT_EQ(view->frame(), Rect());
    EXPECT_FALSE(view->isHidden());
    view->setUserInteractionEnabled(false);
    view->setOpaque(false);
    view->setBackgroundColorBlack();
    view->setNeedsLayout();
    UIView* native = unwrap(*view);
    EXPECT_FALSE([native isUserInteractionEnabled]);
    EXPECT_FALSE([native isOpaque]);
    EXPECT_EQ([native backgroundColor], [UIColor blackColor]);
    EXPECT_EQ(view->layer(), (__bridge void*)[native layer]);
    struct Counter : KeyValueObserver {
      void observeValueForKeyPath(std::string_view) override { ++count; }
      int count = 0;
    };
    const auto counter = std::make_shared<Counter>();
    view->addObserver(counter, "window", true);
    EXPECT_EQ(counter->count, 1);
    view->removeObserver(counter.get(), "window");
    view->setLayoutObserver({});
    view->removeFromSuperview();
    EXPECT_EQ(view->superview(), nullptr);
  }
}

TEST_F(UIKitCase, LaysOutByConstraints) {
  @autoreleasepool {
    const auto container = wrap(newView(NSMakeRect(0, 0, 200, 100)));
    const auto view = wrap([[UIView alloc] initWithFrame:CGRectZero]);
    container->addSubview(view);
    view->setTranslatesAutoresizingMaskIntoConstraints(false);
    std::vector<std::shared_ptr<LayoutConstraint>> edges;
    for (const auto edge : {LayoutAttribute::Leading, LayoutAttribute::Trailing, LayoutAttribute::Top,
                            LayoutAttribute::Bottom}) {
      edges.push_back(pin(view, edge, container));
      edges.back()->toSafeArea = true;
      container->addConstraint(edges.back());
    }
    EXPECT_EQ(view->frame(), (Rect{0, 20, 200, 70})) << "inside the safe area";
    for (const auto& edge : edges) container->removeConstraint(edge);
    for (const auto attribute : {LayoutAttribute::CenterX, LayoutAttribute::CenterY, LayoutAttribute::Width,
                                 LayoutAttribute::Height}) {
      edges.push_back(pin(view, attribute, container));
      const bool isSize = attribute == LayoutAttribute::Width || attribute == LayoutAttribute::Height;
      edges.back()->multiplier = isSize ? 0.5 : 1;
      edges.back()->constant = isSize ? 10 : 0;
      container->addConstraint(edges.back());
    }
    EXPECT_EQ(view->frame(), (Rect{45, 20, 110, 60}));
    // Between views that share no superview, and with an item that has gone: no constraint and no exception.
    const auto stranger = wrap([[UIView alloc] initWithFrame:CGRectZero]);
    const auto refused = pin(stranger, LayoutAttribute::Top, container);
    EXPECT_EQ(fake::exceptionOf(^{
                container->addConstraint(refused);
              }),
              "");
    container->addConstraint(std::make_shared<LayoutConstraint>(LayoutConstraint{}));
  }
}

TEST_F(UIKitCase, FindsTheWindowOfTheActiveScene) {
  EXPECT_EQ(unwrap(*application().keyWindow()), fake::window());
  fake::setScene(false, true);
  EXPECT_EQ(unwrap(*application().keyWindow()), fake::window());
  fake::setScene(true, false);
  EXPECT_EQ(unwrap(*application().keyWindow()), fake::window()) << "a visible window will do";
  fake::setScene(false, false);
  EXPECT_EQ(application().keyWindow(), nullptr);
}

struct PresentationRecorder : PresentationControllerDelegate {
  void presentationControllerDidDismiss() override { ++dismissals; }
  int dismissals = 0;
};

TEST_F(UIKitCase, PresentsAndDismissesStages) {
  @autoreleasepool {
    const auto root = application().keyWindow()->rootViewController();
    const auto stage = application().createViewController({true});
    const auto recorder = std::make_shared<PresentationRecorder>();
    stage->setPresentationDelegate(recorder);
    root->setPresentationDelegate(recorder);
    UIViewController* native = dynamic_cast<AppleViewController&>(*stage).uiViewController();
    EXPECT_TRUE([native prefersStatusBarHidden]);
    EXPECT_EQ(stage->presentingViewController(), nullptr);
    bool completed = false;
    root->presentViewController(stage, true, [&] { completed = true; });
    EXPECT_TRUE(presents(*root, *stage));
    EXPECT_TRUE(stage->presentingViewController()->isEqual(*root));
    EXPECT_FALSE(completed);
    fake::settle();
    EXPECT_TRUE(completed);
    EXPECT_NE(stage->view()->window(), nullptr);
    stage->dismissViewController(true);
    EXPECT_TRUE(presents(*root, *stage)) << "a controller that presents nothing passes nothing on";
    root->dismissViewController(true);
    EXPECT_EQ(root->presentedViewController(), nullptr);
    EXPECT_EQ(recorder->dismissals, 0);

    root->presentViewController(stage, true, nullptr);
    fake::settle();
    [[[fake::window() rootViewController] presentedViewController] view];
    [[fake::window() rootViewController] dismissViewControllerAnimated:YES completion:nil];
    EXPECT_EQ(recorder->dismissals, 1) << "the host app closed it";
  }
}

TEST_F(UIKitCase, DismissesAfterThePresentationHasEnded) {
  @autoreleasepool {
    const auto root = application().keyWindow()->rootViewController();
    const auto stage = application().createViewController({});
    fake::holdPresentations(true);
    root->presentViewController(stage, true, nullptr);
    root->dismissViewController(true);
    EXPECT_NE(root->presentedViewController(), nullptr);
    fake::finishPresentation();
    EXPECT_EQ(root->presentedViewController(), nullptr);
  }
}

struct BrowserRecorder : SFSafariViewControllerDelegate {
  void safariViewControllerDidFinish(
      const std::shared_ptr<vemora::SFSafariViewController>& browser) override {
    finished = browser;
    ++count;
  }
  std::shared_ptr<vemora::SFSafariViewController> finished;
  int count = 0;
};

TEST_F(UIKitCase, OpensWebAddressesInTheBrowser) {
  @autoreleasepool {
    System& system = Platform::shared().system();
    EXPECT_FALSE(application().createSafariViewController(*system.urlWithString("mailto:a@b")));
    EXPECT_FALSE(application().createSafariViewController(*system.urlWithString("tel:1")));
    EXPECT_FALSE(application().createSafariViewController({"http:", "http", ""}));
    const auto browser =
        application().createSafariViewController(*system.urlWithString("HTTP://example.com/"));
    ASSERT_TRUE(browser);
    const auto recorder = std::make_shared<BrowserRecorder>();
    browser->setDelegate(recorder);
    const auto root = application().keyWindow()->rootViewController();
    root->presentViewController(browser, true, nullptr);
    fake::settle();
    const auto shown = root->presentedViewController();
    EXPECT_TRUE(std::dynamic_pointer_cast<vemora::SFSafariViewController>(shown));
    id native = dynamic_cast<AppleViewController&>(*shown).uiViewController();
    for (int i = 0; i < 2; ++i) [[native delegate] safariViewControllerDidFinish:native];
    EXPECT_EQ(recorder->count, 1);
    EXPECT_TRUE(recorder->finished->isEqual(*browser));
    recorder->finished = nullptr;
    root->dismissViewController(false);
  }
}

TEST_F(UIKitCase, ShowsAlertsOverTheTopmostController) {
  @autoreleasepool {
    UIViewController* root = [fake::window() rootViewController];
    const auto stage = application().createViewController({});
    application().keyWindow()->rootViewController()->presentViewController(stage, true, nullptr);
    fake::settle();
    application().showAlert("Title", "Message", "OK");
    UIAlertController* alert = (UIAlertController*)[[root presentedViewController] presentedViewController];
    EXPECT_EQ(std::string([[alert title] UTF8String]), "Title");
    EXPECT_EQ(std::string([[alert message] UTF8String]), "Message");
    EXPECT_EQ(std::string([[[[alert actions] objectAtIndex:0] title] UTF8String]), "OK");
    fake::settle();
    [root dismissViewControllerAnimated:NO completion:nil];
  }
}

TEST_F(UIKitCase, PassesTheLifeCycleOn) {
  std::vector<std::string> names;
  const auto record = [&](const Notification& notification) { names.push_back(notification.name); };
  NotificationCenter& center = NotificationCenter::defaultCenter();
  const auto resign = center.addObserver(vemora::UIApplicationWillResignActiveNotification, record);
  const auto activate = center.addObserver(vemora::UIApplicationDidBecomeActiveNotification, record);
  for (NSString* name :
       {::UIApplicationWillResignActiveNotification, ::UIApplicationDidBecomeActiveNotification}) {
    [[NSNotificationCenter defaultCenter] postNotificationName:name object:nil];
  }
  EXPECT_EQ(names, (std::vector<std::string>{"UIApplicationWillResignActiveNotification",
                                             "UIApplicationDidBecomeActiveNotification"}));
}

TEST_F(UIKitCase, DescribesTheDevice) {
  Device& device = Platform::shared().device();
  EXPECT_EQ(device.model(), "iPhone");
  dispatch().detachNewThread([&] {
    EXPECT_EQ(device.systemName(), "iOS");
    EXPECT_EQ(device.systemVersion(), "17.4");
    EXPECT_EQ(device.identifierForVendor(), "6F9619FF-8B86-D011-B42D-00CF4FC964FF");
    EXPECT_EQ(device.userInterfaceIdiom(), UserInterfaceIdiom::Pad);
    EXPECT_EQ(device.advertisingIdentifier(), "AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE");
  });
  fake::settle();
  EXPECT_TRUE(device.hasTelephonyNetworkInfo());
  EXPECT_FALSE(device.statusBarDataNetworkType());
  for (int status = 0; status <= 3; ++status) {
    fake::setTracking(status);
    EXPECT_EQ(device.isAdvertisingTrackingEnabled(), status == 3);
  }
}

TEST_F(UIKitCase, PostsRouteChangesOnABackgroundThread) {
  AudioSession& session = Platform::shared().audioSession();
  EXPECT_EQ(session.category(), "AVAudioSessionCategorySoloAmbient");
  session.category();
  int reasons = 0;
  bool onMain = true;
  const auto token = NotificationCenter::defaultCenter().addObserver(
      vemora::AVAudioSessionRouteChangeNotification, [&](const Notification& notification) {
        reasons += static_cast<int>(
            notification.userInfo[vemora::AVAudioSessionRouteChangeReasonKey].integerValue());
        onMain = dispatch().isMainThread();
      });
  fake::changeRoute(2);
  EXPECT_EQ(reasons, 2);
  EXPECT_FALSE(onMain);
}

TEST_F(UIKitCase, ReadsTheUserAgentOnce) {
  std::optional<std::string> agent;
  application().webViewUserAgent([&](const auto& answer) { agent = answer; });
  EXPECT_EQ(agent, "FakeKit/1.0") << "known since the set-up, so it completes at once";
}

struct PageRecorder : WebViewNavigationDelegate,
                      WebViewUIDelegate,
                      ScriptMessageHandler,
                      KeyValueObserver,
                      LayoutObserver {
  void webViewDidReceiveResponse(int status) override {
    events.push_back("status " + std::to_string(status));
  }
  WebViewNavigationPolicy webViewDecidePolicyForNavigation(std::string_view url) override {
    return url.find("refused") == std::string_view::npos ? WebViewNavigationPolicy::Allow
                                                         : WebViewNavigationPolicy::Cancel;
  }
  void webViewDidFinishNavigation() override { events.push_back("finished"); }
  void webViewDidFailProvisionalNavigation(const VMRError& error) override {
    events.push_back("failed provisionally " + std::to_string(error.code));
  }
  void webViewDidFailNavigation(const VMRError& error) override {
    events.push_back("failed " + std::to_string(error.code));
  }
  void webViewWebContentProcessDidTerminate() override { events.push_back("terminated"); }
  void webViewCreateWebView(const std::optional<std::string>& url) override {
    events.push_back("window " + url.value_or("-"));
  }
  void webViewRunJavaScriptAlertPanel(std::string_view message, std::function<void()> completion) override {
    events.push_back("alert " + std::string(message));
    completion();
  }
  void userContentControllerDidReceiveScriptMessage(const ScriptMessage& message) override {
    events.push_back(message.name + " " + *message.body.serialized());
  }
  void observeValueForKeyPath(std::string_view keyPath) override { events.emplace_back(keyPath); }
  void viewDidLayout() override { events.push_back("layout"); }

  std::vector<std::string> take() { return std::exchange(events, {}); }
  std::vector<std::string> events;
};

using Events = std::vector<std::string>;

class WebViewCase : public UIKitCase {
 protected:
  void SetUp() override {
    UIKitCase::SetUp();
    recorder_ = std::make_shared<PageRecorder>();
    WebViewConfiguration configuration;
    configuration.userContentController = application().createUserContentController();
    configuration.userContentController->addScriptMessageHandler(recorder_, "Vemora");
    configuration.allowsInlineMediaPlayback = true;
    configuration.mediaTypesRequireUserAction = false;
    view_ = application().createWebView({}, configuration);
    view_->setNavigationDelegate(recorder_);
    view_->setUIDelegate(recorder_);
  }
  void TearDown() override {
    view_ = nullptr;
    UIKitCase::TearDown();
  }

  WKWebView* native() { return (WKWebView*)dynamic_cast<AppleView&>(*view_).uiView(); }
  void load(const char* url) {
    URLRequest request;
    request.url = url;
    request.addValue("*", "Access-Control-Allow-Origin");
    view_->loadRequest(request);
    fake::settle();
  }

  std::shared_ptr<PageRecorder> recorder_;
  std::shared_ptr<WebView> view_;
};

TEST_F(WebViewCase, LoadsAndReportsFailures) {
  fake::setPage("https://localhost/", "");
  load("https://localhost/");
  load("https://elsewhere/");
  load("");
  [native().navigationDelegate webView:native()
                     didFailNavigation:nil
                             withError:[NSError errorWithDomain:@"d" code:7 userInfo:nil]];
  [native().navigationDelegate webViewWebContentProcessDidTerminate:native()];
  EXPECT_EQ(recorder_->take(), (Events{"finished", "failed provisionally -1003", "failed provisionally -1000",
                                       "failed 7", "terminated"}));
  view_->stopLoading();
  view_->setNavigationDelegate({});
  load("https://localhost/");
  EXPECT_EQ(recorder_->take(), Events());
}

TEST_F(WebViewCase, AsksWhereTheMainFrameMayGo) {
  fake::setPage("https://localhost/refused", "");
  fake::setPage("https://localhost/", "");
  load("https://localhost/refused");
  load("https://localhost/");
  EXPECT_EQ(recorder_->take(), (Events{"failed provisionally 102", "finished"}));
  const auto decide = [this](NSString* address, WKFrameInfo* frame) {
    WKNavigationAction* action = [[WKNavigationAction alloc] init];
    [action setValue:[NSURLRequest requestWithURL:(NSURL* _Nonnull)[NSURL URLWithString:address]]
              forKey:@"request"];
    if (frame) [action setValue:frame forKey:@"targetFrame"];
    __block WKNavigationActionPolicy decision = (WKNavigationActionPolicy)-1;
    [native().navigationDelegate webView:native()
         decidePolicyForNavigationAction:action
                         decisionHandler:^(WKNavigationActionPolicy policy) {
                           decision = policy;
                         }];
    return decision;
  };
  EXPECT_EQ(decide(@"https://localhost/refused", fake::frame(true)), WKNavigationActionPolicyCancel);
  EXPECT_EQ(decide(@"https://localhost/#refused", fake::frame(true)), WKNavigationActionPolicyAllow);
  EXPECT_EQ(decide(@"https://localhost/refused", fake::frame(false)), WKNavigationActionPolicyAllow);
  EXPECT_EQ(decide(@"https://localhost/refused", nil), WKNavigationActionPolicyAllow) << "a new window";
}

TEST_F(WebViewCase, ReportsTheStatusOfThePage) {
  const auto answer = [this](bool isForMainFrame, bool canShow) {
    WKNavigationResponse* response = [[WKNavigationResponse alloc] init];
    [response setValue:@(isForMainFrame) forKey:@"forMainFrame"];
    [response setValue:@(canShow) forKey:@"canShowMIMEType"];
    [response setValue:[[NSHTTPURLResponse alloc]
                            initWithURL:(NSURL* _Nonnull)[NSURL URLWithString:@"https://localhost/"]
                             statusCode:404
                            HTTPVersion:@"1.1"
                           headerFields:@{}]
                forKey:@"response"];
    __block WKNavigationResponsePolicy decision = (WKNavigationResponsePolicy)-1;
    [native().navigationDelegate webView:native()
        decidePolicyForNavigationResponse:response
                          decisionHandler:^(WKNavigationResponsePolicy policy) {
                            decision = policy;
                          }];
    return decision;
  };
  EXPECT_EQ(answer(false, true), WKNavigationResponsePolicyAllow);
  EXPECT_EQ(recorder_->take(), Events());
  EXPECT_EQ(answer(true, false), WKNavigationResponsePolicyCancel) << "it would be downloaded";
  EXPECT_EQ(recorder_->take(), Events{"status 404"});
}

TEST_F(WebViewCase, DropsMessagesOfOtherFrames) {
  WKUserContentController* controller = native().configuration.userContentController;
  [controller deliver:@"Vemora" body:@"hostile" frame:fake::frame(false)];
  EXPECT_EQ(recorder_->take(), Events());
  [controller deliver:@"Vemora" body:@"own" frame:fake::frame(true)];
  EXPECT_EQ(recorder_->take(), Events{"Vemora \"own\""});
}

TEST_F(WebViewCase, ExchangesMessagesWithThePage) {
  fake::setPage("https://localhost/",
                "var h = window.webkit.messageHandlers; h.Vemora.postMessage({a: [true, 0.5, null, 'x']});"
                "h.Other.postMessage('lost');");
  load("https://localhost/");
  EXPECT_EQ(recorder_->take(), (Events{"finished", R"(Vemora {"a":[true,0.5,null,"x"]})"}));
  std::vector<std::optional<VMRError>> answers;
  const auto evaluate = [&](const char* script) {
    view_->evaluateJavaScript(script, [&](const auto& error) { answers.push_back(error); });
    fake::settle();
  };
  evaluate("window.webkit.messageHandlers.Vemora.postMessage(7.5)");
  evaluate("throw new Error('bad')");
  fake::setEvaluationError(WKErrorJavaScriptResultTypeIsUnsupported);
  evaluate("1");
  view_->evaluateJavaScript("1", nullptr);
  fake::settle();
  EXPECT_EQ(recorder_->take(), Events{"Vemora 7.5"});
  ASSERT_EQ(answers.size(), 3u);
  EXPECT_FALSE(answers[0]);
  EXPECT_EQ(answers[1]->code, WKErrorJavaScriptExceptionOccurred);
  EXPECT_FALSE(answers[2]) << "the script ran";
  view_->configuration().userContentController->removeScriptMessageHandlerForName("Vemora");
  fake::setEvaluationError({});
  evaluate("window.webkit.messageHandlers.Vemora.postMessage(8)");
  EXPECT_EQ(recorder_->take(), Events());
}

TEST_F(WebViewCase, AnswersWindowsAndAlerts) {
  WKNavigationAction* action = [[WKNavigationAction alloc] init];
  id<WKUIDelegate> delegate = native().UIDelegate;
  EXPECT_EQ([delegate webView:native()
                createWebViewWithConfiguration:native().configuration
                           forNavigationAction:action
                                windowFeatures:(WKWindowFeatures* _Nonnull)nil],
            nil);
  int completions = 0;
  int* const count = &completions;
  const auto alert = [&] {
    [delegate webView:native()
        runJavaScriptAlertPanelWithMessage:@"hello"
                          initiatedByFrame:(WKFrameInfo* _Nonnull)nil
                         completionHandler:^{
                           ++*count;
                         }];
  };
  alert();
  EXPECT_EQ(recorder_->take(), (Events{"window -", "alert hello"}));
  view_->setUIDelegate({});
  alert();
  EXPECT_EQ(completions, 2) << "also without a delegate";
}

TEST_F(WebViewCase, IsConfiguredForInlineVideo) {
  EXPECT_TRUE(native().configuration.allowsInlineMediaPlayback);
  EXPECT_EQ(native().configuration.mediaTypesRequiringUserActionForPlayback, WKAudiovisualMediaTypeNone);
  view_->setScrollEnabled(true);
  view_->setContentInsetAdjustmentNever();
  view_->setContentInset({1, 2, 3, 4});
  UIScrollView* scrollView = native().scrollView;
  EXPECT_TRUE([scrollView isScrollEnabled]);
  EXPECT_EQ(scrollView.contentInsetAdjustmentBehavior, UIScrollViewContentInsetAdjustmentNever);
  EXPECT_EQ(scrollView.contentInset.right, 4);
}

TEST_F(WebViewCase, NotifiesObserversOfWindowVisibilityAndPlace) {
  @autoreleasepool {
    view_->addObserver(recorder_, "window", false);
    view_->addObserver(recorder_, "hidden", true);
    view_->setLayoutObserver(recorder_);
    UIView* container = newView(NSMakeRect(0, 40, 100, 100));
    [container addSubview:native()];
    EXPECT_EQ(recorder_->take(), (Events{"hidden", "window"}));
    view_->setFrame({0, 0, 50, 50});
    view_->setFrame({0, 0, 50, 50});
    EXPECT_EQ(recorder_->take(), Events{"layout"});
    native().hidden = YES;
    native().hidden = YES;
    [container removeFromSuperview];
    EXPECT_EQ(recorder_->take(), (Events{"hidden", "window"})) << "also when a superview leaves";
    view_->removeObserver(recorder_.get(), "window");
    view_->removeObserver(recorder_.get(), "hidden");
    view_->setLayoutObserver({});
    native().hidden = NO;
    [fake::window() addSubview:native()];
    view_->setFrame({0, 0, 60, 50});
    EXPECT_EQ(recorder_->take(), Events());
    [native() removeFromSuperview];
  }
}

TEST_F(WebViewCase, LeavesNothingWithTheNativeView) {
  WKWebView* kept = native();
  view_->addObserver(recorder_, "window", false);
  view_->setLayoutObserver(recorder_);
  view_ = nullptr;
  EXPECT_EQ(kept.navigationDelegate, nil);
  EXPECT_EQ(kept.UIDelegate, nil);
  [fake::window() addSubview:kept];
  [kept setFrame:NSMakeRect(0, 0, 5, 5)];
  EXPECT_EQ(recorder_->take(), Events());
  [kept removeFromSuperview];
}

}  // namespace
}  // namespace vemora::apple
