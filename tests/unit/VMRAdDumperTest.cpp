#include "CoreTest.h"
#include "core/bridge/VMRBridgeErrors.h"
#include "core/client/VMRAdDumper.h"
#include "core/context/VMRAppInfo.h"
#include "core/context/VMRContext.h"
#include "core/model/VMRConfig.h"
#include "core/page/VMRWebViewRuntime.h"

#include <Vemora/InternalInconsistencyException.h>

#include <atomic>
#include <thread>
#include <tuple>

namespace vemora {
namespace {

const VMRError kScriptError{"WebKit", 4, "A JavaScript exception occurred", {}, {}, nullptr};

/// A dumper on a loaded page in the key window.
class VMRAdDumperTest : public CoreTest {
 protected:
  VMRAdDumperTest() {
    application().window()->addSubview(page_.view());
    page_.view()->finishNavigation();
    settle();
    request_->setChannel("42");
  }

  /// Runs a blocking command as players do, until it has answered or time is up.
  template <typename Command>
  auto inBackground(Command command) {
    std::optional<decltype(command())> result;
    dispatch().detachNewThread([&] { result = command(); });
    advance(5);
    EXPECT_TRUE(result) << "a command blocks for five seconds at the most";
    return *result;
  }
  bool control(bool (VMRAdDumper::*command)(const JsonValue&), const JsonValue& data = nullptr) {
    return inBackground([&] { return (dumper_.get()->*command)(data); });
  }
  auto loadConfig() {
    return inBackground([&] { return dumper_->loadConfigForRequest(request_); });
  }
  auto loadAds() {
    return inBackground([&] { return dumper_->loadAdsForRequest(request_); });
  }
  JsonValue payload() {
    return inBackground([&] { return dumper_->vastDictionary(*request_); });
  }
  void setVisible(bool visible) {
    page_.view()->setFrame(visible ? Rect{0, 0, 100, 100} : Rect{});
    advance(1);
  }
  void expectBridgeFailure(const std::string& reason) {
    EXPECT_EQ(dumper_->lastError(), bridgeFailure(reason));
  }

