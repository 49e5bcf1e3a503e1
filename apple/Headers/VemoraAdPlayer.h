#import "VemoraDefines.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@protocol VemoraAdPlayerDelegate;

/// The operations of every player. `VemoraAdPlayerBase` documents them.
@protocol VemoraAdPlayer <NSObject>
- (void)start;
- (void)load;
- (void)play;
- (void)stop;
- (void)pause;
- (void)resume;
- (void)skip;
- (void)close;
@property(nonatomic, weak, nullable) id<VemoraAdPlayerDelegate> delegate;
@end

/// A player whose operations do nothing.
VEMORA_OBJC_EXPORT
@interface VemoraAdPlayer : NSObject <VemoraAdPlayer>
@end

NS_ASSUME_NONNULL_END
