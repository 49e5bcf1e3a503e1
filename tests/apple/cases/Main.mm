#include "cases/Case.h"

extern "C" void* objc_autoreleasePoolPush();
extern "C" void objc_autoreleasePoolPop(void* pool);

namespace vemora::apple {

namespace {

/// The classes whose instances are counted.
constexpr const char* kCounted[] = {
    "VMRWebView",
    "VMRWebViewDelegate",
    "VMRScriptMessageHandler",
    "VMRStageViewController",
    "VMRBrowserObserver",
    "VMRLocationObserver",
    "WKWebView",
    "WKUserContentController",
    "WKWebViewConfiguration",
    "NSURLSession",
    "NSURLSessionDownloadTask",
    "NSLayoutConstraint",
    "UIView",
    "SFSafariViewController",
    "UIAlertController",
    "VemoraInlineAdPlayer",
    "VemoraResizableAdPlayer",
    "VemoraInterstitialAdPlayer",
    "VemoraAdRequest",
    "VemoraAdGroup",
    "VemoraAd",
    "VMRRequestDictionary",
    "AdHost",
};

std::map<std::string, int> counts() {
  std::map<std::string, int> counted;
  for (const char* name : kCounted) counted[name] = fake::liveObjects(name);
  return counted;
}

}  // namespace

Case::Case() : pool_(objc_autoreleasePoolPush()) {
  fake::resetWindow();
  fake::removePages();
  fake::setPage("about:blank", "");
  fake::setScene(true, true);
  fake::setNetworkError({});
  fake::setEvaluationError({});
  fake::holdPresentations(false);
  fake::takeFaults();
  fake::takeRequests();
  fake::takeLog();
}

void Case::SetUp() {
  // The first use of some ports makes what lasts as long as the process.
  Platform::shared().application().webViewUserAgent([](const auto&) {});
  Platform::shared().locationServices().locationServicesEnabled();
  fake::settle();
  objc_autoreleasePoolPop(pool_);
  before_ = counts();
  pool_ = objc_autoreleasePoolPush();
}

void Case::TearDown() {
  objc_autoreleasePoolPop(pool_);
  @autoreleasepool {
    fake::resetWindow();
    fake::advance(60);
  }
  EXPECT_EQ(counts(), before_) << "objects were left";
  EXPECT_EQ(fake::sessionsNotInvalidated(), 0);
  EXPECT_EQ(fake::liveReachabilityTargets(), 0);
  EXPECT_EQ(fake::startedLocationManagers(), 0);
}

Case::~Case() {
  EXPECT_EQ(fake::takeFaults(), std::vector<std::string>());
}

}  // namespace vemora::apple

int main(int argc, char** argv) {
  fake::countObjects();
  ::testing::InitGoogleTest(&argc, argv);
  @autoreleasepool {
    return RUN_ALL_TESTS();
  }
}
