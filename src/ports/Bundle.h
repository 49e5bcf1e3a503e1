#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora {

/// What the application and this library say of themselves, and the user's language and country.
///
/// Lifetime: as long as the platform.
/// Threads: any.
/// Completion: answers are immediate.
/// Errors: what is not known is absent or empty.
class Bundle {
 public:
  virtual ~Bundle() = default;

  /// The main bundle's information dictionary: "CFBundleIdentifier", "CFBundleName", and what the host adds.
  virtual std::optional<std::string> mainInfo(std::string_view key) = 0;
  /// This library's own information dictionary: "CFBundleShortVersionString".
  virtual std::optional<std::string> libraryInfo(std::string_view key) = 0;
  /// As tags such as "en" or "pt-BR", the best first.
  virtual std::vector<std::string> preferredLocalizations() = 0;
  /// The entry of the application's main string table, or the key itself.
  virtual std::string localizedString(std::string_view key) = 0;

  /// ISO 3166-1 alpha-2 code of the current locale.
  virtual std::optional<std::string> countryCode() = 0;
  /// The country's name in the current locale's language.
  virtual std::optional<std::string> displayNameForCountryCode(std::string_view code) = 0;
};

}  // namespace vemora
