#include "fakes/Fake.h"

#import <Foundation/Foundation.h>

#include <atomic>
#include <mutex>
#include <utility>

namespace {

std::mutex& mutex = *new std::mutex;
std::vector<fake::Request>& requests = *new std::vector<fake::Request>;
std::optional<int> networkError;
std::atomic<int> validSessions{0};

std::string text(NSString* string) {
  return string ? [string UTF8String] : "";
}

}  // namespace

std::vector<fake::Request> fake::takeRequests() {
  std::lock_guard lock(mutex);
  return std::exchange(requests, {});
}
void fake::setNetworkError(std::optional<int> code) {
  networkError = code;
}
// The platform keeps a session that was not invalidated for ever.
int fake::sessionsNotInvalidated() {
  return validSessions;
}

@interface NSURLSessionTask ()
@property(nonatomic, copy) NSURLRequest* request;
@property(nonatomic, copy) void (^completion)(NSURL*, NSURLResponse*, NSError*);
@end

@implementation NSURLSessionConfiguration
@synthesize HTTPAdditionalHeaders = _HTTPAdditionalHeaders;
+ (NSURLSessionConfiguration*)ephemeralSessionConfiguration {
  return [[self alloc] init];
}
@end

@implementation NSURLSessionTask
@synthesize request = _request, completion = _completion;
- (void)cancel {
}
- (void)resume {
  fake::Request made{text([[[self request] URL] absoluteString]),
                     text([[self request] HTTPMethod]),
                     {},
                     [[self request] cachePolicy] == NSURLRequestReloadIgnoringLocalCacheData};
  NSDictionary* fields = [[self request] allHTTPHeaderFields];
  for (NSString* field in fields) made.headers[text(field)] = text(fields[field]);
  {
    std::lock_guard lock(mutex);
    requests.push_back(std::move(made));
  }
  // The running task keeps itself.
  dispatch_async(dispatch_get_global_queue(0, 0), ^{
    NSError* error =
        networkError ? [NSError errorWithDomain:NSURLErrorDomain code:*networkError userInfo:nil] : nil;
    self.completion(nil, nil, error);
    self.completion = nil;
  });
}
@end
@implementation NSURLSessionDownloadTask
@end

@implementation NSURLSession
+ (NSURLSession*)sessionWithConfiguration:(NSURLSessionConfiguration*)configuration {
  if (!configuration) fake::fault("a session without a configuration");
  ++validSessions;
  return [[self alloc] init];
}
- (NSURLSessionDownloadTask*)downloadTaskWithRequest:(NSURLRequest*)request
                                   completionHandler:(void (^)(NSURL*, NSURLResponse*, NSError*))completion {
  NSURLSessionDownloadTask* task = [[NSURLSessionDownloadTask alloc] init];
  task.request = request;
  task.completion = completion;
  return task;
}
- (void)finishTasksAndInvalidate {
  --validSessions;
}
@end
