#import "VemoraDefines.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// What the host app asks the controller page for. Not thread-safe: fill a request on one thread, hand it to a
/// player, and do not change it afterwards.
///
/// Values are what JSON can carry: strings, numbers, NSNull, arrays and dictionaries with string keys. Others
/// are refused: the entry stays as it was, and an error is logged.
VEMORA_OBJC_EXPORT
@interface VemoraAdRequest : NSObject
/// A request with the key of `Vemora`, or with "unkeyed-client" when that is nil.
- (instancetype)init;
/// A request with this key, also when it is empty; nil is as in `init`.
- (instancetype)initWithApiKey:(nullable NSString*)apiKey NS_DESIGNATED_INITIALIZER;
/// The key that identifies the publisher.
@property(nonatomic, copy, nullable) NSString* apiKey;
/// The channel: a number as decimal text. Viewability measurement needs one.
@property(nonatomic, copy, nullable) NSString* channel;
/// "none" until a player loads the request and writes its own kind into it.
@property(nonatomic, copy, nullable) NSString* placementType;

/// The live dictionaries behind the setters: changes to them change the request.
@property(nonatomic, readonly) NSMutableDictionary<NSString*, id>* paramDict;
@property(nonatomic, readonly) NSMutableDictionary<NSString*, id>* customDict;
@property(nonatomic, readonly) NSMutableDictionary<NSString*, id>* playbackDict;

/// Sets a request parameter; nil removes it.
- (void)setParam:(NSString*)key value:(nullable id)value NS_SWIFT_NAME(setParam(_:value:));
- (void)setParam:(NSString*)key values:(nullable NSArray*)values NS_SWIFT_NAME(setParam(_:values:));
/// Sets a targeting value of the host app's own; nil removes it.
- (void)setCustom:(NSString*)key value:(nullable id)value NS_SWIFT_NAME(setCustom(_:value:));
- (void)setCustom:(NSString*)key values:(nullable NSArray*)values NS_SWIFT_NAME(setCustom(_:values:));
/// Sets a playback option; nil removes it.
- (void)setPlaybackOption:(NSString*)key value:(nullable id)value NS_SWIFT_NAME(setPlaybackOption(_:value:));
- (void)setPlaybackOption:(NSString*)key boolValue:(BOOL)value NS_SWIFT_NAME(setPlaybackOption(_:boolValue:));
@end

NS_ASSUME_NONNULL_END
