// Unit tests of a host app with the testing kit: whole ad sessions without a display, a network or a wait.
#include "Article.h"

#include <Vemora/Testing/VemoraScriptedController.h>
#include <Vemora/Testing/VemoraTesting.h>

#include <gtest/gtest.h>

using vemora::VemoraScriptedController;
using vemora::VemoraTesting;

class ArticleTest : public testing::Test {
 protected:
  VemoraScriptedController controller_;
  Article article_{VemoraTesting::makeView(640, 360)};
};

TEST_F(ArticleTest, PlaysItsVideoAfterTheAds) {
  controller_.setAds({{.id = "a", .duration = 15}, {.id = "b", .duration = 6}});
  article_.open();
  VemoraTesting::advance(20);
  EXPECT_TRUE(controller_.isPlaying());
  EXPECT_FALSE(article_.isVideoPlaying());
  VemoraTesting::advance(2);
  EXPECT_TRUE(article_.isVideoPlaying());
}

TEST_F(ArticleTest, AsksForAdsOfItsSection) {
  article_.open();
  VemoraTesting::settle();
  ASSERT_GE(controller_.calls().size(), 2u);
  EXPECT_EQ(controller_.calls()[1].method, "get.ads");
  EXPECT_EQ(controller_.calls()[1].params["params"]["section"].stringValue(), "news");
}

TEST_F(ArticleTest, PlaysItsVideoWhateverHappensToTheAds) {
  controller_.setAds({});
  article_.open();
  VemoraTesting::settle();
  EXPECT_TRUE(article_.isVideoPlaying()) << "no ads";
}

TEST_F(ArticleTest, WaitsEightSecondsForTheFirstAd) {
  controller_.setSilent("control.start");
  controller_.setSilent("get.config");
  article_.open();
  VemoraTesting::advance(7.9);
  EXPECT_FALSE(article_.isVideoPlaying());
  VemoraTesting::advance(0.2);
  EXPECT_TRUE(article_.isVideoPlaying());
}

TEST_F(ArticleTest, SaysThatTheViewerClosedTheAd) {
  article_.open();
  VemoraTesting::advance(3);
  controller_.viewerCloses();
  VemoraTesting::settle();
  EXPECT_TRUE(article_.isVideoPlaying());
  EXPECT_EQ(article_.note(), "Ad closed");
}

TEST_F(ArticleTest, IsSilentOnceTheReaderHasLeft) {
  article_.open();
  VemoraTesting::advance(3);
  article_.leave();
  VemoraTesting::advance(60);
  EXPECT_FALSE(article_.isVideoPlaying());
}
