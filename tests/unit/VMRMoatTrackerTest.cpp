#include "CoreTest.h"
#include "core/context/VMRContext.h"
#include "core/viewability/VMRMoatTracker.h"

#include <Vemora/InternalInconsistencyException.h>

namespace vemora {
namespace {

using Lines = std::vector<std::string>;

class VMRMoatTrackerTest : public CoreTest {
 protected:
  VMRMoatTrackerTest() {
    request_->setChannel("7");
    request_->setPlacementType("inline");
  }

  static testing::FakeClassRegistry& library() { return platform().fakeClasses(); }
  void track(VemoraAdEvent event, const JsonValue& data = nullptr) {
    tracker_->trackEvent(event, JsonValue::object({{"data", data}}), ad_, view_);
  }
  void trackWithoutAd(VemoraAdEvent event) { tracker_->trackEvent(event, nullptr, nullptr, view_); }
  static std::string sent(int type, const std::string& playhead = "0") {
    return "VEMORAMoatReactiveVideoTracker dispatchEvent: event(" + std::to_string(type) + ", " + playhead +
           ")";
  }

  std::shared_ptr<VemoraAdRequest> request_ = VemoraAdRequest::initWithApiKey("key");
  std::shared_ptr<VemoraAd> ad_ = VemoraAd::initWithAdDictionary(json(R"({"id":"a","duration":15.5})"));
  std::shared_ptr<testing::FakeView> view_ = std::make_shared<testing::FakeView>();
  std::shared_ptr<VMRMoatTracker> tracker_ =
      VMRMoatTracker::initWithContext(VMRContext::init(), request_, "code");
};

const std::string kStop = "VEMORAMoatReactiveVideoTracker stopTracking";
const Lines kAttached = {
    "+VEMORAMoatReactiveVideoTracker trackerWithPartnerCode: code",
    R"(VEMORAMoatReactiveVideoTracker trackVideoAd:withLayer:withDurationMillis: {"adid":"a",)"
    R"("level1":"com.example.host","level2":"7","level3":"a","level4":"inline","splicer1":"Host-1.2.3"} view 15500)",
    "VEMORAMoatReactiveVideoTracker dispatchEvent: event(1, 0)",
    "VEMORAMoatReactiveVideoTracker dispatchEvent: event(8, 0)"};

TEST_F(VMRMoatTrackerTest, LogsAMissingLibraryOnceForEachAd) {
  for (const auto event :
       {AdStarted, AdVideoFirstQuartile, AdVideoMidpoint, AdVideoThirdQuartile, AdVideoComplete})
    track(event);
  EXPECT_EQ(countLogged("Initializing Vemora SDK without MOAT"), 1u);
  EXPECT_FALSE(tracker_->moatTracker());
  for (const char* name : {"VEMORAMoatOptions", "VEMORAMoatAnalytics", "VEMORAMoatReactiveVideoTracker"}) {
    library().installMoat();
    library().remove(name);
    track(AdStarted);
  }
  EXPECT_EQ(countLogged("Initializing Vemora SDK without MOAT"), 4u);
  EXPECT_EQ(library().takeLines(), Lines{});
}

TEST_F(VMRMoatTrackerTest, StartsTheLibraryOncePerProcess) {
  library().installMoat();
  track(AdStarted);
  track(AdStarted);
  const auto other = VMRMoatTracker::initWithContext(VMRContext::init(), request_, "other");
  other->trackEvent(AdStarted, nullptr, ad_, view_);
  EXPECT_TRUE(other->moatTracker());
  EXPECT_EQ(testing::FakeClassRegistry::startLines(),
            (Lines{"VEMORAMoatOptions setDebugLoggingEnabled: true", "+VEMORAMoatAnalytics sharedInstance",
                   "VEMORAMoatAnalytics prepareNativeDisplayTracking: code",
                   "VEMORAMoatAnalytics startWithOptions: options"}));
}

TEST_F(VMRMoatTrackerTest, ReportsAnAdFromStartToEnd) {
  library().installMoat();
  track(AdStarted);
  EXPECT_EQ(library().takeLines(), kAttached);
  EXPECT_TRUE(logged("Initializing Vemora SDK with MOAT"));
  EXPECT_TRUE(logged("VEMORAMoatReactiveVideoTracker attached to PlayerView: YES"));
  track(AdTimeChange, 12.5);
  track(AdVideoFirstQuartile);
  track(AdVideoMidpoint);
  track(AdVideoThirdQuartile);
  track(AdPaused);
  track(AdPlaying);
  track(AdVolumeChange);
  EXPECT_EQ(library().takeLines(), (Lines{sent(2, "12500"), sent(3, "12500"), sent(4, "12500"),
                                          sent(7, "12500"), sent(8, "12500"), sent(9, "12500")}));
  for (const auto event : {AdLoaded, AdImpression, AdGroupEnd, AdSkippableStateChange, AdUnknown,
                           static_cast<VemoraAdEvent>(-1), static_cast<VemoraAdEvent>(99)})
    track(event);
  EXPECT_EQ(library().takeLines(), Lines{});
  track(AdVideoComplete);
  EXPECT_EQ(library().takeLines(), (Lines{sent(0, "12500"), kStop}));
  track(AdPaused);
  EXPECT_EQ(library().takeLines(), Lines{}) << "no tracker is attached any more";
}

TEST_F(VMRMoatTrackerTest, DetachesOnEveryEndOfAnAd) {
  library().installMoat();
  for (const auto& [event, type] :
       {std::pair(AdStopped, 6), std::pair(AdSkipped, 5), std::pair(AdUserClose, 5)}) {
    track(AdStarted);
    library().takeLines();
    track(event);
    EXPECT_EQ(library().takeLines(), (Lines{sent(type), kStop}));
    EXPECT_FALSE(tracker_->moatTracker());
  }
}

TEST_F(VMRMoatTrackerTest, ReplacesATrackerThatIsStillAttached) {
  library().installMoat();
  track(AdTimeChange, 3);
  EXPECT_EQ(tracker_->playheadMillis(), 0) << "ignored before a tracker is attached";
  track(AdStarted);
  track(AdTimeChange, 3);
  library().takeLines();
  track(AdStarted);
  Lines expected = {kStop};
  expected.insert(expected.end(), kAttached.begin(), kAttached.end());
  EXPECT_EQ(library().takeLines(), expected);
}

TEST_F(VMRMoatTrackerTest, AttachesOnTheFirstEventWithAnAd) {
  library().installMoat();
  trackWithoutAd(AdStarted);
  EXPECT_TRUE(tracker_->createTracker());
  EXPECT_EQ(library().takeLines(), Lines{});
  track(AdPaused);
  EXPECT_EQ(library().takeLines(), (Lines{kAttached[0], kAttached[1], sent(7)}));
  EXPECT_FALSE(tracker_->createTracker());
}

TEST_F(VMRMoatTrackerTest, ToleratesALibraryThatRefusesTheView) {
  library().installMoat();
  library().setAcceptsViews(false);
  ad_ = VemoraAd::initWithAdDictionary(json(R"({"id":"a"})"));
  view_ = nullptr;
  track(AdStarted);
  EXPECT_TRUE(logged("VEMORAMoatReactiveVideoTracker attached to PlayerView: NO"));
  const Lines lines = library().takeLines();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_TRUE(lines[1].ends_with(" no view 0"));
  EXPECT_EQ(lines[3], sent(8));
  library().remove("VEMORAMoatAdEvent");
  track(AdTimeChange, 1);
  track(AdPaused);
  EXPECT_EQ(library().takeLines(), Lines{});
  EXPECT_EQ(tracker_->playheadMillis(), 0);
}

TEST_F(VMRMoatTrackerTest, ThrowsWithoutAChannelAndOnPlainInit) {
  request_->setChannel(std::nullopt);
  EXPECT_THROW(track(AdStarted), InternalInconsistencyException);
  EXPECT_THROW(VMRMoatTracker::init(), InternalInconsistencyException);
}

}  // namespace
}  // namespace vemora
