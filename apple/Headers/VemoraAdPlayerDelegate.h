#import "VemoraAd.h"
#import "VemoraAdGroup.h"
#import "VemoraAdRequest.h"
#import "VemoraDefines.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@class VemoraAdPlayerBase;

/// What a host app implements to supply a player's request and to be notified of what its ads do.
///
/// A player holds its delegate weakly. All callbacks arrive on the main thread, one at a time, except
/// `requestForPlayer:`. Inside any of them the host may send the player commands, shut it down or release it.
/// `ad` is nil when the page's event names no ad of the group.
///
/// A session with ads ends with one of `vemora:adGroupComplete:` and `vemora:adError:error:`, unless the host
/// app shuts it down. Content that waits for the ads resumes in these two, and in `vemora:didLoadAds:error:`
/// when it brings no ads.
@protocol VemoraAdPlayerDelegate <NSObject>
/// Supplies the request of a load. Called once for each load, on a background thread, which may block for a
/// while. nil ends the load with error 5001.
- (nullable VemoraAdRequest*)requestForPlayer:(VemoraAdPlayerBase*)player NS_SWIFT_NAME(request(for:));
@optional
/// A load has ended. With ads in the group `start` plays them, whatever the error says.
- (void)vemora:(VemoraAdPlayerBase*)player
    didLoadAds:(nullable VemoraAdGroup*)ads
         error:(nullable NSError*)error VEMORA_MAIN_ACTOR;
/// A start did not take: the page refused it or did not answer. The session goes on.
- (void)vemora:(VemoraAdPlayerBase*)player didFailToStart:(NSError*)error VEMORA_MAIN_ACTOR;
/// The group begins to play. Pause the app's own content here at the latest.
- (void)vemora:(VemoraAdPlayerBase*)player adGroupStart:(nullable VemoraAdGroup*)adGroup VEMORA_MAIN_ACTOR;
/// The shape of the ad's video has become known: its width divided by its height.
- (void)vemora:(VemoraAdPlayerBase*)player
    adAspectRatio:(nullable VemoraAd*)ad
      aspectRatio:(double)aspectRatio VEMORA_MAIN_ACTOR;
/// An ad shows its first frame.
- (void)vemora:(VemoraAdPlayerBase*)player adStart:(nullable VemoraAd*)ad VEMORA_MAIN_ACTOR;
/// A paused ad plays again.
- (void)vemora:(VemoraAdPlayerBase*)player adPlaying:(nullable VemoraAd*)ad VEMORA_MAIN_ACTOR;
/// The ad was paused.
- (void)vemora:(VemoraAdPlayerBase*)player adPaused:(nullable VemoraAd*)ad VEMORA_MAIN_ACTOR;
/// The ad's playback position in seconds from its start, several times a second while it plays.
- (void)vemora:(VemoraAdPlayerBase*)player
    adTimeUpdate:(nullable VemoraAd*)ad
     timeElapsed:(double)timeElapsed VEMORA_MAIN_ACTOR;
/// The viewer followed the ad's link. The SDK opens the in-app browser by itself.
- (void)vemora:(VemoraAdPlayerBase*)player adClicked:(nullable VemoraAd*)ad VEMORA_MAIN_ACTOR;
/// The ad was skipped.
- (void)vemora:(VemoraAdPlayerBase*)player adSkipped:(nullable VemoraAd*)ad VEMORA_MAIN_ACTOR;
/// The ad was closed. The session goes on until `vemora:adGroupComplete:`.
- (void)vemora:(VemoraAdPlayerBase*)player adUserClose:(nullable VemoraAd*)ad VEMORA_MAIN_ACTOR;
/// The ad's video has played to its end.
- (void)vemora:(VemoraAdPlayerBase*)player adComplete:(nullable VemoraAd*)ad VEMORA_MAIN_ACTOR;
/// The session has ended because its group is over.
- (void)vemora:(VemoraAdPlayerBase*)player adGroupComplete:(nullable VemoraAdGroup*)adGroup VEMORA_MAIN_ACTOR;
/// The session has ended with an error: 5004 or 5005.
- (void)vemora:(VemoraAdPlayerBase*)player
       adError:(nullable VemoraAd*)ad
         error:(NSError*)error VEMORA_MAIN_ACTOR;
@end

NS_ASSUME_NONNULL_END
