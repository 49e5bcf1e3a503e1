#import "VemoraInlineAdPlayer.h"
#import "VemoraInterstitialAdPlayer.h"
#import "VemoraResizableAdPlayer.h"
#include "backends/apple/Facade/FacadeObjects.h"
#include "backends/apple/Foundation/Conversions.h"
#include "backends/apple/UIKit/AppleView.h"

#include <Vemora/VemoraInlineAdPlayer.h>
#include <Vemora/VemoraInterstitialAdPlayer.h>
#include <Vemora/VemoraResizableAdPlayer.h>

#include <optional>

namespace core = vemora;
using core::apple::objectFor;
using core::apple::toNSError;

namespace {

// Inside the class below, the names are those of its base.
using HostPlayer = VemoraAdPlayerBase;
using HostDelegate = id<VemoraAdPlayerDelegate>;

/// Hands the reference over to the main thread, since the object may own views.
template <typename Object>
void releaseOnMainThread(Object __strong& object) {
  void* held = (__bridge_retained void*)object;
  object = nil;
  dispatch_async(dispatch_get_main_queue(), ^{
    (void)(__bridge_transfer id)held;
  });
}

/// The core's delegate. The Objective-C player owns it, and the core holds it weakly.
class DelegateAdaptor final : public core::VemoraAdPlayerDelegate {
 public:
  explicit DelegateAdaptor(HostPlayer* player) : player_(player) {}

  std::shared_ptr<core::VemoraAdRequest> requestForPlayer(const Player&) override {
    HostPlayer* player = nil;
    HostDelegate delegate = nil;
    std::shared_ptr<core::VemoraAdRequest> request;
    @autoreleasepool {
      player = player_;
      delegate = [player delegate];
      if (player) request = core::apple::coreRequestOf([delegate requestForPlayer:player]);
    }
    // The host may have released both meanwhile.
    releaseOnMainThread(player);
    releaseOnMainThread(delegate);
    return request;
  }
  void vemoraDidLoadAds(const Player&, const AdGroup& ads,
                        const std::optional<core::VMRError>& error) override {
    notify(@selector(vemora:didLoadAds:error:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player didLoadAds:objectFor(ads) error:error ? toNSError(*error) : nil];
    });
  }
  void vemoraDidFailToStart(const Player&, const core::VMRError& error) override {
    notify(@selector(vemora:didFailToStart:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player didFailToStart:toNSError(error)];
    });
  }
  void vemoraAdGroupStart(const Player&, const AdGroup& group) override {
    notify(@selector(vemora:adGroupStart:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adGroupStart:objectFor(group)];
    });
  }
  void vemoraAdAspectRatio(const Player&, const Ad& ad, double aspectRatio) override {
    notify(@selector(vemora:adAspectRatio:aspectRatio:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adAspectRatio:objectFor(ad) aspectRatio:aspectRatio];
    });
  }
  void vemoraAdStart(const Player&, const Ad& ad) override {
    notify(@selector(vemora:adStart:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adStart:objectFor(ad)];
    });
  }
  void vemoraAdPlaying(const Player&, const Ad& ad) override {
    notify(@selector(vemora:adPlaying:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adPlaying:objectFor(ad)];
    });
  }
  void vemoraAdPaused(const Player&, const Ad& ad) override {
    notify(@selector(vemora:adPaused:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adPaused:objectFor(ad)];
    });
  }
  void vemoraAdTimeUpdate(const Player&, const Ad& ad, double elapsed) override {
    notify(@selector(vemora:adTimeUpdate:timeElapsed:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adTimeUpdate:objectFor(ad) timeElapsed:elapsed];
    });
  }
  void vemoraAdClicked(const Player&, const Ad& ad) override {
    notify(@selector(vemora:adClicked:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adClicked:objectFor(ad)];
    });
  }
  void vemoraAdSkipped(const Player&, const Ad& ad) override {
    notify(@selector(vemora:adSkipped:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adSkipped:objectFor(ad)];
    });
  }
  void vemoraAdUserClose(const Player&, const Ad& ad) override {
    notify(@selector(vemora:adUserClose:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adUserClose:objectFor(ad)];
    });
  }
  void vemoraAdComplete(const Player&, const Ad& ad) override {
    notify(@selector(vemora:adComplete:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adComplete:objectFor(ad)];
    });
  }
  void vemoraAdGroupComplete(const Player&, const AdGroup& group) override {
    notify(@selector(vemora:adGroupComplete:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adGroupComplete:objectFor(group)];
    });
  }
  void vemoraAdError(const Player&, const Ad& ad, const core::VMRError& error) override {
    notify(@selector(vemora:adError:error:), [&](HostPlayer* player, HostDelegate delegate) {
      [delegate vemora:player adError:objectFor(ad) error:toNSError(error)];
    });
  }

 private:
  template <typename Call>
  void notify(SEL selector, Call call) {
    @autoreleasepool {
      HostPlayer* player = player_;
      HostDelegate delegate = [player delegate];
      if (player && [delegate respondsToSelector:selector]) call(player, delegate);
    }
  }

  __weak HostPlayer* const player_;
};

}  // namespace

