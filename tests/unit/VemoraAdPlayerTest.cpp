#include "PlayerTest.h"
#include "core/context/VMRContext.h"
#include "core/viewability/VMRMoatTracker.h"

#include <Vemora/VemoraAdPlayer.h>

#include <atomic>
#include <thread>

namespace vemora {
namespace {

class VemoraAdPlayerTest : public PlayerTest {
 protected:
  void load() { PlayerTest::load(player_); }
  /// Loaded, with what the delegate and the page received so far put aside.
  void loadQuietly() {
    load();
    delegate_->take();
    commands_ = page_->calls().size();
  }
  /// What the page was sent since the last look, with its params.
  Callbacks takeCommands() {
    Callbacks sent;
    for (; commands_ < page_->calls().size(); ++commands_) {
      const auto& call = page_->calls()[commands_];
      sent.push_back(call.method +
                     (call.params.isNull() ? "" : " " + call.params.serialized().value_or("?")));
    }
    return sent;
  }
  void post(const std::string& text) {
    page_->post(text);
    settle();
  }
  void event(const std::string& name, const std::string& id = "a", const std::string& data = "null") {
    page_->event(name, id, data);
    settle();
  }
  std::int64_t depth() { return inner(*player_).suspendHeartbeats(); }
  static std::size_t armings() { return countLogged("Monitor Heartbeat"); }

