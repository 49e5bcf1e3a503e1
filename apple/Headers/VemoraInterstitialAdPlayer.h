#import "VemoraAdPlayerBase.h"

NS_ASSUME_NONNULL_BEGIN

/// Plays ads full-screen, presented over whatever the host app shows. Without a window `start` shows nothing.
VEMORA_OBJC_EXPORT
@interface VemoraInterstitialAdPlayer : VemoraAdPlayerBase
/// A player with this delegate, held weakly. Main thread.
- (instancetype)initWithAdPlayerDelegate:(nullable id<VemoraAdPlayerDelegate>)delegate
    NS_SWIFT_NAME(init(delegate:));
@end

NS_ASSUME_NONNULL_END
