#import "VemoraAdPlayer.h"
#import "VemoraAdPlayerDelegate.h"

#import <UIKit/UIKit.h>

NS_ASSUME_NONNULL_BEGIN

/// One ad session: loads an ad group from the controller page, plays it where the placement kind shows it, and
/// notifies the delegate. Create one of the kinds: `VemoraInlineAdPlayer`, `VemoraResizableAdPlayer`,
/// `VemoraInterstitialAdPlayer`.
///
/// Set a delegate, call `load` on the main thread, wait for `vemora:didLoadAds:error:`, then `start`. The
/// commands may be called on any thread and return at once; what the page does about them arrives as callbacks.
/// A player may be released at any moment: its page closes, and no callback follows. One player serves one
/// session: create a new one for the next ad break.
VEMORA_OBJC_EXPORT
@interface VemoraAdPlayerBase : UIViewController <VemoraAdPlayer>
/// Not valid here: raises NSInternalInconsistencyException.
- (instancetype)init;
- (instancetype)initWithNibName:(nullable NSString*)name bundle:(nullable NSBundle*)bundle NS_UNAVAILABLE;
- (nullable instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
/// Held weakly.
@property(nonatomic, weak, nullable) id<VemoraAdPlayerDelegate> delegate;
/// The ads of the last load; nil before it has ended, and when it brought no group.
@property(nonatomic, readonly, nullable) VemoraAdGroup* adGroup;
/// The request that the delegate gave in the last load.
@property(nonatomic, readonly, nullable) VemoraAdRequest* request;
/// "inline", "resizeable" (so spelt) or "interstitial".
@property(nonatomic, readonly, copy) NSString* placementType;
/// Limits the time from the first `start` to the first `vemora:adStart:`, in seconds; 0, the default, is no limit.
@property(nonatomic) double startTimeout;

/// Begins a session and fetches its ads. Main thread.
- (void)load;
/// Shows the ads in their placement and plays them. A no-op while there are no ads.
- (void)start;
/// Continues a paused ad, and starts a group that has not been started.
- (void)play;
/// Ends a group that has begun; `vemora:adGroupComplete:` follows.
- (void)stop;
/// Pauses the ad; `vemora:adPaused:` follows.
- (void)pause;
/// Continues after `pause`; `vemora:adPlaying:` follows.
- (void)resume;
/// Leaves the current ad for the next one; `vemora:adSkipped:` follows.
- (void)skip;
/// Ends a group that has begun, as if the viewer had closed the ad.
- (void)close;
/// Ends the session without asking the page. No callback follows, except for the report of a load under way.
- (void)shutdown;
/// The fraction of the view's width and height that a resizable ad covers. Main thread.
- (void)setSize:(float)size;
@end

NS_ASSUME_NONNULL_END
