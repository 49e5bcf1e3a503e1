#include "common/MainLoop.h"

#include <Vemora/VMRError.h>
#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdPlayerDelegate.h>
#include <Vemora/VemoraAdRequest.h>
#include <Vemora/VemoraInlineAdPlayer.h>

#include <gtest/gtest.h>
#include <gtk/gtk.h>

/// In a program that has no display and goes on all the same.
namespace vemora::test {

namespace {

struct LoadRecorder : VemoraAdPlayerDelegate {
  std::shared_ptr<VemoraAdRequest> requestForPlayer(const std::shared_ptr<VemoraAdPlayerBase>&) override {
    return VemoraAdRequest::initWithApiKey("key");
  }
  void vemoraDidLoadAds(const std::shared_ptr<VemoraAdPlayerBase>&, const std::shared_ptr<VemoraAdGroup>&,
                        const std::optional<VMRError>& error) override {
    ++loads;
    lastError = error;
  }
  int loads = 0;
  std::optional<VMRError> lastError;
};

void loadAndExpectAnError() {
  const auto delegate = std::make_shared<LoadRecorder>();
  const auto player = VemoraInlineAdPlayer::initWithAdPlayerDelegate(delegate);
  player->load();
  ASSERT_TRUE(waitUntil([&] { return delegate->loads > 0; }));
  ASSERT_TRUE(delegate->lastError);
  EXPECT_EQ(delegate->lastError->code, VMRErrorBridge);
  player->start();
  player->shutdown();
  EXPECT_FALSE(waitUntil([&] { return delegate->loads > 1; }, 0.1));
}

}  // namespace

TEST(NoDisplayTest, LoadsEndWithAnError) {
  loadAndExpectAnError();
  ASSERT_FALSE(gtk_init_check()) << "this test is for a program without a display";
  loadAndExpectAnError();
}

}  // namespace vemora::test

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
