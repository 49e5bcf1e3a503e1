// The device, its identifiers, its location and its audio output.

#include "fakes/Fake.h"

#import <AVFoundation/AVFoundation.h>
#import <AdSupport/AdSupport.h>
#import <AppTrackingTransparency/AppTrackingTransparency.h>
#import <CoreLocation/CoreLocation.h>
#import <UIKit/UIKit.h>

#include <atomic>
#include <set>
#include <vector>

namespace {

std::atomic<int> trackingStatus{0};
std::atomic<bool> locationEnabled{false};
std::atomic<int> locationStatus{0};

std::set<void*>& liveManagers = *new std::set<void*>;

std::vector<CLLocationManager*> managers() {
  std::vector<CLLocationManager*> all;
  for (void* manager : liveManagers) all.push_back((__bridge CLLocationManager*)manager);
  return all;
}

}  // namespace

void fake::setTracking(int status) {
  trackingStatus = status;
}

@implementation UIDevice
+ (UIDevice*)currentDevice {
  fake::mainThreadOnly("the device is asked");
  static UIDevice* shared = [[UIDevice alloc] init];
  return shared;
}
- (NSString*)model {
  return @"iPhone";
}
- (NSString*)systemName {
  return @"iOS";
}
- (NSString*)systemVersion {
  return @"17.4";
}
- (NSUUID*)identifierForVendor {
  return [[NSUUID alloc] initWithUUIDString:@"6F9619FF-8B86-D011-B42D-00CF4FC964FF"];
}
- (UIUserInterfaceIdiom)userInterfaceIdiom {
  return UIUserInterfaceIdiomPad;
}
@end

@implementation ASIdentifierManager
+ (ASIdentifierManager*)sharedManager {
  static ASIdentifierManager* shared = [[ASIdentifierManager alloc] init];
  return shared;
}
- (NSUUID*)advertisingIdentifier {
  return [[NSUUID alloc] initWithUUIDString:@"AAAAAAAA-BBBB-CCCC-DDDD-EEEEEEEEEEEE"];
}
- (BOOL)isAdvertisingTrackingEnabled {
  return NO;
}
@end

@implementation ATTrackingManager
+ (ATTrackingManagerAuthorizationStatus)trackingAuthorizationStatus {
  return static_cast<ATTrackingManagerAuthorizationStatus>(trackingStatus.load());
}
@end

@interface CTTelephonyNetworkInfo : NSObject
@end
@implementation CTTelephonyNetworkInfo
@end

@implementation CLLocation {
 @public
  CLLocationCoordinate2D _coordinate;
}
- (CLLocationCoordinate2D)coordinate {
  return _coordinate;
}
@end

@implementation CLLocationManager {
 @public
  BOOL _started;
}
@synthesize delegate = _delegate;
+ (BOOL)locationServicesEnabled {
  if ([NSThread isMainThread]) fake::fault("location services are asked about on the main thread");
  return locationEnabled;
}
+ (CLAuthorizationStatus)authorizationStatus {
  return static_cast<CLAuthorizationStatus>(locationStatus.load());
}
- (instancetype)init {
  fake::mainThreadOnly("a location manager is made");
  if ((self = [super init])) liveManagers.insert((__bridge void*)self);
  return self;
}
- (CLAuthorizationStatus)authorizationStatus {
  return static_cast<CLAuthorizationStatus>(locationStatus.load());
}
- (void)startUpdatingLocation {
  fake::mainThreadOnly("a location manager is used");
  _started = YES;
}
- (void)stopUpdatingLocation {
  _started = NO;
}
- (void)dealloc {
  liveManagers.erase((__bridge void*)self);
  if (_started) fake::fault("a location manager is released without being stopped");
}
@end

void fake::setLocation(LocationState state) {
  locationEnabled = state.enabled;
  locationStatus = state.status;
  for (CLLocationManager* manager : managers()) {
    if ([manager.delegate respondsToSelector:@selector(locationManagerDidChangeAuthorization:)]) {
      [manager.delegate locationManagerDidChangeAuthorization:manager];
    }
  }
}
void fake::moveTo(double latitude, double longitude) {
  CLLocation* location = [[CLLocation alloc] init];
  location->_coordinate = {latitude, longitude};
  for (CLLocationManager* manager : managers()) {
    if (manager->_started) [manager.delegate locationManager:manager didUpdateLocations:@[ location ]];
  }
}
void fake::failLocation() {
  NSError* error = [NSError errorWithDomain:@"kCLErrorDomain" code:0 userInfo:nil];
  for (CLLocationManager* manager : managers()) {
    if (manager->_started) [manager.delegate locationManager:manager didFailWithError:error];
  }
}
int fake::startedLocationManagers() {
  int count = 0;
  for (CLLocationManager* manager : managers()) count += manager->_started;
  return count;
}

NSString* const AVAudioSessionRouteChangeNotification = @"AVAudioSessionRouteChangeNotification";
NSString* const AVAudioSessionRouteChangeReasonKey = @"AVAudioSessionRouteChangeReasonKey";
@implementation AVAudioSession
+ (AVAudioSession*)sharedInstance {
  static AVAudioSession* shared = [[AVAudioSession alloc] init];
  return shared;
}
- (NSString*)category {
  return @"AVAudioSessionCategorySoloAmbient";
}
@end
// Like the platform, on a thread of its own.
void fake::changeRoute(int reason) {
  dispatch_async(dispatch_get_global_queue(0, 0), ^{
    [[NSNotificationCenter defaultCenter] postNotificationName:AVAudioSessionRouteChangeNotification
                                                        object:[AVAudioSession sharedInstance]
                                                      userInfo:@{
                                                        AVAudioSessionRouteChangeReasonKey : @(reason)
                                                      }];
  });
  settle();
}
