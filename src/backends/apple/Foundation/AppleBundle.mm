#include "backends/apple/ApplePorts.h"
#include "backends/apple/Foundation/Conversions.h"

#import <Foundation/Foundation.h>

namespace vemora::apple {

namespace {

std::optional<std::string> textOf(id value) {
  return [value isKindOfClass:[NSString class]] ? toOptionalString(value) : std::nullopt;
}

class AppleBundle final : public Bundle {
 public:
  std::optional<std::string> mainInfo(std::string_view key) override {
    @autoreleasepool {
      NSString* name = toNSString(key);
      return name ? textOf([[NSBundle mainBundle] objectForInfoDictionaryKey:name]) : std::nullopt;
    }
  }

  /// Compiled in: the bundle of a statically linked library is the application's.
  std::optional<std::string> libraryInfo(std::string_view key) override {
    if (key == "CFBundleShortVersionString") return VEMORA_VERSION;
    return std::nullopt;
  }

  std::vector<std::string> preferredLocalizations() override {
    @autoreleasepool {
      std::vector<std::string> tags;
      for (NSString* tag in [[NSBundle mainBundle] preferredLocalizations]) tags.push_back(toString(tag));
      return tags;
    }
  }

  std::string localizedString(std::string_view key) override {
    @autoreleasepool {
      NSString* name = toNSString(key);
      return name ? toString([[NSBundle mainBundle] localizedStringForKey:name value:nil table:nil])
                  : std::string(key);
    }
  }

  std::optional<std::string> countryCode() override {
    @autoreleasepool {
      return textOf([[NSLocale currentLocale] objectForKey:NSLocaleCountryCode]);
    }
  }

  std::optional<std::string> displayNameForCountryCode(std::string_view code) override {
    @autoreleasepool {
      NSString* name = toNSString(code);
      return name ? textOf([[NSLocale currentLocale] displayNameForKey:NSLocaleCountryCode value:name])
                  : std::nullopt;
    }
  }
};

}  // namespace

std::unique_ptr<Bundle> makeBundle() {
  return std::make_unique<AppleBundle>();
}

}  // namespace vemora::apple
