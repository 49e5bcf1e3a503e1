#import "VMRError.h"
#import "VemoraAd.h"
#import "VemoraAdGroup.h"
#import "VemoraAdPlayer.h"
#import "VemoraAdPlayerBase.h"
#import "VemoraAdPlayerDelegate.h"
#import "VemoraAdRequest.h"
#import "VemoraDefines.h"
#import "VemoraInlineAdPlayer.h"
#import "VemoraInterstitialAdPlayer.h"
#import "VemoraResizableAdPlayer.h"
#import "VemoraTypes.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

/// The version as a number: 1.0.
VEMORA_OBJC_EXPORT FOUNDATION_EXPORT const double VemoraVersionNumber;
/// The version as a zero-terminated source-identification marker, which what(1) finds in the framework.
VEMORA_OBJC_EXPORT FOUNDATION_EXPORT const unsigned char VemoraVersionString[];

/// Settings of the whole SDK, and its log. There are no instances. Any thread.
VEMORA_OBJC_EXPORT
@interface Vemora : NSObject
- (instancetype)init NS_UNAVAILABLE;
+ (instancetype)new NS_UNAVAILABLE;
/// The version of this library, such as "1.0.0". Never empty.
+ (NSString*)version;
/// The key that requests get when they are given none. nil until set.
+ (nullable NSString*)apiKey;
/// Sets that key for requests made from now on; nil clears it.
+ (void)setAPIKey:(nullable NSString*)key NS_SWIFT_NAME(setAPIKey(_:));
/// Whether `log:` prints. NO until set.
+ (BOOL)debugMode;
/// Turns the output of `log:` on or off. Debug mode also shows the page's alerts.
+ (void)debugMode:(BOOL)enabled NS_SWIFT_NAME(setDebugMode(_:));
/// Prints "VEMORA LOG: " and the message in debug mode.
+ (void)log:(NSString*)message;
/// Prints "VEMORA ERROR: " and the message.
+ (void)logError:(NSString*)message;
@end

NS_ASSUME_NONNULL_END
