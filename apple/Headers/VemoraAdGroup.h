#import "VemoraAd.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// The ads of one load, in the order in which the controller page plays them. Immutable; any thread.
/// Enumerating the group enumerates its ads. One object for each group, so that `==` compares groups.
VEMORA_OBJC_EXPORT
@interface VemoraAdGroup : NSObject <NSFastEnumeration>
/// Not valid: raises NSInternalInconsistencyException.
- (instancetype)init;
/// The ads, sorted by their `index`. May be empty.
@property(nonatomic, readonly, copy) NSArray<VemoraAd*>* ads;
/// The sum of the ads' durations in seconds.
@property(nonatomic, readonly) double totalDuration;
@end

NS_ASSUME_NONNULL_END
