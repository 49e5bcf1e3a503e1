// Foundation as the Apple backend sees it: GNUstep's, plus what GNUstep's release lacks.
#pragma once
#include_next <Foundation/Foundation.h>
#include <dispatch/dispatch.h>
#undef YES
#undef NO
#define YES __objc_yes
#define NO __objc_no
#define VMR_IOS(v) __attribute__((availability(ios, introduced = v)))
#define VMR_IOS_UNTIL(v, d) __attribute__((availability(ios, introduced = v, deprecated = d)))
// What GNUstep's headers do not spell. clang knows the attributes; only Apple's compiler makes Swift of them.
#ifndef NS_SWIFT_NAME
#define NS_SWIFT_NAME(n) __attribute__((swift_name(#n)))
#endif
#ifndef NS_ERROR_ENUM
#define NS_ERROR_ENUM(domain, name) \
  enum name : NSInteger name;       \
  enum __attribute__((ns_error_domain(domain))) name : NSInteger
#endif
#undef NS_UNAVAILABLE
#define NS_UNAVAILABLE __attribute__((unavailable))
#undef NS_DESIGNATED_INITIALIZER
#define NS_DESIGNATED_INITIALIZER __attribute__((objc_designated_initializer))
NS_ASSUME_NONNULL_BEGIN
@interface NSURL (VMRInvalidCharacters)
+ (nullable instancetype)URLWithString:(NSString*)text encodingInvalidCharacters:(BOOL)encoding VMR_IOS(17.0);
@end
@interface NSURLSessionConfiguration : NSObject
@property(class, readonly, strong) NSURLSessionConfiguration* ephemeralSessionConfiguration;
@property(nullable, copy) NSDictionary* HTTPAdditionalHeaders;
@end
@interface NSURLSessionTask : NSObject
- (void)resume;
- (void)cancel;
@end
@interface NSURLSessionDataTask : NSURLSessionTask
@end
@interface NSURLSessionDownloadTask : NSURLSessionTask
@end
@interface NSThread (VMRBlocks)
+ (void)detachNewThreadWithBlock:(void (^)(void))block VMR_IOS(10.0);
@end
@interface NSURLSession : NSObject
+ (NSURLSession*)sessionWithConfiguration:(NSURLSessionConfiguration*)configuration;
- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request
                           completionHandler:(void (^)(NSData* _Nullable data,
                                                       NSURLResponse* _Nullable response,
                                                       NSError* _Nullable error))completionHandler;
- (NSURLSessionDownloadTask*)downloadTaskWithRequest:(NSURLRequest*)request
                                   completionHandler:(void (^)(NSURL* _Nullable location,
                                                               NSURLResponse* _Nullable response,
                                                               NSError* _Nullable error))completionHandler;
- (void)finishTasksAndInvalidate;
@end
NS_ASSUME_NONNULL_END
