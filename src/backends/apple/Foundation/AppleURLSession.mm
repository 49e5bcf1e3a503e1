#include "backends/apple/Foundation/AppleURLSession.h"

#include "backends/apple/Foundation/Conversions.h"
#include "ports/Platform.h"

#import <Foundation/Foundation.h>

namespace vemora::apple {

namespace {

NSError* badAddress() {
  return [NSError errorWithDomain:NSURLErrorDomain code:NSURLErrorBadURL userInfo:nil];
}

/// A session keeps itself alive until it is invalidated, which waits for its downloads.
class AppleURLSession final : public URLSession {
 public:
  ~AppleURLSession() override { [session_ finishTasksAndInvalidate]; }

  void downloadTaskWithRequest(const URLRequest& request, Completion completion) override {
    @autoreleasepool {
      NSURLRequest* made = toNSURLRequest(request);
      if (!made) {
        dispatch().globalAsync([completion = std::move(completion)] { completion(toError(badAddress())); });
        return;
      }
      NSURLSessionDownloadTask* task =
          [session_ downloadTaskWithRequest:made
                          completionHandler:^(NSURL*, NSURLResponse*, NSError* error) {
                            completion(toError(error));
                          }];
      [task resume];
    }
  }

 private:
  NSURLSession* const session_ =
      [NSURLSession sessionWithConfiguration:[NSURLSessionConfiguration ephemeralSessionConfiguration]];
};

}  // namespace

NSURLRequest* toNSURLRequest(const URLRequest& request) {
  NSString* address = toNSString(request.url);
  NSURL* url = [address length] > 0 ? [NSURL URLWithString:address] : nil;
  if (!url) return nil;
  NSMutableURLRequest* made = [NSMutableURLRequest requestWithURL:url];
  [made setHTTPMethod:toNSString(request.httpMethod) ?: @"GET"];
  if (request.cachePolicy == URLRequestCachePolicy::ReloadIgnoringLocalCacheData) {
    [made setCachePolicy:NSURLRequestReloadIgnoringLocalCacheData];
  }
  for (const auto& [name, value] : request.headers) {
    NSString* field = toNSString(name);
    NSString* text = toNSString(value);
    if (field && text) [made addValue:text forHTTPHeaderField:field];
  }
  return made;
}

std::unique_ptr<URLSession> makeEphemeralURLSession() {
  @autoreleasepool {
    return std::make_unique<AppleURLSession>();
  }
}

}  // namespace vemora::apple
