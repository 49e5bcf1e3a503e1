#pragma once

#import <UIKit/UIKit.h>

// What the fakes of the UIKit family share.

@interface UIView (FakeViews)
- (void)didMove;
- (void)moveTo:(UIView*)superview;
@end
