#include "core/inspect/Inspection.h"
#include "core/page/VMRWebViewRuntime.h"
#include "core/player/VemoraAdPlayerBase_p.h"
#include "core/player/VemoraInterstitialViewController.h"
#include "ports/Platform.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>

#include <utility>

namespace vemora {

namespace {

/// How long the page may take to end a session whose stage the viewer has closed.
constexpr double kCloseTimeout = 5.0;

class VemoraInterstitialAdPlayer_p final : public VemoraAdPlayerBase_p {
 public:
  std::string placementType() const override { return "interstitial"; }

  void _start(const JsonValue& parameters) override {
    dispatch().mainAsync([weak = weakSelf(this), session = session(), parameters] {
      if (const auto self = weak.lock()) self->present(session, parameters);
    });
  }

 private:
  void sessionDidEnd(const Session& session) override {
    if (!session->wasLoaded()) return;
    dispatch().mainAsync([session] {
      if (const auto stage = std::exchange(session->mainThread().stage, nullptr)) stage->dismiss();
    });
  }

  void present(const Session& session, const JsonValue& parameters) {
    const auto channel = session->isLive() ? session->runtime() : nullptr;
    const auto webView = channel ? channel->getWebView() : nullptr;
    if (!webView) return;
    auto& stage = session->mainThread().stage;
    if (stage && stage->holds(*webView)) {
      // A start while the stage is on its way up is the one that waits for it.
      if (stage->isPresented()) startInBackground(session, parameters);
      return;
    }
    const auto perform = [weak = weakSelf(this), weakSession = std::weak_ptr(session)](const auto& step) {
      return [weak, weakSession, step] {
        const auto self = weak.lock();
        const auto session = weakSession.lock();
        if (self && session && session->isLive()) step(*self, session);
      };
    };
    const auto presenter = topMostController();
    // The ad starts once it can be seen; a stage that never comes up never starts it.
    stage = presenter ? VemoraInterstitialViewController::present(
                            presenter, webView, perform([parameters](auto& self, const Session& session) {
                              recordStage(*session, "presented");
                              self.startInBackground(session, parameters);
                            }),
                            perform([](auto& self, const Session& session) { self.viewerClosed(session); }))
                      : nullptr;
    recordStage(*session, stage ? "presenting" : "noWindow");
    if (!stage)
      Vemora::logError("The interstitial cannot be presented: there is no window to present it over");
  }

  static void recordStage(const AdSession& session, const char* state) {
    if (inspect::isOn()) inspect::record("stage", session.number(), {{"state", state}});
  }

  void startInBackground(const Session& session, const JsonValue& parameters) {
    dispatch().globalAsync([self = sharedSelf(this), session, parameters] {
      if (session->isLive()) self->VemoraAdPlayerBase_p::_start(parameters);
    });
  }

  void viewerClosed(const Session& session) {
    session->mainThread().stage = nullptr;
    recordStage(*session, "closed");
    performInBackground(&VemoraAdPlayerBase_p::_close, nullptr);
    dispatch().mainAfter(kCloseTimeout, [weak = weakSelf(this), weakSession = std::weak_ptr(session)] {
      const auto self = weak.lock();
      const auto closed = weakSession.lock();
      if (self && closed)
        self->endSession(closed, playbackFailed("The viewer closed the ad and the page did not end it"));
    });
  }
};

}  // namespace

std::shared_ptr<VemoraInterstitialAdPlayer> VemoraInterstitialAdPlayer::initWithAdPlayerDelegate(
    std::weak_ptr<VemoraAdPlayerDelegate> delegate) {
  std::shared_ptr<VemoraInterstitialAdPlayer> player(
      new VemoraInterstitialAdPlayer(std::make_unique<VemoraInterstitialAdPlayer_p>()));
  player->setDelegate(std::move(delegate));
  return player;
}

}  // namespace vemora
