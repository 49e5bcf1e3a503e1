#pragma once
#include <stdint.h>
#include <sys/socket.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef const struct __CFString* CFStringRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const void* CFTypeRef;
typedef struct __CFRunLoop* CFRunLoopRef;
typedef unsigned char Boolean;
extern const CFAllocatorRef kCFAllocatorDefault;
extern const CFStringRef kCFRunLoopDefaultMode;
CFRunLoopRef CFRunLoopGetCurrent(void);
CFTypeRef CFRetain(CFTypeRef cf);
void CFRelease(CFTypeRef cf);
typedef const struct __SCNetworkReachability* SCNetworkReachabilityRef;
typedef uint32_t SCNetworkReachabilityFlags;
enum {
  kSCNetworkReachabilityFlagsTransientConnection = 1 << 0,
  kSCNetworkReachabilityFlagsReachable = 1 << 1,
  kSCNetworkReachabilityFlagsConnectionRequired = 1 << 2,
  kSCNetworkReachabilityFlagsConnectionOnTraffic = 1 << 3,
  kSCNetworkReachabilityFlagsInterventionRequired = 1 << 4,
  kSCNetworkReachabilityFlagsConnectionOnDemand = 1 << 5,
  kSCNetworkReachabilityFlagsIsLocalAddress = 1 << 16,
  kSCNetworkReachabilityFlagsIsDirect = 1 << 17,
  kSCNetworkReachabilityFlagsIsWWAN = 1 << 18
};
typedef void (*SCNetworkReachabilityCallBack)(SCNetworkReachabilityRef target,
                                              SCNetworkReachabilityFlags flags, void* info);
typedef struct {
  long version;
  void* info;
  const void* (*retain)(const void*);
  void (*release)(const void*);
  CFStringRef (*copyDescription)(const void*);
} SCNetworkReachabilityContext;
SCNetworkReachabilityRef SCNetworkReachabilityCreateWithName(CFAllocatorRef allocator, const char* nodename);
SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(CFAllocatorRef allocator,
                                                                const struct sockaddr* address);
Boolean SCNetworkReachabilityGetFlags(SCNetworkReachabilityRef target, SCNetworkReachabilityFlags* flags);
Boolean SCNetworkReachabilitySetCallback(SCNetworkReachabilityRef target,
                                         SCNetworkReachabilityCallBack callout,
                                         SCNetworkReachabilityContext* context);
Boolean SCNetworkReachabilityScheduleWithRunLoop(SCNetworkReachabilityRef target, CFRunLoopRef runLoop,
                                                 CFStringRef runLoopMode);
Boolean SCNetworkReachabilityUnscheduleFromRunLoop(SCNetworkReachabilityRef target, CFRunLoopRef runLoop,
                                                   CFStringRef runLoopMode);
#ifdef __cplusplus
}
#endif
