// Sessions of host apps through the Objective-C interface, with a page that answers.

#import "Vemora.h"
#include "cases/AdHost.h"
#include "cases/Case.h"
#include "cases/Page.h"

#import <SafariServices/SafariServices.h>
#import <WebKit/WebKit.h>

namespace vemora::apple {
namespace {

using Callbacks = std::vector<std::string>;

const Callbacks kPlayed = {"didLoadAds 1",     "adGroupStart ad-1", "adStart ad-1",
                           "adTimeUpdate 1.5", "adPaused ad-1",     "adPlaying ad-1",
                           "adClicked ad-1",   "adComplete ad-1",   "adGroupComplete 1"};

class SessionCase : public Case {
 protected:
  void SetUp() override {
    Case::SetUp();
    setPage("");
    [Vemora debugMode:YES];
    host_ = [[AdHost alloc] init];
    place_ = [[UIView alloc] initWithFrame:NSMakeRect(0, 40, 320, 180)];
    [fake::window() addSubview:place_];
  }
  void TearDown() override {
    player_ = nil;
    host_ = nil;
    [place_ removeFromSuperview];
    place_ = nil;
    [Vemora debugMode:NO];
    Case::TearDown();
  }

  void use(VemoraAdPlayerBase* player) {
    player_ = player;
    [player_ setDelegate:host_];
  }
  void useInline() { use([[VemoraInlineAdPlayer alloc] initInView:place_]); }
  /// Loads, starts and runs to the end of the session.
  void play() {
    host_->_hooks["didLoadAds"] = [](VemoraAdPlayerBase* player) { [player start]; };
    load();
  }
  void load() {
    @autoreleasepool {
      host_->_callbacks.clear();
      host_->_hasEnded = NO;
      [player_ load];
      fake::settle();
    }
  }
  void waitForEnd() {
    // The page starts once it is visible, which is looked at every second.
    for (int i = 0; i < 5 && !host_->_hasEnded; ++i) {
      @autoreleasepool {
        fake::advance(1);
      }
    }
  }
  Callbacks callbacks() const {
    Callbacks shown;
    for (const auto& callback : host_->_callbacks) {
      if (callback.rfind("adAspectRatio", 0) != 0) shown.push_back(callback);
    }
    return shown;
  }
  static bool logged(const std::string& text) {
    for (const auto& line : fake::takeLog()) {
      if (line.text.find(text) != std::string::npos) return true;
    }
    return false;
  }

  AdHost* host_;
  UIView* place_;
  VemoraAdPlayerBase* player_;
};

TEST_F(SessionCase, PlaysInline) {
  setPage(kPlays);
  useInline();
  EXPECT_EQ(std::string([[player_ placementType] UTF8String]), "inline");
  play();
  waitForEnd();
  EXPECT_EQ(callbacks(), kPlayed);
  EXPECT_NEAR(host_->_aspectRatio, 16.0 / 9, 0.01);
  EXPECT_EQ([[place_ subviews] count], 0u);
  const auto requests = fake::takeRequests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0].url, "http://localhost/beacon?x=1");
  EXPECT_EQ(requests[0].headers.at("User-Agent"), "FakeKit/1.0");
  EXPECT_EQ(host_->_started, [[[player_ adGroup] ads] objectAtIndex:0]);
  EXPECT_EQ([[host_->_started duration] doubleValue], 15.5);
  EXPECT_EQ([player_ request], [player_ request]);
  host_->_started = nil;
}

TEST_F(SessionCase, PlaysResizable) {
  useInline();
  use([[VemoraResizableAdPlayer alloc] initInView:place_]);
  host_->_hooks["didLoadAds"] = [](VemoraAdPlayerBase* player) { [player start]; };
  load();
  [player_ setSize:0.5F];
  ASSERT_EQ([[place_ subviews] count], 1u);
  UIView* shown = [[place_ subviews] objectAtIndex:0];
  EXPECT_TRUE(CGRectEqualToRect([shown frame], NSMakeRect(80, 45, 160, 90)));
  [player_ setSize:1];
  EXPECT_TRUE(CGRectEqualToRect([shown frame], NSMakeRect(0, 0, 320, 180)));
  [player_ shutdown];
  fake::settle();
  EXPECT_EQ([[place_ subviews] count], 0u);
}

TEST_F(SessionCase, PlaysInterstitial) {
  setPage(kPlays);
  use([[VemoraInterstitialAdPlayer alloc] initWithAdPlayerDelegate:host_]);
  UIViewController* root = [fake::window() rootViewController];
  CGRect frame = CGRectZero;
  host_->_hooks["adStart"] = [&](VemoraAdPlayerBase*) {
    UIViewController* stage = [root presentedViewController];
    frame = [(UIView*)[[[stage view] subviews] objectAtIndex:0] frame];
  };
  play();
  waitForEnd();
  EXPECT_EQ(callbacks(), kPlayed);
  EXPECT_TRUE(CGRectEqualToRect(frame, NSMakeRect(0, 20, 320, 450))) << "inside the safe area";
  EXPECT_EQ([root presentedViewController], nil);
}

