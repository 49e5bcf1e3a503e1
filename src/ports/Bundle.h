#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora {

/// The metadata of the application and of this library, and the user's language and country.
///
/// Lifetime: As long as the platform.
///
/// Threads: Thread-safe.
///
/// Completion: Every call returns its result at once.
///
/// Errors: Unknown values are absent or empty.
class Bundle {
 public:
  virtual ~Bundle() = default;

  /// The main bundle's information dictionary: "CFBundleIdentifier", "CFBundleName", and the entries that the
  /// host adds.
  virtual std::optional<std::string> mainInfo(std::string_view key) = 0;
  /// This library's own information dictionary: "CFBundleShortVersionString".
  virtual std::optional<std::string> libraryInfo(std::string_view key) = 0;
  /// Language tags such as "en" or "pt-BR", the preferred one first.
  virtual std::vector<std::string> preferredLocalizations() = 0;
  /// The entry of the application's main string table, or the key itself.
  virtual std::string localizedString(std::string_view key) = 0;

  /// ISO 3166-1 alpha-2 code of the current locale.
  virtual std::optional<std::string> countryCode() = 0;
  /// The country's name in the current locale's language.
  virtual std::optional<std::string> displayNameForCountryCode(std::string_view code) = 0;
};

}  // namespace vemora
