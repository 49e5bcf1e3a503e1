#import "VemoraAdPlayerBase.h"

NS_ASSUME_NONNULL_BEGIN

/// Plays ads inside a view of the host app, which they fill.
VEMORA_OBJC_EXPORT
@interface VemoraInlineAdPlayer : VemoraAdPlayerBase
/// A player in this view, which it holds strongly. Set a delegate before `load`. Main thread.
- (instancetype)initInView:(nullable UIView*)parentView NS_SWIFT_NAME(init(in:));
/// A player without a view: it loads and sends its commands, but shows nothing. Main thread.
- (instancetype)initWithAdPlayerDelegate:(nullable id<VemoraAdPlayerDelegate>)delegate
    NS_SWIFT_NAME(init(delegate:));
@end

NS_ASSUME_NONNULL_END