@implementation VemoraAdPlayer
@synthesize delegate = _delegate;
- (void)start {
}
- (void)load {
}
- (void)play {
}
- (void)stop {
}
- (void)pause {
}
- (void)resume {
}
- (void)skip {
}
- (void)close {
}
@end

@interface VemoraAdPlayerBase ()
- (instancetype)initWithCore:(std::shared_ptr<core::VemoraAdPlayerBase>)player
                    delegate:(HostDelegate)delegate;
@end
@implementation VemoraAdPlayerBase {
  std::shared_ptr<DelegateAdaptor> _adaptor;
  std::shared_ptr<core::VemoraAdPlayerBase> _core;
  __weak HostDelegate _delegate;
}
- (instancetype)init {
  core::apple::raiseInitNotValid(self);
  return nil;
}
- (instancetype)initWithCore:(std::shared_ptr<core::VemoraAdPlayerBase>)player
                    delegate:(HostDelegate)delegate {
  if ((self = [super initWithNibName:nil bundle:nil])) {
    _core = std::move(player);
    [self setDelegate:delegate];
  }
  return self;
}
- (HostDelegate)delegate {
  return _delegate;
}
- (void)setDelegate:(HostDelegate)delegate {
  _delegate = delegate;
  _adaptor = delegate ? std::make_shared<DelegateAdaptor>(self) : nullptr;
  _core->setDelegate(_adaptor);
}
- (VemoraAdGroup*)adGroup {
  return objectFor(_core->adGroup());
}
- (VemoraAdRequest*)request {
  return objectFor(_core->request());
}
- (NSString*)placementType {
  return core::apple::toNSString(_core->placementType()) ?: @"";
}
- (double)startTimeout {
  return _core->startTimeout();
}
- (void)setStartTimeout:(double)seconds {
  _core->setStartTimeout(seconds);
}
- (void)load {
  // For the core, the delegate goes with the adaptor.
  if (!_delegate) _adaptor = nullptr;
  _core->load();
}
- (void)start {
  _core->start();
}
- (void)play {
  _core->play();
}
- (void)stop {
  _core->stop();
}
- (void)pause {
  _core->pause();
}
- (void)resume {
  _core->resume();
}
- (void)skip {
  _core->skip();
}
- (void)close {
  _core->close();
}
- (void)shutdown {
  _core->shutdown();
}
- (void)setSize:(float)size {
  _core->setSize(size);
}
@end

@implementation VemoraInlineAdPlayer
- (instancetype)initInView:(UIView*)parentView {
  return [super initWithCore:core::VemoraInlineAdPlayer::initInView(core::apple::wrap(parentView))
                    delegate:nil];
}
- (instancetype)initWithAdPlayerDelegate:(HostDelegate)delegate {
  return [super initWithCore:core::VemoraInlineAdPlayer::initInView(nullptr) delegate:delegate];
}
@end

@implementation VemoraResizableAdPlayer
- (instancetype)init {
  return [self initInView:nil];
}
- (instancetype)initInView:(UIView*)parentView {
  return [super initWithCore:core::VemoraResizableAdPlayer::initInView(core::apple::wrap(parentView))
                    delegate:nil];
}
- (instancetype)initWithAdPlayerDelegate:(HostDelegate)delegate {
  return [super initWithCore:core::VemoraResizableAdPlayer::init() delegate:delegate];
}
@end

@implementation VemoraInterstitialAdPlayer
- (instancetype)initWithAdPlayerDelegate:(HostDelegate)delegate {
  return [super initWithCore:core::VemoraInterstitialAdPlayer::initWithAdPlayerDelegate({})
                    delegate:delegate];
}
@end