  std::shared_ptr<VMRContext> context_ = VMRContext::init();
  std::shared_ptr<VMRWebViewRuntime> runtime_ = VMRWebViewRuntime::init();
  ScriptedPage page_{application().lastWebView()};
  std::shared_ptr<VMRAdDumper> dumper_ = VMRAdDumper::initWithContext(context_, runtime_);
  std::shared_ptr<VemoraAdRequest> request_ = VemoraAdRequest::initWithApiKey("key");
};

TEST_F(VMRAdDumperTest, SendsEachControlWithItsDataOneLevelDown) {
  EXPECT_TRUE(control(&VMRAdDumper::play));
  EXPECT_TRUE(control(&VMRAdDumper::stop, json(R"({"x":1})")));
  EXPECT_TRUE(control(&VMRAdDumper::pause));
  EXPECT_TRUE(control(&VMRAdDumper::resume));
  EXPECT_TRUE(control(&VMRAdDumper::skip));
  EXPECT_TRUE(control(&VMRAdDumper::close));
  EXPECT_EQ(page_.methods(), (std::vector<std::string>{"control.play", "control.stop", "control.pause",
                                                       "control.resume", "control.skip", "control.close"}));
  EXPECT_TRUE(page_.calls()[0].params.isNull());
  EXPECT_EQ(page_.calls()[1].params, json(R"({"data":{"x":1}})"));
  EXPECT_FALSE(dumper_->lastError());
}

TEST_F(VMRAdDumperTest, ControlsKeepTheRepliesErrorOrMakeTheirOwn) {
  page_.answer("control.skip", "");
  EXPECT_FALSE(control(&VMRAdDumper::skip));
  EXPECT_EQ(dumper_->lastError()->code, 5002);
  EXPECT_TRUE(logged("Failed to send control.skip"));

  page_.answer("control.pause", R"("error":{})");
  EXPECT_FALSE(control(&VMRAdDumper::pause));
  expectBridgeFailure("Failed to send control.pause");

  EXPECT_TRUE(control(&VMRAdDumper::play));
  EXPECT_FALSE(dumper_->lastError()) << "a success clears it";

  page_.failScripts(kScriptError);
  EXPECT_FALSE(control(&VMRAdDumper::play));
  ASSERT_TRUE(dumper_->lastError()->underlyingError);
  EXPECT_EQ(*dumper_->lastError()->underlyingError, kScriptError);
}

TEST_F(VMRAdDumperTest, ConfigKeepsAnOlderErrorWhenNoReplyComes) {
  page_.failScripts(kScriptError);
  EXPECT_FALSE(control(&VMRAdDumper::play));
  const auto older = dumper_->lastError();
  page_.failScripts(std::nullopt);
  page_.answer("get.config", "");
  EXPECT_FALSE(loadConfig());
  EXPECT_EQ(dumper_->lastError(), older);
  EXPECT_TRUE(loggedError("Failed to send get.config"));

  EXPECT_TRUE(control(&VMRAdDumper::play));
  EXPECT_FALSE(loadConfig());
  expectBridgeFailure("Failed to send get.config");
  page_.answer("get.ads", "");
  EXPECT_FALSE(loadAds());
  expectBridgeFailure("Failed to send get.ads");
}

TEST_F(VMRAdDumperTest, LoadsFailOnErrorReplies) {
  page_.answer("get.config", R"("error":{})");
  EXPECT_FALSE(loadConfig());
  expectBridgeFailure("Failed to send get.config");
  EXPECT_TRUE(loggedError("Failed to send get.config"));
  page_.answer("get.ads", R"("result":{"data":{"adgroup":{"ads":[{}]}}},"error":{"code":1})");
  EXPECT_FALSE(loadAds());
  EXPECT_EQ(dumper_->lastError()->failureReason, "Failed to send get.ads");
  EXPECT_TRUE(logged("Failed to send get.ads")) << "not as an error, unlike that of get.config";
  EXPECT_FALSE(loggedError("Failed to send get.ads"));

  page_.failScripts(kScriptError);
  EXPECT_FALSE(loadConfig());
  EXPECT_EQ(*dumper_->lastError()->underlyingError, kScriptError) << "the call's own error is kept";
}

TEST_F(VMRAdDumperTest, KeepsWhatAnErrorReplySays) {
  page_.answer("get.config", R"("error":{"code":403,"message":"unknown api key"})");
  EXPECT_FALSE(loadConfig());
  VMRError expected = bridgeFailure("Failed to send get.config");
  expected.underlyingError = std::make_shared<const VMRError>(
      VMRError{VMRControllerErrorDomain, 403, "unknown api key", {}, {}, nullptr});
  EXPECT_EQ(dumper_->lastError(), expected);
  EXPECT_TRUE(loggedError("get.config: unknown api key (VMRControllerErrorDomain 403)"));

  for (const auto& [error, code, text] :
       {std::tuple(R"({"code":"7x"})", 7, R"({"code":"7x"})"), std::tuple(R"(["odd"])", 0, R"(["odd"])"),
        std::tuple(R"("text")", 0, "text"), std::tuple(R"({"message":{"a":1}})", 0, R"({"a":1})")}) {
    page_.answer("control.stop", std::string(R"("result":{},"error":)") + error);
    EXPECT_FALSE(control(&VMRAdDumper::stop)) << error;
    ASSERT_TRUE(dumper_->lastError()->underlyingError) << error;
    EXPECT_EQ(dumper_->lastError()->underlyingError->code, code);
    EXPECT_EQ(dumper_->lastError()->underlyingError->description, text);
  }
}

/// Answers at once: "control.play" with a result, everything else with a failure to post.
class AnsweringRuntime final : public VMRRuntime {
 public:
  void postMessage(const std::shared_ptr<VMRRpc>& message, ErrorHandler errorHandler) override {
    if (message->isKindOf("control.play")) {
      onMessage(message->replyWith(JsonValue::object({{"ok", true}})));
    } else {
      errorHandler(kScriptError);
    }
  }
};

TEST_F(VMRAdDumperTest, EachCommandDecidesOnItsOwnReply) {
  constexpr int kCalls = 20'000;
  const auto runtime = std::make_shared<AnsweringRuntime>();
  runtime->setLoaded(VMRFuture::init());
  runtime->loaded()->resolve(true);
  Vemora::debugMode(false);
  const auto dumper = VMRAdDumper::initWithContext(context_, runtime);
  std::atomic<bool> done{false};
  int failed = 0;
  std::thread failing([&] {
    while (!done) dumper->stop(nullptr);
  });
  std::thread playing([&] {
    for (int i = 0; i < kCalls; ++i) failed += !dumper->play(nullptr);
    done = true;
  });
  playing.join();
  failing.join();
  EXPECT_EQ(failed, 0);
}

TEST_F(VMRAdDumperTest, ConfigTakesAnyData) {
  page_.answer("get.config", R"("result":{"data":{"features":{"moat":1}}})");
  EXPECT_TRUE(loadConfig()->featureMOATEnabled());
  page_.answer("get.config", R"("result":{})");
  const auto empty = loadConfig();
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->configDict().isNull());
  EXPECT_FALSE(dumper_->lastError());
}

TEST_F(VMRAdDumperTest, AnEmptyAdListIsAnError) {
  const VMRError noAds{VMRErrorDomain, 5003, "No ads available", "No ads available", {}, nullptr};
  page_.answer("get.ads", R"("result":{"data":{"adgroup":{"ads":[]}}})");
  const auto empty = loadAds();
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->ads().empty());
  EXPECT_EQ(dumper_->lastError(), noAds);
  EXPECT_TRUE(loggedError("get.ads: No ads available"));
  page_.answer("get.ads", R"("result":{"data":{}})");
  EXPECT_FALSE(loadAds());
  EXPECT_EQ(dumper_->lastError(), noAds);
  page_.answer("get.ads", R"("result":{"data":{"adgroup":{"ads":[{"id":"a"}]}}})");
  EXPECT_EQ(loadAds()->ads().size(), 1u);
  EXPECT_FALSE(dumper_->lastError());
}

