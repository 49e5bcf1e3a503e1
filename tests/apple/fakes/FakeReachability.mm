#include "fakes/Fake.h"

#import <SystemConfiguration/SystemConfiguration.h>

#include <set>

const CFAllocatorRef kCFAllocatorDefault = nullptr;
const CFStringRef kCFRunLoopDefaultMode = nullptr;

/// A counted object of Core Foundation: a target or a run loop.
struct __SCNetworkReachability {
  int references = 1;
  SCNetworkReachabilityCallBack callback = nullptr;
  SCNetworkReachabilityContext context{};
  const void* info = nullptr;
  bool scheduled = false;
};

namespace {

std::set<__SCNetworkReachability*>& targets = *new std::set<__SCNetworkReachability*>;
std::optional<unsigned> current = 0;
int runLoop;

__SCNetworkReachability* mutableTarget(SCNetworkReachabilityRef target) {
  return const_cast<__SCNetworkReachability*>(target);
}
SCNetworkReachabilityRef newTarget() {
  return *targets.insert(new __SCNetworkReachability).first;
}

}  // namespace

void fake::setReachability(std::optional<unsigned> flags) {
  current = flags;
}
void fake::changeReachability(unsigned flags) {
  current = flags;
  for (auto* target : std::set(targets)) {
    if (target->scheduled && target->callback) {
      target->callback(target, flags, const_cast<void*>(target->info));
    }
  }
}
int fake::liveReachabilityTargets() {
  return static_cast<int>(targets.size());
}

extern "C" {
CFRunLoopRef CFRunLoopGetCurrent() {
  return reinterpret_cast<CFRunLoopRef>(&runLoop);
}
CFTypeRef CFRetain(CFTypeRef object) {
  return object;
}
void CFRelease(CFTypeRef object) {
  if (object == &runLoop) return;
  auto* target = mutableTarget(static_cast<SCNetworkReachabilityRef>(object));
  if (target->scheduled) fake::fault("a reachability target is released while it is scheduled");
  if (target->info) fake::fault("a reachability target is released with its callback");
  targets.erase(target);
  delete target;
}
SCNetworkReachabilityRef SCNetworkReachabilityCreateWithName(CFAllocatorRef, const char* name) {
  return *name ? newTarget() : nullptr;
}
SCNetworkReachabilityRef SCNetworkReachabilityCreateWithAddress(CFAllocatorRef, const struct sockaddr*) {
  return newTarget();
}
Boolean SCNetworkReachabilityGetFlags(SCNetworkReachabilityRef, SCNetworkReachabilityFlags* flags) {
  if (current) *flags = *current;
  return current.has_value();
}
Boolean SCNetworkReachabilitySetCallback(SCNetworkReachabilityRef given,
                                         SCNetworkReachabilityCallBack callback,
                                         SCNetworkReachabilityContext* context) {
  auto* target = mutableTarget(given);
  if (target->info && target->context.release) target->context.release(target->info);
  target->callback = callback;
  target->context = context ? *context : SCNetworkReachabilityContext{};
  target->info = context && context->retain ? context->retain(context->info) : nullptr;
  return true;
}
Boolean SCNetworkReachabilityScheduleWithRunLoop(SCNetworkReachabilityRef target, CFRunLoopRef, CFStringRef) {
  mutableTarget(target)->scheduled = true;
  return true;
}
Boolean SCNetworkReachabilityUnscheduleFromRunLoop(SCNetworkReachabilityRef target, CFRunLoopRef,
                                                   CFStringRef) {
  mutableTarget(target)->scheduled = false;
  return true;
}
}
