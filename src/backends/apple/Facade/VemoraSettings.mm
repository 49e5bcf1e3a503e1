#import "Vemora.h"
#include "backends/apple/Foundation/Conversions.h"

#include <Vemora/Vemora.h>
#include <Vemora/VemoraTypes.h>

namespace core = vemora;
using core::apple::toNSString;
using core::apple::toOptionalString;
using core::apple::toString;

const double VemoraVersionNumber = 1.0;
const unsigned char VemoraVersionString[] = "@(#)PROGRAM:Vemora  PROJECT:Vemora-1\n";
NSString* const VMRErrorDomain = @"VMRErrorDomain";
NSString* const VMRControllerErrorDomain = @"VMRControllerErrorDomain";

VemoraAdEvent VemoraAdEventFromNSString(NSString* name) {
  const auto text = toOptionalString(name);
  return static_cast<VemoraAdEvent>(
      core::VemoraAdEventFromNSString(text ? std::optional<std::string_view>(*text) : std::nullopt));
}

NSString* NSStringFromVemoraAdEvent(VemoraAdEvent event) {
  return toNSString(core::NSStringFromVemoraAdEvent(static_cast<core::VemoraAdEvent>(event))) ?: @"";
}

@implementation Vemora
+ (NSString*)version {
  return toNSString(core::Vemora::version()) ?: @"";
}
+ (NSString*)apiKey {
  return toNSString(core::Vemora::apiKey());
}
+ (void)setAPIKey:(NSString*)key {
  core::Vemora::setAPIKey(toOptionalString(key));
}
+ (BOOL)debugMode {
  return core::Vemora::debugMode();
}
+ (void)debugMode:(BOOL)enabled {
  core::Vemora::debugMode(enabled);
}
+ (void)log:(NSString*)message {
  core::Vemora::log(toString(message));
}
+ (void)logError:(NSString*)message {
  core::Vemora::logError(toString(message));
}
@end
