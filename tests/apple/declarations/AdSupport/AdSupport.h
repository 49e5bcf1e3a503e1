#pragma once
#import <Foundation/Foundation.h>
NS_ASSUME_NONNULL_BEGIN
@interface ASIdentifierManager : NSObject
@property(class, nonatomic, readonly, strong) ASIdentifierManager* sharedManager;
@property(nonatomic, readonly) NSUUID* advertisingIdentifier;
@property(nonatomic, readonly, getter=isAdvertisingTrackingEnabled)
    BOOL advertisingTrackingEnabled VMR_IOS_UNTIL(6.0, 14.0);
@end
NS_ASSUME_NONNULL_END
