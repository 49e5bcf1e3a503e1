#import "VemoraAdPlayerBase.h"

NS_ASSUME_NONNULL_BEGIN

/// Plays ads centred in a view of the host app, at a fraction of its size: see `setSize:`.
VEMORA_OBJC_EXPORT
@interface VemoraResizableAdPlayer : VemoraAdPlayerBase
/// A player without view and delegate. Main thread.
- (instancetype)init;
/// A player in this view, which it holds strongly. Set a delegate before `load`. Main thread.
- (instancetype)initInView:(nullable UIView*)parentView NS_SWIFT_NAME(init(in:));
/// A player without a view: it loads and sends its commands, but shows nothing. Main thread.
- (instancetype)initWithAdPlayerDelegate:(nullable id<VemoraAdPlayerDelegate>)delegate
    NS_SWIFT_NAME(init(delegate:));
@end

NS_ASSUME_NONNULL_END
