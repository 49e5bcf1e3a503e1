#include "core/bridge/VMRBridgeErrors.h"
#include "ports/MainThreadRelease.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraAdBreak.h>
#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>

#include <atomic>
#include <utility>

namespace vemora {

/// The state of a break, and the delegate of its player. The break holds it, it holds the player, and the
/// player holds it weakly. Main thread only, except for `requestForPlayer` and `release`.
class VemoraAdBreak_p final : public VemoraAdPlayerDelegate,
                              public std::enable_shared_from_this<VemoraAdBreak_p> {
 public:
  using Outcome = VemoraAdBreak::Outcome;
  using OnEnded = VemoraAdBreak::OnEnded;

  VemoraAdBreak_p(std::shared_ptr<VemoraAdRequest> request, Player player)
      : request_(std::move(request)), player_(std::move(player)) {}

  void setStartTimeout(double seconds) { startTimeout_ = seconds; }
  void setTimeLimit(double seconds) { timeLimit_ = seconds; }
  void preload();
  bool isReady() const { return hasAds_ && !result_; }
  void run(OnEnded onEnded);
  void end(Outcome outcome, std::optional<VMRError> error = std::nullopt);
  /// From now on there are no callbacks. Any thread.
  void release() { isReleased_ = true; }
  const Player& player() const { return player_; }

  std::shared_ptr<VemoraAdRequest> requestForPlayer(const Player&) override { return request_; }
  void vemoraDidLoadAds(const Player&, const AdGroup& ads, const std::optional<VMRError>& error) override;
  void vemoraDidFailToStart(const Player&, const VMRError& error) override { end(Outcome::Failed, error); }
  void vemoraAdStart(const Player&, const Ad&) override;
  void vemoraAdSkipped(const Player&, const Ad&) override { outcome_ = Outcome::Skipped; }
  void vemoraAdUserClose(const Player&, const Ad&) override { outcome_ = Outcome::Closed; }
  void vemoraAdGroupComplete(const Player&, const AdGroup&) override { end(outcome_); }
  void vemoraAdError(const Player&, const Ad&, const VMRError& error) override {
    end(Outcome::Failed, error);
  }

 private:
  template <typename Condition>
  void limit(double seconds, Condition isDue);
  void report();

  const std::shared_ptr<VemoraAdRequest> request_;
  const Player player_;
  double startTimeout_ = 15;
  double timeLimit_ = 0;
  bool isLoadCalled_ = false;
  bool hasAds_ = false;
  bool isRun_ = false;
  bool hasStarted_ = false;               ///< The first ad has started.
  Outcome outcome_ = Outcome::Completed;  ///< What the end of the group will mean.
  std::optional<VemoraAdBreak::Result> result_;
  OnEnded onEnded_;
  std::atomic<bool> isReleased_{false};
};

void VemoraAdBreak_p::preload() {
  if (result_ || std::exchange(isLoadCalled_, true)) return;
  player_->load();
}

void VemoraAdBreak_p::run(OnEnded onEnded) {
  if (std::exchange(isRun_, true)) {
    Vemora::logError("An ad break was run twice: create one for each ad break");
    return dispatch().mainAsync([onEnded = std::move(onEnded)] {
      if (onEnded) onEnded({Outcome::Failed, makeError(VMRErrorPlayback, "An ad break runs once")});
    });
  }
  onEnded_ = std::move(onEnded);
  if (result_) return report();
  limit(startTimeout_, [](const auto& self) { return !self.hasStarted_; });
  limit(timeLimit_, [](const auto&) { return true; });
  if (hasAds_) return player_->start();
  preload();
}

template <typename Condition>
void VemoraAdBreak_p::limit(double seconds, Condition isDue) {
  if (!(seconds > 0)) return;
  dispatch().mainAfter(seconds, [weak = weak_from_this(), isDue] {
    const auto self = weak.lock();
    if (self && isDue(*self)) self->end(Outcome::TimedOut);
  });
}

void VemoraAdBreak_p::vemoraDidLoadAds(const Player&, const AdGroup& ads,
                                       const std::optional<VMRError>& error) {
  hasAds_ = ads && !ads->ads().empty();
  if (!hasAds_) return end(error && error->code == VMRErrorNoAds ? Outcome::NoAds : Outcome::Failed, error);
  if (isRun_) player_->start();
}

void VemoraAdBreak_p::vemoraAdStart(const Player&, const Ad&) {
  hasStarted_ = true;
  // A skipped ad that another one follows does not decide how the break ended.
  if (outcome_ == Outcome::Skipped) outcome_ = Outcome::Completed;
}

void VemoraAdBreak_p::end(Outcome outcome, std::optional<VMRError> error) {
  if (result_) return;
  result_ = {outcome, std::move(error)};
  player_->shutdown();
  if (isRun_) report();
}

void VemoraAdBreak_p::report() {
  dispatch().mainAsync([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || self->isReleased_) return;
    const auto onEnded = std::exchange(self->onEnded_, nullptr);
    if (onEnded) onEnded(*self->result_);
  });
}

