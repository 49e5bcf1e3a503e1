#pragma once
#import <Foundation/Foundation.h>
NS_ASSUME_NONNULL_BEGIN
typedef double CLLocationDegrees;
typedef struct {
  CLLocationDegrees latitude, longitude;
} CLLocationCoordinate2D;
typedef NS_ENUM(int, CLAuthorizationStatus) {
  kCLAuthorizationStatusNotDetermined = 0,
  kCLAuthorizationStatusRestricted,
  kCLAuthorizationStatusDenied,
  kCLAuthorizationStatusAuthorizedAlways,
  kCLAuthorizationStatusAuthorizedWhenInUse
};
@interface CLLocation : NSObject
@property(readonly, nonatomic) CLLocationCoordinate2D coordinate;
@end
@class CLLocationManager;
@protocol CLLocationManagerDelegate <NSObject>
@optional
- (void)locationManager:(CLLocationManager*)manager didUpdateLocations:(NSArray*)locations;
- (void)locationManager:(CLLocationManager*)manager didFailWithError:(NSError*)error;
- (void)locationManagerDidChangeAuthorization:(CLLocationManager*)manager VMR_IOS(14.0);
- (void)locationManager:(CLLocationManager*)manager
    didChangeAuthorizationStatus:(CLAuthorizationStatus)status VMR_IOS_UNTIL(4.2, 14.0);
@end
@interface CLLocationManager : NSObject
+ (BOOL)locationServicesEnabled;
+ (CLAuthorizationStatus)authorizationStatus VMR_IOS_UNTIL(4.2, 14.0);
@property(nonatomic, readonly) CLAuthorizationStatus authorizationStatus VMR_IOS(14.0);
- (void)stopUpdatingLocation;
@property(nonatomic, weak, nullable) id<CLLocationManagerDelegate> delegate;
- (void)startUpdatingLocation;
@end
NS_ASSUME_NONNULL_END