TEST_F(VMRAdDumperTest, DefersTheStartUntilVisibleAndLosesItsData) {
  EXPECT_TRUE(control(&VMRAdDumper::start, json(R"({"x":1})")));
  EXPECT_TRUE(page_.calls().empty());
  setVisible(true);
  setVisible(false);
  setVisible(true);
  EXPECT_EQ(page_.methods(), (std::vector<std::string>{"control.start", "control.pause", "control.resume"}));
  EXPECT_TRUE(page_.calls()[0].params.isNull());

  EXPECT_TRUE(control(&VMRAdDumper::start, json(R"({"x":1})")));
  EXPECT_EQ(page_.calls().back().method, "control.start");
  EXPECT_EQ(page_.calls().back().params, json(R"({"data":{"x":1}})"));
}

TEST_F(VMRAdDumperTest, PausesAndResumesWhenAnOutputGoesAway) {
  for (const int reason : {0, 1, 3, 8}) {
    EXPECT_TRUE(platform().fakeAudio().changeRoute(reason)) << "the session exists";
    settle();
  }
  EXPECT_TRUE(page_.calls().empty());
  platform().fakeAudio().changeRoute(2);
  settle();
  EXPECT_EQ(page_.methods(), (std::vector<std::string>{"control.pause", "control.resume"}));
  for (const auto& call : page_.calls()) EXPECT_EQ(call.params, json(R"({"data":{"background":true}})"));

  dumper_ = nullptr;
  settle();
  platform().fakeAudio().changeRoute(2);
  settle();
  EXPECT_EQ(page_.calls().size(), 2u);
}

TEST_F(VMRAdDumperTest, ShutdownClosesTheRuntimeAndClearsTheError) {
  page_.answer("control.play", R"("error":{})");
  control(&VMRAdDumper::play);
  dumper_->shutdown();
  settle();
  EXPECT_FALSE(dumper_->lastError());
  EXPECT_FALSE(runtime_->getWebView());
  EXPECT_FALSE(control(&VMRAdDumper::play)) << "a closed page does not answer";
}

TEST_F(VMRAdDumperTest, MayBeDestroyedWithItsPageOnAnyThread) {
  dispatch().detachNewThread([dumper = std::move(dumper_)]() mutable { dumper = nullptr; });
  settle();
  EXPECT_FALSE(runtime_->getWebView());
}

TEST_F(VMRAdDumperTest, InitIsNotValid) {
  EXPECT_THROW(VMRAdDumper::init(), InternalInconsistencyException);
}

// The payload.