TEST_F(SessionCase, EndsWhenTheHostClosesTheStage) {
  setPage("after['control.close'] = () => { event('AdUserClose'); event('AdGroupEnd'); };"
          "after['control.start'] = () => { event('AdGroupStart'); event('AdStarted'); };");
  use([[VemoraInterstitialAdPlayer alloc] initWithAdPlayerDelegate:host_]);
  play();
  fake::advance(1);
  [[fake::window() rootViewController] dismissViewControllerAnimated:YES completion:nil];
  waitForEnd();
  EXPECT_EQ(callbacks(), (Callbacks{"didLoadAds 1", "adGroupStart ad-1", "adStart ad-1", "adUserClose ad-1",
                                    "adGroupComplete 1"}));
  host_->_started = nil;
}

TEST_F(SessionCase, SendsTheRequestAndTheDevice) {
  useInline();
  fake::takeLog();
  load();
  std::string sent;
  for (const auto& line : fake::takeLog()) {
    const auto at = line.text.find("get.ads {");
    if (at != std::string::npos) sent = line.text.substr(at + 8);
  }
  const auto payload = JsonValue::parse(sent);
  ASSERT_TRUE(payload) << sent;
  EXPECT_EQ((*payload)["apikey"], JsonValue("key"));
  EXPECT_EQ((*payload)["params"]["section"], JsonValue("news"));
  EXPECT_EQ((*payload)["params"]["channel_id"], JsonValue("42"));
  EXPECT_EQ((*payload)["playback"]["mute"].type(), JsonValue::Type::Boolean);
  EXPECT_EQ((*payload)["device"]["ua"], JsonValue("FakeKit/1.0"));
  EXPECT_EQ((*payload)["device"]["model"], JsonValue("iPhone"));
  EXPECT_EQ((*payload)["device"]["ifa"], JsonValue("AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE"));
}

TEST_F(SessionCase, ReportsLoadsThatFail) {
  useInline();
  host_->_makeRequest = [] { return (VemoraAdRequest*)nil; };
  load();
  EXPECT_EQ(callbacks(), Callbacks{"didLoadAds 0 5001"});
  EXPECT_TRUE([[host_->_error domain] isEqual:(::VMRErrorDomain)]);
  host_->_makeRequest = nullptr;
  setPage("answers['get.ads'] = m => ({data: {adgroup: {ads: []}}});");
  [player_ shutdown];
  load();
  EXPECT_EQ(callbacks(), Callbacks{"didLoadAds 0 5003"});
  fake::removePages();
  [player_ shutdown];
  load();
  EXPECT_EQ(callbacks(), Callbacks{"didLoadAds 0 5002"});
  [player_ start];
  setPage("");
  [player_ shutdown];
  load();
  EXPECT_EQ(callbacks(), Callbacks{"didLoadAds 1"}) << "the same player loads once more";
  [player_ shutdown];
}

TEST_F(SessionCase, EndsWithThePageErrorAndWithoutHeartbeats) {
  setPage("after['control.start'] = () => event('AdError', 'broken');");
  useInline();
  play();
  waitForEnd();
  EXPECT_EQ(callbacks(), (Callbacks{"didLoadAds 1", "adError 5004"}));
  EXPECT_TRUE([[host_->_error localizedFailureReason] isEqual:@"broken"]);
  host_->_hooks.clear();
  setPage("");
  useInline();
  load();
  fake::advance(6);
  EXPECT_EQ(callbacks(), (Callbacks{"didLoadAds 1", "adError 5005"}));
}

TEST_F(SessionCase, ReportsARefusedStart) {
  setPage("var ok = window.VemoraProxy.bridge.onMessage;"
          "window.VemoraProxy.bridge.onMessage = text => { var m = JSON.parse(text);"
          "  if (m.method == 'control.start') post({id: m.id, error: {code: 7, message: 'no'}}); else "
          "ok(text); };");
  useInline();
  play();
  fake::advance(1);
  EXPECT_EQ(callbacks(), (Callbacks{"didLoadAds 1", "didFailToStart 5002"}));
  NSError* underlying = [[host_->_error userInfo] objectForKey:NSUnderlyingErrorKey];
  EXPECT_TRUE([[underlying domain] isEqual:(::VMRControllerErrorDomain)]);
  [player_ shutdown];
}

