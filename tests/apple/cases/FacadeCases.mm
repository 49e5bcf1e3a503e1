// The classes of the Objective-C interface that need no page.

#import "Vemora.h"
#include "cases/Case.h"

#include <Vemora/Vemora.h>

namespace vemora::apple {
namespace {

class FacadeCase : public Case {};

std::string text(NSString* string) {
  return string ? [string UTF8String] : "(nil)";
}

TEST_F(FacadeCase, HasSettings) {
  EXPECT_EQ(text([::Vemora version]), VEMORA_VERSION) << "right although it is linked statically";
  EXPECT_EQ(::VemoraVersionNumber, vemora::VemoraVersionNumber);
  EXPECT_STREQ((const char*)::VemoraVersionString, (const char*)vemora::VemoraVersionString);
  [::Vemora setAPIKey:@"k"];
  EXPECT_EQ(text([::Vemora apiKey]), "k");
  EXPECT_EQ(text([[[::VemoraAdRequest alloc] init] apiKey]), "k");
  [::Vemora setAPIKey:nil];
  EXPECT_EQ([::Vemora apiKey], nil);
  EXPECT_EQ(text([[[::VemoraAdRequest alloc] init] apiKey]), "unkeyed-client");
  EXPECT_FALSE([::Vemora debugMode]);
  fake::takeLog();
  [::Vemora log:@"hidden"];
  [::Vemora debugMode:YES];
  [::Vemora log:@"shown"];
  [::Vemora logError:@"bad"];
  [::Vemora debugMode:NO];
  const auto lines = fake::takeLog();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].text, "VEMORA LOG: shown");
  EXPECT_EQ(lines[1].text, "VEMORA ERROR: bad");
  EXPECT_EQ(::VemoraAdEventFromNSString(@"adSTARTED"), ::AdStarted);
  EXPECT_EQ(::VemoraAdEventFromNSString(nil), ::AdUnknown);
  EXPECT_EQ(text(::NSStringFromVemoraAdEvent(::AdSkippableStateChange)), "AdSkippableStateChange");
}

TEST_F(FacadeCase, RaisesForInitialisersThatAreNotValid) {
  EXPECT_EQ(fake::exceptionOf(^{
              (void)[[::VemoraAd alloc] init];
            }),
            "NSInternalInconsistencyException: -init is not a valid initializer for the class VemoraAd");
  EXPECT_NE(fake::exceptionOf(^{
              (void)[[::VemoraAdGroup alloc] init];
            }),
            "");
  EXPECT_NE(fake::exceptionOf(^{
              (void)[[::VemoraAdPlayerBase alloc] init];
            }),
            "");
  EXPECT_EQ(fake::exceptionOf(^{
              (void)[[::VemoraResizableAdPlayer alloc] init];
            }),
            "");
}

TEST_F(FacadeCase, KeepsRequestEntriesInLiveDictionaries) {
  @autoreleasepool {
    ::VemoraAdRequest* request = [[::VemoraAdRequest alloc] initWithApiKey:@""];
    EXPECT_EQ(text([request apiKey]), "");
    [request setApiKey:nil];
    EXPECT_EQ([request apiKey], nil);
    [request setChannel:@"7"];
    EXPECT_EQ(text([request channel]), "7");
    EXPECT_EQ(text([request placementType]), "none");
    [request setPlacementType:@"inline"];
    EXPECT_EQ(text([request placementType]), "inline");

    NSMutableDictionary* params = [request paramDict];
    EXPECT_TRUE([params isKindOfClass:[NSMutableDictionary class]]);
    [request setParam:@"a" value:@"x"];
    [request setParam:@"list" values:@[ @1, @"two" ]];
    params[@"b"] = @YES;
    params[@"none"] = [NSNull null];
    EXPECT_EQ([params count], 4u);
    EXPECT_TRUE([params[@"list"] isEqual:(@[ @1, @"two" ])]);
    EXPECT_EQ(params[@"none"], [NSNull null]);
    EXPECT_EQ([params objectForKey:@"missing"], nil);
    EXPECT_EQ([params objectForKey:(NSString*)@5], nil);
    std::string keys;
    for (NSString* key in [params allKeys]) keys += text(key) + " ";
    EXPECT_EQ(keys, "a b list none ");
    EXPECT_TRUE([params
        isEqual:(
                    @{@"a" : @"x",
                      @"b" : @YES,
                      @"list" : @[ @1, @"two" ],
                      @"none" : [NSNull null]})]);
    [params removeObjectForKey:@"b"];
    [request setParam:@"a" value:nil];
    EXPECT_EQ([params count], 2u);

    fake::takeLog();
    [request setParam:@"date" value:[NSDate date]];
    EXPECT_EQ(params[@"date"], nil);
    EXPECT_EQ(fake::takeLog().size(), 1u) << "a value that JSON cannot carry is refused";

    [request setCustom:@"c" value:@2];
    [request setCustom:@"d" values:@[]];
    EXPECT_EQ([[request customDict] count], 2u);
    [request setPlaybackOption:@"mute" boolValue:NO];
    [request setPlaybackOption:@"volume" value:@0.5];
    EXPECT_EQ([request playbackDict][@"mute"], [NSNumber numberWithBool:NO]);
    // A dictionary outlives its request.
    NSMutableDictionary* playback = [request playbackDict];
    request = nil;
    EXPECT_EQ([playback count], 2u);
    NSMutableDictionary* copy = [playback mutableCopy];
    copy[@"more"] = @1;
    EXPECT_EQ([playback count], 2u);
  }
}

TEST_F(FacadeCase, HasAPlayerThatDoesNothing) {
  ::VemoraAdPlayer* player = [[::VemoraAdPlayer alloc] init];
  [player load];
  [player start];
  [player play];
  [player stop];
  [player pause];
  [player resume];
  [player skip];
  [player close];
  EXPECT_EQ([player delegate], nil);
}

}  // namespace
}  // namespace vemora::apple
