#import "VemoraDefines.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// One ad of a group, as the controller page described it. Immutable; any thread. One object for each ad, so
/// that `==` compares ads.
///
/// The properties hold what the page sent, without conversion: test the class of a value that you depend on.
VEMORA_OBJC_EXPORT
@interface VemoraAd : NSObject
/// Not valid: raises NSInternalInconsistencyException.
- (instancetype)init;
/// The ad's position in its group.
@property(nonatomic, readonly, nullable) NSNumber* index;
/// The ad's identifier; never empty.
@property(nonatomic, readonly, copy) NSString* id;
/// The video player interface that the ad needs, such as "mp4".
@property(nonatomic, readonly, copy, nullable) NSString* vpi;
/// The ad's title.
@property(nonatomic, readonly, copy, nullable) NSString* title;
/// The ad's length in seconds.
@property(nonatomic, readonly, nullable) NSNumber* duration;
/// The ad's price, in whatever currency the page uses.
@property(nonatomic, readonly, nullable) NSNumber* price;
/// An address that belongs to the ad, usually its video.
@property(nonatomic, readonly, copy, nullable) NSString* url;
/// The address of the advertiser's page.
@property(nonatomic, readonly, copy, nullable) NSString* clickthru;
@end

NS_ASSUME_NONNULL_END