TEST_F(SessionCase, SendsEachCommand) {
  setPage("for (const name of ['play', 'stop', 'pause', 'resume', 'skip', 'close'])"
          "  after['control.' + name] = m => window.webkit.messageHandlers.VemoraLog.postMessage('got ' + "
          "name);");
  useInline();
  load();
  using Command = void (^)();
  const std::vector<std::pair<std::string, Command>> commands = {{"play", ^{
                                                                      [player_ play];
}
}
, {"stop", ^{
       [player_ stop];
}
}
, {"pause", ^{
       [player_ pause];
}
}
, {"resume", ^{
       [player_ resume];
}
}
, {"skip", ^{
       [player_ skip];
}
}
, {
  "close", ^{
    [player_ close];
  }
}
}
;
for (const auto& [name, command] : commands) {
  fake::takeLog();
  command();
  fake::settle();
  EXPECT_TRUE(logged("got " + name)) << name;
}
[player_ setStartTimeout:3];
EXPECT_EQ([player_ startTimeout], 3);
[player_ shutdown];
}

TEST_F(SessionCase, PausesWithTheApplication) {
  setPage("after['control.pause'] = m => window.webkit.messageHandlers.VemoraLog.postMessage('paused ' + "
          "m.params.data.background);");
  useInline();
  load();
  fake::takeLog();
  [[NSNotificationCenter defaultCenter] postNotificationName:(::UIApplicationWillResignActiveNotification)
                                                      object:nil];
  fake::settle();
  EXPECT_TRUE(logged("paused true"));
  [[NSNotificationCenter defaultCenter] postNotificationName:(::UIApplicationDidBecomeActiveNotification)
                                                      object:nil];
  fake::settle();
  [player_ shutdown];
}

TEST_F(SessionCase, OpensTheBrowserForLinks) {
  setPage("after['control.start'] = () => { event('AdGroupStart');"
          "  post({method: 'window', params: {event: 'open', url: 'mailto:a@b'}});"
          "  post({method: 'window', params: {event: 'open', url: 'https://example.com/'}}); };");
  useInline();
  play();
  fake::advance(1);
  UIViewController* root = [fake::window() rootViewController];
  id browser = [root presentedViewController];
  ASSERT_TRUE([browser isKindOfClass:NSClassFromString(@"SFSafariViewController")]);
  [[browser delegate] safariViewControllerDidFinish:browser];
  [root dismissViewControllerAnimated:NO completion:nil];
  [player_ shutdown];
  fake::settle();
}

TEST_F(SessionCase, ShowsAlertsInDebugModeOnly) {
  useInline();
  load();
  WKWebView* page = [[fake::window() subviews] lastObject];
  ASSERT_TRUE([page isKindOfClass:[WKWebView class]]) << "parked in the window";
  UIViewController* root = [fake::window() rootViewController];
  int answered = 0;
  int* const count = &answered;
  for (const bool debug : {true, false}) {
    [::Vemora debugMode:debug];
    [page.UIDelegate webView:page
        runJavaScriptAlertPanelWithMessage:@"hello"
                          initiatedByFrame:(WKFrameInfo* _Nonnull)nil
                         completionHandler:^{
                           ++*count;
                         }];
    EXPECT_EQ([root presentedViewController] != nil, debug);
    fake::settle();
    [root dismissViewControllerAnimated:NO completion:nil];
  }
  EXPECT_EQ(answered, 2);
  [player_ shutdown];
}

TEST_F(SessionCase, IsReleasedAtAnyMoment) {
  setPage(kPlays);
  useInline();
  host_->_hooks["didLoadAds"] = [this](VemoraAdPlayerBase* player) {
    [player start];
    player_ = nil;
  };
  load();
  waitForEnd();
  EXPECT_EQ(callbacks(), Callbacks{"didLoadAds 1"});

  useInline();
  host_->_callbacks.clear();
  @autoreleasepool {
    [player_ load];
    player_ = nil;
  }
  fake::settle();
  EXPECT_EQ(callbacks(), Callbacks()) << "no callback follows the release";

  useInline();
  host_->_makeRequest = [this] {
    player_ = nil;  // On the load's thread.
    return [[VemoraAdRequest alloc] init];
  };
  load();
  EXPECT_EQ(callbacks(), Callbacks());
}

TEST_F(SessionCase, HoldsItsDelegateWeakly) {
  useInline();
  host_ = nil;
  EXPECT_EQ([player_ delegate], nil);
  fake::takeLog();
  @autoreleasepool {
    [player_ load];
    fake::settle();
  }
  EXPECT_TRUE(logged("delegate"));
  [player_ shutdown];
  player_ = nil;
  host_ = [[AdHost alloc] init];
}

}  // namespace
}  // namespace vemora::apple
