#pragma once
#import <UIKit/UIKit.h>
NS_ASSUME_NONNULL_BEGIN
@class SFSafariViewController;
@protocol SFSafariViewControllerDelegate <NSObject>
@optional
- (void)safariViewControllerDidFinish:(SFSafariViewController*)controller;
@end
@interface SFSafariViewController : UIViewController
- (instancetype)initWithURL:(NSURL*)URL;  // raises for schemes other than http and https
@property(nonatomic, weak, nullable) id<SFSafariViewControllerDelegate> delegate;
@end
NS_ASSUME_NONNULL_END
