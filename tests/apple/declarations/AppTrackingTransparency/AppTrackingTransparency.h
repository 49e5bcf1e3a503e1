#pragma once
#import <Foundation/Foundation.h>
NS_ASSUME_NONNULL_BEGIN
typedef NS_ENUM(NSUInteger, ATTrackingManagerAuthorizationStatus) {
  ATTrackingManagerAuthorizationStatusNotDetermined = 0,
  ATTrackingManagerAuthorizationStatusRestricted,
  ATTrackingManagerAuthorizationStatusDenied,
  ATTrackingManagerAuthorizationStatusAuthorized
} VMR_IOS(14.0);
VMR_IOS(14.0) @interface ATTrackingManager : NSObject
@property(class, nonatomic, readonly) ATTrackingManagerAuthorizationStatus trackingAuthorizationStatus;
@end
NS_ASSUME_NONNULL_END