TEST_F(VMRAdDumperTest, SendsExactlyThePayload) {
  request_->setPlacementType("inline");
  request_->setParam("VPAID", "js");
  request_->setParam("channel_id", "mine");
  request_->setParam("platform_type", "mine");
  request_->setCustom("k", 1);
  request_->setPlaybackOption("muted", false);
  const std::string uid = *context_->appInfo()->app_uid();
  EXPECT_EQ(payload(), json(R"({
    "apikey": "key",
    "params": {"VPAID":"js","channel_id":"42","platform_type":"apple","placement_type":"inline",
               "vpi":["mp4","tvjs","vpaid_js"]},
    "custom": {"k":1},
    "playback": {"muted":false},
    "device": {"ifa":"AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE","ua":"FakeWebKit/1.0","lang":"pt_PT","make":"Apple",
               "model":"FakePhone","os":"FakeOS","osv":"9.1","dnt":false,"lmt":false,
               "geo":{"country":"PT","lat":null,"lon":null,"type":null}},
    "app": {"ext":{"vemorasdk":{"ver":"1.2.3","name":"Host"}},"bundle":"com.example.host","uid":")" +
                            uid + R"(","ver":"1.2.3","name":"Host","id":")" + uid + R"("},
    "imp": {}})"));

  EXPECT_TRUE(loadConfig());
  EXPECT_TRUE(loadAds() == nullptr);
  EXPECT_EQ(page_.calls()[0].params, payload()) << "the payload is the params itself";
  EXPECT_EQ(page_.calls()[1].params, payload());
}

TEST_F(VMRAdDumperTest, SendsNullForUnknownValues) {
  platform().fakeDevice().advertisingId = std::nullopt;
  platform().fakeDevice().modelName = std::nullopt;
  platform().fakeDevice().trackingEnabled = false;
  platform().fakeBundle().localizations.clear();
  platform().fakeBundle().country = std::nullopt;
  application().setUserAgent(std::nullopt);
  context_ = VMRContext::init();
  dumper_->setContext(context_);
  request_->setChannel(std::nullopt);
  request_->setPlacementType(std::nullopt);
  platform().fakeUserDefaults().setObject(1, "IABConsent_SubjectToGDPR");
  platform().fakeUserDefaults().setObject("BOEFEAyO", "IABConsent_ConsentString");
  const JsonValue made = payload();
  EXPECT_EQ(made["device"],
            json(R"({"ifa":null,"ua":null,"lang":null,"make":"Apple","model":null,"os":"FakeOS","osv":"9.1",
                     "dnt":true,"lmt":true,"geo":{"country":null,"lat":null,"lon":null,"type":null}})"));
  EXPECT_EQ(made["params"], json(R"({"channel_id":"0","platform_type":"apple","vpi":["mp4","tvjs","vpaid_js"],
                                    "regs[gdpr]":"1","user[consent]":"BOEFEAyO"})"));
}

TEST_F(VMRAdDumperTest, SendsNullForAReleasedContext) {
  request_->setPlacementType("inline");
  context_ = nullptr;
  EXPECT_EQ(payload(), json(R"({
    "apikey": "key", "custom": {}, "playback": {}, "imp": {},
    "params": {"channel_id":"42","platform_type":"apple","placement_type":"inline"},
    "device": {"ifa":null,"ua":null,"lang":null,"make":null,"model":null,"os":null,"osv":null,"dnt":null,
               "lmt":null,"geo":{"country":null,"lat":null,"lon":null,"type":null}},
    "app": {"ext":{"vemorasdk":{"ver":null,"name":null}},"bundle":null,"uid":null,"ver":null,"name":null,
            "id":null}})"));
}

TEST_F(VMRAdDumperTest, ReadsTheChannelAsAnInteger) {
  for (const auto& [channel, sent] :
       {std::pair("17abc", "17"), std::pair("abc", "0"), std::pair(" -3", "-3")}) {
    request_->setChannel(channel);
    EXPECT_EQ(payload()["params"]["channel_id"], JsonValue(sent));
  }
}

TEST_F(VMRAdDumperTest, RefusesARequestWithoutAKey) {
  EXPECT_THROW(dumper_->vastDictionary(*VemoraAdRequest::initPrivate()), InternalInconsistencyException);
}

}  // namespace
}  // namespace vemora