VemoraAdBreak::VemoraAdBreak(std::shared_ptr<VemoraAdBreak_p> implementation) : d(std::move(implementation)) {
  d->player()->setDelegate(d);
}

VemoraAdBreak::~VemoraAdBreak() {
  d->release();
  releaseOnMainThread(std::move(d));
}

std::shared_ptr<VemoraAdBreak> VemoraAdBreak::initInline(std::shared_ptr<VemoraAdRequest> request,
                                                         std::shared_ptr<View> view) {
  return std::shared_ptr<VemoraAdBreak>(new VemoraAdBreak(std::make_shared<VemoraAdBreak_p>(
      std::move(request), VemoraInlineAdPlayer::initInView(std::move(view)))));
}

std::shared_ptr<VemoraAdBreak> VemoraAdBreak::initResizable(std::shared_ptr<VemoraAdRequest> request,
                                                            std::shared_ptr<View> view) {
  return std::shared_ptr<VemoraAdBreak>(new VemoraAdBreak(std::make_shared<VemoraAdBreak_p>(
      std::move(request), VemoraResizableAdPlayer::initInView(std::move(view)))));
}

std::shared_ptr<VemoraAdBreak> VemoraAdBreak::initInterstitial(std::shared_ptr<VemoraAdRequest> request) {
  return std::shared_ptr<VemoraAdBreak>(new VemoraAdBreak(std::make_shared<VemoraAdBreak_p>(
      std::move(request), VemoraInterstitialAdPlayer::initWithAdPlayerDelegate({}))));
}

void VemoraAdBreak::setStartTimeout(double seconds) {
  assertMainThread("VemoraAdBreak::setStartTimeout");
  d->setStartTimeout(seconds);
}

void VemoraAdBreak::setTimeLimit(double seconds) {
  assertMainThread("VemoraAdBreak::setTimeLimit");
  d->setTimeLimit(seconds);
}

void VemoraAdBreak::preload() {
  assertMainThread("VemoraAdBreak::preload");
  d->preload();
}

bool VemoraAdBreak::isReady() const {
  assertMainThread("VemoraAdBreak::isReady");
  return d->isReady();
}

void VemoraAdBreak::run(OnEnded onEnded) {
  assertMainThread("VemoraAdBreak::run");
  d->run(std::move(onEnded));
}

void VemoraAdBreak::cancel() {
  assertMainThread("VemoraAdBreak::cancel");
  d->end(Outcome::Cancelled);
}

const std::shared_ptr<VemoraAdPlayerBase>& VemoraAdBreak::player() const {
  return d->player();
}

std::string toString(VemoraAdBreak::Outcome outcome) {
  using Outcome = VemoraAdBreak::Outcome;
  switch (outcome) {
    case Outcome::Completed:
      return "Completed";
    case Outcome::Skipped:
      return "Skipped";
    case Outcome::Closed:
      return "Closed";
    case Outcome::NoAds:
      return "NoAds";
    case Outcome::Failed:
      return "Failed";
    case Outcome::TimedOut:
      return "TimedOut";
    case Outcome::Cancelled:
      return "Cancelled";
  }
  return "Unknown";
}

}  // namespace vemora
