#include "cases/AdHost.h"

#include "fakes/Fake.h"

@implementation AdHost
- (void)record:(const char*)name player:(VemoraAdPlayerBase*)player details:(const std::string&)details {
  fake::mainThreadOnly(name);
  _callbacks.push_back(details.empty() ? name : std::string(name) + " " + details);
  const auto hook = _hooks.find(name);
  if (hook != _hooks.end()) hook->second(player);
}
static std::string nameOf(VemoraAd* ad) {
  return ad ? [[ad id] UTF8String] : "-";
}
- (VemoraAdRequest*)requestForPlayer:(VemoraAdPlayerBase*)player {
  if ([NSThread isMainThread]) fake::fault("the request is asked for on the main thread");
  if (_makeRequest) return _makeRequest();
  VemoraAdRequest* request = [[VemoraAdRequest alloc] initWithApiKey:@"key"];
  [request setChannel:@"42"];
  [request setParam:@"section" value:@"news"];
  [request setPlaybackOption:@"mute" boolValue:YES];
  return request;
}
- (void)vemora:(VemoraAdPlayerBase*)player didLoadAds:(VemoraAdGroup*)ads error:(NSError*)error {
  _error = error;
  std::string details = std::to_string([[ads ads] count]);
  if (error) details += " " + std::to_string([error code]);
  [self record:"didLoadAds" player:player details:details];
}
- (void)vemora:(VemoraAdPlayerBase*)player didFailToStart:(NSError*)error {
  _error = error;
  [self record:"didFailToStart" player:player details:std::to_string([error code])];
}
- (void)vemora:(VemoraAdPlayerBase*)player adGroupStart:(VemoraAdGroup*)group {
  std::string names;
  for (VemoraAd* ad in group) names += (names.empty() ? "" : ",") + nameOf(ad);
  [self record:"adGroupStart" player:player details:names];
}
- (void)vemora:(VemoraAdPlayerBase*)player adAspectRatio:(VemoraAd*)ad aspectRatio:(double)aspectRatio {
  _aspectRatio = aspectRatio;
  [self record:"adAspectRatio" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adStart:(VemoraAd*)ad {
  _started = ad;
  [self record:"adStart" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adPlaying:(VemoraAd*)ad {
  [self record:"adPlaying" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adPaused:(VemoraAd*)ad {
  [self record:"adPaused" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adTimeUpdate:(VemoraAd*)ad timeElapsed:(double)elapsed {
  [self record:"adTimeUpdate" player:player details:std::to_string(elapsed).substr(0, 3)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adClicked:(VemoraAd*)ad {
  [self record:"adClicked" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adSkipped:(VemoraAd*)ad {
  [self record:"adSkipped" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adUserClose:(VemoraAd*)ad {
  [self record:"adUserClose" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adComplete:(VemoraAd*)ad {
  if (ad != _started || [[[player adGroup] ads] indexOfObjectIdenticalTo:ad] == NSNotFound) {
    fake::fault("an ad has two objects");
  }
  [self record:"adComplete" player:player details:nameOf(ad)];
}
- (void)vemora:(VemoraAdPlayerBase*)player adGroupComplete:(VemoraAdGroup*)group {
  _hasEnded = YES;
  [self record:"adGroupComplete" player:player details:std::to_string([[group ads] count])];
}
- (void)vemora:(VemoraAdPlayerBase*)player adError:(VemoraAd*)ad error:(NSError*)error {
  _hasEnded = YES;
  _error = error;
  [self record:"adError" player:player details:std::to_string([error code])];
}
@end
