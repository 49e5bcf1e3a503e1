#include "web/LoadedPlayer.h"

#include <cstdio>
#include <cstdlib>

namespace vemora::bench {

namespace {

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "the player failed: %s\n", what.c_str());
  std::exit(1);
}

}  // namespace

void CountingDelegate::vemoraDidLoadAds(const Player&, const AdGroup& ads,
                                        const std::optional<VMRError>& error) {
  if (error || !ads || ads->ads().empty()) fail(error ? error->description : "no ads");
  loaded = true;
}

void CountingDelegate::vemoraAdTimeUpdate(const Player&, const Ad& ad, double) {
  if (!ad) fail("an event without its ad");
  ++updates;
}

void CountingDelegate::vemoraAdError(const Player&, const Ad&, const VMRError& error) {
  fail(error.description);
}

LoadedPlayer::LoadedPlayer(const Host& host, std::shared_ptr<View> parentView)
    : host_(host), player_(VemoraInlineAdPlayer::initInView(std::move(parentView), delegate_)) {
  const Usage before = Usage::ofThread();
  player_->load();
  loadCall_ = Usage::ofThread() - before;
  host.runUntil([this] { return delegate_->loaded; });
}

LoadedPlayer::~LoadedPlayer() {
  player_->shutdown();
  player_.reset();
  host_.runFor(0.1);
}

}  // namespace vemora::bench