  std::shared_ptr<VemoraInlineAdPlayer> player_ = VemoraInlineAdPlayer::initWithAdPlayerDelegate(delegate_);
  std::size_t commands_ = 0;
};

// Loading.

TEST_F(VemoraAdPlayerTest, LoadsInTheParkedPage) {
  player_->load();
  const auto view = application().lastWebView();
  EXPECT_EQ(view->superview(), application().window());
  EXPECT_EQ(view->frame(), Rect{});
  EXPECT_FALSE(view->isUserInteractionEnabled());
  EXPECT_FALSE(view->isOpaque());
  openPage();
  view->finishNavigation();
  EXPECT_EQ(delegate_->take(), Callbacks{});
  settle();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds 2"});
  EXPECT_EQ(page_->methods(), (Callbacks{"get.config", "get.ads"}));
  EXPECT_EQ(page_->calls()[0].params["params"]["placement_type"], JsonValue("inline"));
  EXPECT_EQ(player_->adGroup()->ads()[0]->id(), JsonValue("a"));
  EXPECT_EQ(player_->adGroup()->totalDuration(), 45.5);
  EXPECT_EQ(player_->request(), delegate_->request);
  EXPECT_EQ(armings(), 1u);
}

TEST_F(VemoraAdPlayerTest, ReportsWhatALoadLacked) {
  delegate_->request = nullptr;
  load();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds - 5001"});
  EXPECT_EQ(delegate_->lastError(),
            (VMRError{VMRErrorDomain, 5001, "No ad request was given.", {}, {}, nullptr}));
  EXPECT_TRUE(page_->calls().empty());

  delegate_->request = VemoraAdRequest::init();
  ads_ = R"("result":{"data":{"adgroup":{"ads":[]}}})";
  load();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds 0 5003"});
  ads_ = R"("result":{})";
  load();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds - 5003"});
  EXPECT_EQ(armings(), 0u);
  player_->start();
  settle();
  EXPECT_EQ(page_->methods(), (Callbacks{"get.config", "get.ads"})) << "nothing to start";
}

TEST_F(VemoraAdPlayerTest, LoadsNothingWithoutADelegate) {
  player_->load();
  openPage();
  player_->setDelegate({});
  page_->view()->finishNavigation();
  settle();
  // The load thread may have asked before the delegate left: its result is not reported.
  EXPECT_EQ(delegate_->take(), Callbacks{});
  const std::string warning =
      "The delegate was destroyed before the load. A player holds it weakly: keep it in a variable";
  const auto orphan = VemoraInlineAdPlayer::initInView(nullptr);
  orphan->load();
  EXPECT_FALSE(logged(warning)) << "never had one";
  orphan->setDelegate(std::make_shared<RecordingDelegate>());  // Destroyed at the end of this line.
  orphan->load();
  EXPECT_TRUE(logged(warning));
  openPage();
  page_->view()->finishNavigation();
  settle();
  EXPECT_TRUE(page_->calls().empty());
}

TEST_F(VemoraAdPlayerTest, ASecondLoadReplacesTheFirstSession) {
  loadQuietly();
  const auto context = inner(*player_).context();
  const auto first = page_->view();
  load();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds 2"});
  EXPECT_NE(inner(*player_).context(), context);
  EXPECT_FALSE(first->superview()) << "the first page closes with its client";
  application().resignActive();
  settle();
  EXPECT_EQ(depth(), 2) << "registered once more";
}

TEST_F(VemoraAdPlayerTest, ASecondLoadWhileTheFirstIsUnderWay) {
  player_->load();
  const std::weak_ptr<testing::FakeWebView> first = application().lastWebView();
  load();
  advance(20);
  const Callbacks heard = delegate_->take();
  EXPECT_EQ(
      std::count_if(heard.begin(), heard.end(), [](const auto& c) { return c.starts_with("didLoadAds"); }),
      2);
  EXPECT_TRUE(first.expired());
}

TEST_F(VemoraAdPlayerTest, HoldsTheTrackerThatTheConfigurationAsksFor) {
  config_ = R"("result":{"data":{"features":{"moat":1},"moat_partner_code":"code"}})";
  delegate_->request->setChannel("1");
  load();
  ASSERT_TRUE(inner(*player_).moatTracker());
  EXPECT_EQ(inner(*player_).moatTracker()->moatPartnerCode(), "code");
  event("AdStarted", "a");
  EXPECT_TRUE(logged("Initializing Vemora SDK without MOAT"));
  for (const char* data :
       {R"({"features":{"moat":1}})", R"({"features":{"moat":0},"moat_partner_code":"code"})",
        R"({"moat_partner_code":"code"})"}) {
    config_ = std::string(R"("result":{"data":)") + data + "}";
    load();
    EXPECT_FALSE(inner(*player_).moatTracker()) << data;
  }
}

// Commands.

TEST_F(VemoraAdPlayerTest, SendsEachCommandFromASeparateThread) {
  loadQuietly();
  for (const auto& [command, sent] : std::vector<std::pair<void (VemoraAdPlayerBase::*)(), std::string>>{
           {&VemoraAdPlayerBase::play, "control.play"},
           {&VemoraAdPlayerBase::stop, "control.stop"},
           {&VemoraAdPlayerBase::pause, "control.pause"},
           {&VemoraAdPlayerBase::resume, "control.resume"},
           {&VemoraAdPlayerBase::skip, "control.skip"},
           {&VemoraAdPlayerBase::close, "control.close"}}) {
    (player_.get()->*command)();
    settle();
    EXPECT_EQ(takeCommands(), Callbacks{sent});
  }
  player_->shutdown();
  player_->play();
  player_->start();
  settle();
  EXPECT_EQ(takeCommands(), Callbacks{});
}

TEST_F(VemoraAdPlayerTest, ShutdownEndsTheSession) {
  loadQuietly();
  const auto view = page_->view();
  dispatch().detachNewThread([&] { player_->shutdown(); });
  settle();
  EXPECT_FALSE(view->superview());
  EXPECT_FALSE(inner(*player_).runtime());
  EXPECT_FALSE(inner(*player_).dumper());
  EXPECT_TRUE(player_->adGroup());
  player_->shutdown();
  EXPECT_EQ(depth(), 2);
  advance(10);
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "the check was cancelled";
  view->post("Vemora", json(R"({"method":"ping"})"));
  settle();
  EXPECT_FALSE(logged("Heartbeat Received"));

  load();
  EXPECT_EQ(delegate_->take(), Callbacks{"didLoadAds 2"});
  advance(10);
  EXPECT_EQ(delegate_->take(), Callbacks{})
      << "the depth that shutdown left keeps the new session's monitor from arming";
}

TEST_F(VemoraAdPlayerTest, TheFacadeDoesNothing) {
  VemoraAdPlayer facade;
  facade.setDelegate(delegate_);
  for (const auto command :
       {&VemoraAdPlayer::load, &VemoraAdPlayer::start, &VemoraAdPlayer::play, &VemoraAdPlayer::stop,
        &VemoraAdPlayer::pause, &VemoraAdPlayer::resume, &VemoraAdPlayer::skip, &VemoraAdPlayer::close}) {
    (facade.*command)();
  }
  settle();
  EXPECT_EQ(facade.delegate(), delegate_);
  EXPECT_EQ(delegate_->take(), Callbacks{});
  EXPECT_EQ(application().webViewCount(), 0u);
}

// Events.

TEST_F(VemoraAdPlayerTest, TurnsEventsIntoCallbacks) {
  loadQuietly();
  const std::vector<std::pair<std::string, std::string>> calls = {
      {"AdGroupStart", "adGroupStart 2"}, {"AdStarted", "adStart b"},          {"AdPlaying", "adPlaying b"},
      {"AdPaused", "adPaused b"},         {"AdClickThru", "adClicked b"},      {"AdSkipped", "adSkipped b"},
      {"AdUserClose", "adUserClose b"},   {"AdVideoComplete", "adComplete b"}, {"adSTARTED", "adStart b"}};
  for (const auto& [name, callback] : calls) {
    event(name, "b");
    EXPECT_EQ(delegate_->take(), Callbacks{callback});
  }
  event("AdTimeChange", "a", "12.5");
  event("AdTimeChange", "a", "\"3s\"");
  event("AdTimeChange");
  EXPECT_EQ(delegate_->take(), (Callbacks{"adTimeUpdate a 12.5", "adTimeUpdate a 3", "adTimeUpdate a 0"}));
  event("AdLoaded", "a", R"({"width":640,"height":400})");
  event("AdSizeChange", "a", R"({"width":400,"height":640})");
  EXPECT_EQ(delegate_->take(), (Callbacks{"adAspectRatio a 1.6", "adAspectRatio a 0.625"}));
  for (const char* size : {R"({"width":640,"height":0})", R"({"width":0,"height":400})", R"({"height":400})",
                           R"({"width":-640,"height":400})", R"({"width":0,"height":0})", "1.6", "null"})
    event("AdLoaded", "a", size);
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "no shape of a video";
  for (const char* quiet :
       {"AdLoaded", "AdStopped", "AdImpression", "AdLog", "AdVideoFirstQuartile", "Nonsense", ""})
    event(quiet);
  EXPECT_EQ(delegate_->take(), Callbacks{});
  EXPECT_TRUE(inner(*player_).runtime()) << "none of these ends the session";
  EXPECT_TRUE(logged("AdPlayer Event: AdStarted"));
  EXPECT_TRUE(logged("Playing Ad: b"));
}

TEST_F(VemoraAdPlayerTest, FindsAnEventsAdByIdentity) {
  loadQuietly();
  event("AdStarted", "c");
  post(R"({"method":"event","params":{"event":"AdStarted"}})");
  post(R"({"method":"event"})");
  post(R"({"method":"event","params":"text"})");
  EXPECT_EQ(delegate_->take(), (Callbacks{"adStart -", "adStart -"}));
  EXPECT_EQ(countLogged("Playing Ad: No Playing Ad"), 4u);
  const auto group = player_->adGroup();
  EXPECT_EQ(VemoraAdPlayerBase_p::_findAdInGroup(group, JsonValue::internedString("a")), group->ads()[0]);
  EXPECT_FALSE(VemoraAdPlayerBase_p::_findAdInGroup(group, JsonValue("a"))) << "equal text is not enough";
  EXPECT_FALSE(VemoraAdPlayerBase_p::_findAdInGroup(nullptr, JsonValue::internedString("a")));
}

TEST_F(VemoraAdPlayerTest, EndsWithTheGroupBeforeTheDelegateIsCalled) {
  loadQuietly();
  bool wasShutDown = false;
  delegate_->onCallback = [&](const std::string&) { wasShutDown = !inner(*player_).runtime(); };
  event("AdGroupEnd");
  EXPECT_EQ(delegate_->take(), Callbacks{"adGroupComplete 2"});
  EXPECT_TRUE(wasShutDown);
  EXPECT_FALSE(inner(*player_).dumper());
}

TEST_F(VemoraAdPlayerTest, EndsWithAnErrorBeforeTheDelegateIsCalled) {
  for (const auto& [data, reason] :
       {std::pair(R"("No media")", "No media"), std::pair("null", ""), std::pair("7", "7")}) {
    loadQuietly();
    bool wasShutDown = false;
    delegate_->onCallback = [&](const std::string&) { wasShutDown = !inner(*player_).runtime(); };
    event("AdError", "a", data);
    delegate_->onCallback = [](const std::string&) {};
    EXPECT_EQ(delegate_->take(), Callbacks{"adError a 5004"});
    EXPECT_EQ(delegate_->lastError(),
              (VMRError{VMRErrorDomain, 5004, "Ad playback failed", reason, {}, nullptr}));
    EXPECT_TRUE(wasShutDown);
  }
}

TEST_F(VemoraAdPlayerTest, LeavesUnknownMessagesToOtherObservers) {
  loadQuietly();
  EXPECT_FALSE(inner(*player_).onMessage(nullptr));
  EXPECT_FALSE(inner(*player_).onMessage(VMRRpc::initWithMethod("Ping", nullptr)));
  post(R"({"method":"telemetry"})");
  EXPECT_TRUE(logged("Unhandled RPC message: telemetry"));
}

// Windows and beacons.

TEST_F(VemoraAdPlayerTest, OpensClickThroughPagesOnTop) {
  loadQuietly();
  const auto open = [&](const char* url) {
    post(R"({"method":"window","params":{"event":"open","url":")" + std::string(url) + "\"}}");
  };
  open("https://example.com/first");
  ASSERT_EQ(application().browsers().size(), 1u);
  const auto first = application().browsers()[0];
  EXPECT_EQ(application().rootViewController()->presentedViewController(), first);
  EXPECT_EQ(depth(), 1);
  page_->view()->requestWindow("http://example.com/second");
  settle();
  ASSERT_EQ(application().browsers().size(), 2u);
  const auto second = application().browsers()[1];
  EXPECT_EQ(first->presentedViewController(), second);
  EXPECT_EQ(inner(*player_).sfvc(), second);
  EXPECT_EQ(depth(), 2);
  EXPECT_EQ(takeCommands(), Callbacks{}) << "the page decides what the ad does";
  advance(10);
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "the heartbeat is not watched meanwhile";

