#include "backends/apple/ApplePorts.h"
#include "backends/apple/Foundation/Conversions.h"

#include <Vemora/NotificationCenter.h>

#import <AVFoundation/AVFoundation.h>

#include <mutex>

/// Passes route changes on.
@interface VMRRouteObserver : NSObject
@end
@implementation VMRRouteObserver
// Called on a thread of the platform's that must not be kept waiting.
- (void)routeDidChange:(NSNotification*)notification {
  NSNumber* reason = [[notification userInfo] objectForKey:(::AVAudioSessionRouteChangeReasonKey)];
  const vemora::JsonValue info = vemora::JsonValue::object(
      {{vemora::AVAudioSessionRouteChangeReasonKey, vemora::apple::toJson(reason)}});
  vemora::dispatch().detachNewThread([info] {
    vemora::NotificationCenter::defaultCenter().postNotification(
        {vemora::AVAudioSessionRouteChangeNotification, nullptr, info});
  });
}
@end

namespace vemora::apple {

namespace {

class AppleAudioSession final : public AudioSession {
 public:
  std::string category() override {
    @autoreleasepool {
      std::call_once(observed_, [this] {
        observer_ = [[VMRRouteObserver alloc] init];
        [[NSNotificationCenter defaultCenter]
            addObserver:observer_
               selector:@selector(routeDidChange:)
                   name:(::AVAudioSessionRouteChangeNotification)object:nil];
      });
      return toString([[AVAudioSession sharedInstance] category]);
    }
  }

 private:
  std::once_flag observed_;
  VMRRouteObserver* observer_ = nil;
};

}  // namespace

std::unique_ptr<AudioSession> makeAudioSession() {
  return std::make_unique<AppleAudioSession>();
}

}  // namespace vemora::apple
