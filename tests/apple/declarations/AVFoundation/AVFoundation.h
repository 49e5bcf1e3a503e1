#pragma once
#import <Foundation/Foundation.h>
NS_ASSUME_NONNULL_BEGIN
@interface AVAudioSession : NSObject
+ (AVAudioSession*)sharedInstance;
@property(readonly) NSString* category;
@end
FOUNDATION_EXPORT NSString* const AVAudioSessionRouteChangeNotification;
FOUNDATION_EXPORT NSString* const AVAudioSessionRouteChangeReasonKey;
typedef NS_ENUM(NSUInteger, AVAudioSessionRouteChangeReason) {
  AVAudioSessionRouteChangeReasonUnknown = 0,
  AVAudioSessionRouteChangeReasonNewDeviceAvailable = 1,
  AVAudioSessionRouteChangeReasonOldDeviceUnavailable = 2,
  AVAudioSessionRouteChangeReasonCategoryChange = 3,
  AVAudioSessionRouteChangeReasonOverride = 4,
  AVAudioSessionRouteChangeReasonWakeFromSleep = 6,
  AVAudioSessionRouteChangeReasonNoSuitableRouteForCategory = 7,
  AVAudioSessionRouteChangeReasonRouteConfigurationChange = 8
};
NS_ASSUME_NONNULL_END
