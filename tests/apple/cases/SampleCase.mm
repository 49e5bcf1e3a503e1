// The host app that docs/ios.md shows, and its run.

#import "Vemora.h"
#include "cases/Case.h"
#include "cases/Page.h"

#import <UIKit/UIKit.h>

@interface ArticleController : UIViewController <VemoraAdPlayerDelegate>
@end
@implementation ArticleController {
  VemoraInlineAdPlayer* _player;
}
- (void)showAdIn:(UIView*)place {
  _player = [[VemoraInlineAdPlayer alloc] initInView:place];
  [_player setDelegate:self];
  [_player load];
}
- (VemoraAdRequest*)requestForPlayer:(VemoraAdPlayerBase*)player {  // On a background thread.
  VemoraAdRequest* request = [[VemoraAdRequest alloc] initWithApiKey:@"my-key"];
  [request setChannel:@"42"];
  return request;
}
- (void)vemora:(VemoraAdPlayerBase*)player didLoadAds:(VemoraAdGroup*)ads error:(NSError*)error {
  if ([[ads ads] count] > 0) {
    [player start];
  } else {
    [self showContent];
  }
}
- (void)vemora:(VemoraAdPlayerBase*)player adGroupComplete:(VemoraAdGroup*)adGroup {
  [self showContent];
}
- (void)vemora:(VemoraAdPlayerBase*)player adError:(VemoraAd*)ad error:(NSError*)error {
  [self showContent];
}
- (void)showContent {
  _player = nil;  // Closes the controller page. No callback follows.
}
@end

namespace vemora::apple {
namespace {

class SampleCase : public Case {};

TEST_F(SampleCase, ShowsAnAdAndThenItsContent) {
  @autoreleasepool {
    setPage(kPlays);
    ArticleController* controller = [[ArticleController alloc] init];
    UIView* place = [controller view];
    [[[fake::window() rootViewController] view] addSubview:place];
    [place setFrame:NSMakeRect(0, 0, 320, 180)];
    [controller showAdIn:place];
    fake::settle();
    for (int i = 0; i < 3; ++i) fake::advance(1);
    EXPECT_EQ([[place subviews] count], 0u);
    EXPECT_EQ(fake::takeRequests().size(), 1u) << "the beacon";
    [place removeFromSuperview];
  }
}

}  // namespace
}  // namespace vemora::apple