  second->userCloses();
  settle();
  EXPECT_EQ(depth(), 1);
  EXPECT_EQ(takeCommands(), Callbacks{"control.resume"});
  const std::size_t before = armings();
  first->userCloses();
  settle();
  EXPECT_EQ(armings(), before + 1);
  EXPECT_EQ(inner(*player_).sfvc(), second);
  load();
  EXPECT_FALSE(inner(*player_).sfvc());
}

TEST_F(VemoraAdPlayerTest, OpensNothingForBadWindowMessages) {
  loadQuietly();
  for (const char* params :
       {R"({})", R"({"url":"https://example.com/"})", R"({"event":"","url":"https://example.com/"})",
        R"({"event":5,"url":"https://example.com/"})", R"({"event":"Open","url":"https://example.com/"})",
        R"({"event":"open"})", R"({"event":"open","url":null})", R"({"event":"open","url":""})",
        R"({"event":"open","url":"no address"})", R"({"event":"open","url":["https://example.com/"]})",
        R"({"event":"open","url":"https://exa\u0000mple.com/"})",
        R"({"event":"open","url":"file:///etc/passwd"})", R"~({"event":"open","url":"javascript:alert(1)"})~",
        R"({"event":"open","url":"tel:1"})", R"({"event":"beacon","url":"//example.com"})", R"("text")",
        R"([1])"}) {
    post(std::string(R"({"method":"window","params":)") + params + "}");
  }
  post(R"({"method":"window"})");
  application().setHasBrowser(false);
  post(R"({"method":"window","params":{"event":"open","url":"https://example.com/"}})");
  EXPECT_TRUE(application().browsers().empty());
  EXPECT_TRUE(system().downloads().empty());
  EXPECT_EQ(depth(), 0);
}

TEST_F(VemoraAdPlayerTest, FiresEachBeaconInASeparateSession) {
  loadQuietly();
  post(R"({"method":"window","params":{"event":"beacon","url":"https://example.com/b?n=1"}})");
  post(R"({"method":"window","params":{"event":"beacon","url":"https://example.com/b?n=1"}})");
  const auto downloads = system().downloads();
  ASSERT_EQ(downloads.size(), 2u);
  EXPECT_NE(downloads[0].session, downloads[1].session);
  EXPECT_EQ(downloads[0].request.url, "https://example.com/b?n=1");
  EXPECT_EQ(downloads[0].request.httpMethod, "GET");
  EXPECT_EQ(downloads[0].request.cachePolicy, URLRequestCachePolicy::ReloadIgnoringLocalCacheData);
  const std::vector<std::pair<std::string, std::string>> headers = {{"User-Agent", "FakeWebKit/1.0"}};
  EXPECT_EQ(downloads[0].request.headers, headers);
  EXPECT_EQ(countLogged("Fire beacon: https://example.com/b?n=1"), 2u);

  player_ = nullptr;
  system().completeDownload(0, std::nullopt);
  system().completeDownload(1, VMRError{"Network", -1, "offline", {}, {}, nullptr});
  settle();
  EXPECT_TRUE(loggedError("Failed to fire beacon: offline (Network -1)"));
}

// Heartbeat.

TEST_F(VemoraAdPlayerTest, PingsKeepTheSessionAliveAndSilenceEndsIt) {
  loadQuietly();
  for (int i = 0; i < 10; ++i) {
    advance(4);
    page_->ping();
    settle();
  }
  EXPECT_EQ(delegate_->take(), Callbacks{});
  advance(4.9);
  EXPECT_EQ(delegate_->take(), Callbacks{});
  advance(0.2);
  EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5005"});
  EXPECT_EQ(delegate_->lastError(),
            (VMRError{VMRErrorDomain, 5005, "Player not responding", {}, {}, nullptr}));
  EXPECT_FALSE(inner(*player_).runtime());
  EXPECT_FALSE(page_->view());
}

TEST_F(VemoraAdPlayerTest, ACheckThatWasForgottenCannotBeCancelled) {
  loadQuietly();
  advance(1);
  application().becomeActive();  // Nothing to resume: arms a second check.
  settle();
  pingFor(3);
  EXPECT_EQ(delegate_->take(), Callbacks{});
  pingFor(1);
  EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5005"})
      << "five seconds after the load, regardless of what came in between";
}

TEST_F(VemoraAdPlayerTest, APingCanEndTheSession) {
  loadQuietly();
  post(R"({"method":"ping","params":{"shutdown":true,"message":"gone"}})");
  EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5004"});
  EXPECT_EQ(delegate_->lastError(),
            (VMRError{VMRErrorDomain, 5004, "Ad playback failed", "gone", {}, nullptr}));
  EXPECT_TRUE(logged("Heartbeat SHUTDOWN!"));
  loadQuietly();
  post(R"({"method":"ping","params":{"shutdown":1}})");
  EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5004"});
  EXPECT_EQ(delegate_->lastError(), (VMRError{VMRErrorDomain, 5004, "Ad playback failed", {}, {}, nullptr}));
  loadQuietly();
  for (const char* params : {R"({"shutdown":false})", R"({"shutdown":null})", R"([])", "5"})
    post(std::string(R"({"method":"ping","params":)") + params + "}");
  EXPECT_EQ(delegate_->take(), Callbacks{});
}

TEST_F(VemoraAdPlayerTest, LeavingTheApplicationSuspendsTheWatch) {
  loadQuietly();
  application().resignActive();
  settle();
  EXPECT_EQ(takeCommands(),
            Callbacks{R"(control.pause {"data":{"background":true,"ignorePreviousState":false}})"});
  page_->ping();
  advance(20);
  EXPECT_EQ(delegate_->take(), Callbacks{}) << "no ping arms it while suspended";
  application().becomeActive();
  settle();
  EXPECT_EQ(takeCommands(), Callbacks{R"(control.resume {"data":{"background":true}})"});
  advance(5.1);
  EXPECT_EQ(delegate_->take(), Callbacks{"adError - 5005"});
}

TEST_F(VemoraAdPlayerTest, TwoSuspensionsNeedTwoResumes) {
  loadQuietly();
  inner(*player_)._heartbeatSuspend();
  inner(*player_)._heartbeatSuspend();
  const std::size_t before = armings();
  inner(*player_)._heartbeatResume();
  EXPECT_EQ(armings(), before);
  inner(*player_)._heartbeatResume();
  EXPECT_EQ(armings(), before + 1);
  EXPECT_EQ(depth(), 0);
  inner(*player_)._hearbeatCancel();
  inner(*player_)._heartbeatResume();
  EXPECT_EQ(depth(), 0);
  EXPECT_EQ(armings(), before + 2) << "with nothing to resume it arms";
}

TEST_F(VemoraAdPlayerTest, ActsOnTheApplicationWhateverItsState) {
  delegate_->request->setParam("VPAID", "js");
  loadQuietly();
  application().resignActive();
  settle();
  EXPECT_EQ(takeCommands(),
            Callbacks{R"(control.pause {"data":{"background":true,"ignorePreviousState":true}})"});
  application().becomeActive();
  player_->shutdown();
  application().resignActive();
  application().becomeActive();
  settle();
  EXPECT_EQ(depth(), 1) << "the depth that shutdown left";
  advance(10);
  EXPECT_EQ(delegate_->take(), Callbacks{});
}

// Release.

TEST_F(VemoraAdPlayerTest, MayBeReleasedWhileTheApplicationLeavesAndComesBack) {
  for (int round = 0; round < 10; ++round) {
    auto player = VemoraInlineAdPlayer::initWithAdPlayerDelegate(delegate_);
    PlayerTest::load(player);
    dispatch().detachNewThread([player = std::move(player)]() mutable { player = nullptr; });
    application().resignActive();
    application().becomeActive();
    settle();
  }
  advance(30);
  EXPECT_FALSE(application().lastWebView());
}

TEST_F(VemoraAdPlayerTest, MayLoseItsRuntimeOrContextMeanwhile) {
  load();
  const auto runtime = inner(*player_).runtime();
  player_->shutdown();
  settle();
  runtime->onMessage(VMRRpc::initWithMethod("event", json(R"({"event":"AdStarted"})")));
  const auto dumper = [&] {
    const auto context = VMRContext::init();
    return VMRAdDumper::initWithContext(context, runtime);
  }();
  EXPECT_FALSE(dumper->context());
  EXPECT_TRUE(dumper->vastDictionary(*delegate_->request)["device"]["ua"].isNull());
}

TEST_F(VemoraAdPlayerTest, SurvivesEverythingAtOnce) {
  load();
  std::vector<std::thread> hosts;
  for (int i = 0; i < 3; ++i) {
    hosts.emplace_back([&, i] {
      for (int round = 0; round < 8; ++round) {
        player_->pause();
        player_->resume();
        player_->setSize(0.5F);
        player_->adGroup();
        player_->request();
        player_->setDelegate(delegate_);
        inner(*player_)._heartbeatCheck(nullptr);
        if (i == 0 && round % 4 == 3) player_->shutdown();
      }
    });
  }
  for (int round = 0; round < 4; ++round) {
    page_->event("AdTimeChange", "a", "1");
    page_->ping();
    page_->post(R"({"method":"window","params":{"event":"open","url":"https://example.com/"}})");
    application().resignActive();
    application().becomeActive();
    platform().fakeDispatch().runMain();
    platform().fakeAudio().changeRoute(2);
    if (round == 2) player_->load();
  }
  for (auto& host : hosts) host.join();
  settle();
  player_->shutdown();
  advance(30);
  player_ = nullptr;
  EXPECT_FALSE(application().lastWebView());
}

}  // namespace
}  // namespace vemora
