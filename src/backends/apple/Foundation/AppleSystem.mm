#include "backends/apple/ApplePorts.h"
#include "backends/apple/Foundation/AppleURLSession.h"
#include "backends/apple/Foundation/Conversions.h"

#import <CommonCrypto/CommonDigest.h>
#import <Foundation/Foundation.h>
#import <os/log.h>

#include <cstdlib>

namespace vemora::apple {

namespace {

NSURL* parsedURL(NSString* text) {
  // From iOS 17 on the plain form percent-encodes what it refused before.
  if (@available(iOS 17.0, *)) return [NSURL URLWithString:text encodingInvalidCharacters:NO];
  return [NSURL URLWithString:text];
}

class AppleSystem final : public System {
 public:
  void log(LogLevel level, std::string_view line) override {
    const std::string text(line);
    // Without "public" the log hides every text.
    if (level == LogLevel::Error) {
      os_log_with_type(log_, OS_LOG_TYPE_ERROR, "%{public}s", text.c_str());
    } else {
      os_log_with_type(log_, OS_LOG_TYPE_DEFAULT, "%{public}s", text.c_str());
    }
  }

  std::uint32_t randomUInt32() override { return arc4random(); }

  std::string newUUIDString() override {
    @autoreleasepool {
      return toString([[NSUUID UUID] UUIDString]);
    }
  }

  SHA1Digest sha1(std::string_view bytes) override {
    SHA1Digest digest{};
    static_assert(sizeof(digest) == CC_SHA1_DIGEST_LENGTH);
    CC_SHA1(bytes.data(), static_cast<CC_LONG>(bytes.size()), digest.data());
    return digest;
  }

  std::optional<URL> urlWithString(std::string_view text) override {
    @autoreleasepool {
      NSString* given = toNSString(text);
      NSURL* url = [given length] > 0 ? parsedURL(given) : nil;
      if ([[url scheme] length] == 0) return std::nullopt;
      return URL{toString([url absoluteString]), toString([[url scheme] lowercaseString]),
                 toString([url host])};
    }
  }

  std::unique_ptr<URLSession> createEphemeralURLSession() override { return makeEphemeralURLSession(); }

 private:
  const os_log_t log_ = os_log_create("com.vemora.sdk", "sdk");
};

}  // namespace

std::unique_ptr<System> makeSystem() {
  return std::make_unique<AppleSystem>();
}

}  // namespace vemora::apple
