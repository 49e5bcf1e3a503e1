// What GNUstep's Foundation lacks or answers differently.

#include "fakes/Fake.h"

#import <Foundation/Foundation.h>
#import <os/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <utility>

namespace {

std::mutex& mutex = *new std::mutex;
std::vector<fake::LogLine>& logLines = *new std::vector<fake::LogLine>;
std::vector<std::string>& faults = *new std::vector<std::string>;

}  // namespace

void fake::fault(const std::string& what) {
  std::lock_guard lock(mutex);
  faults.push_back(what);
}
std::vector<std::string> fake::takeFaults() {
  std::lock_guard lock(mutex);
  return std::exchange(faults, {});
}
void fake::mainThreadOnly(const char* what) {
  if (![NSThread isMainThread]) fault(std::string(what) + " off the main thread");
}
void fake::countObjects() {
  GSDebugAllocationActive(YES);
}
int fake::liveObjects(const char* className) {
  return GSDebugAllocationCount(NSClassFromString([NSString stringWithUTF8String:className]));
}
std::vector<fake::LogLine> fake::takeLog() {
  std::lock_guard lock(mutex);
  return std::exchange(logLines, {});
}

os_log_t os_log_create(const char*, const char*) {
  static int only;
  return reinterpret_cast<os_log_t>(&only);
}
// Texts are hidden unless the format says otherwise.
void os_log_with_type(os_log_t, os_log_type_t type, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const bool isPublic = std::strcmp(format, "%{public}s") == 0;
  const std::string text = isPublic ? va_arg(arguments, const char*) : "<private>";
  va_end(arguments);
  std::lock_guard lock(mutex);
  logLines.push_back({type == OS_LOG_TYPE_ERROR, text});
}

@implementation NSBundle (Fake)
- (NSArray*)preferredLocalizations {
  return @[ @"pt-PT", @"en" ];
}
- (id)objectForInfoDictionaryKey:(NSString*)key {
  return @{@"CFBundleIdentifier" : @"com.example.host", @"CFBundleName" : @"Host", @"Number" : @7}[key];
}
@end

@implementation NSLocale (Fake)
+ (id)currentLocale {
  return [[NSLocale alloc] initWithLocaleIdentifier:@"pt_PT"];
}
- (NSString*)displayNameForKey:(id)key value:(id)value {
  return [value isEqual:@"PT"] ? @"Portugal" : nil;
}
@end

@implementation NSURL (FakeInvalidCharacters)
+ (instancetype)URLWithString:(NSString*)text encodingInvalidCharacters:(BOOL)encoding {
  if (encoding) fake::fault("invalid characters of an address would be encoded");
  return [NSURL URLWithString:text];
}
@end
