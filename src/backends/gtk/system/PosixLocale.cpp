#include "backends/gtk/system/PosixLocale.h"

#include <glib.h>
#include <unicode/uloc.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <initializer_list>

namespace vemora::gtk {

namespace {

bool isLanguageless(std::string_view name) {
  return name.empty() || name == "C" || name == "POSIX" || name.starts_with("C.");
}

/// Up to three letters, and an optional region of letters or digits.
bool isTag(std::string_view tag) {
  const std::size_t languageLength = std::min(tag.find('-'), tag.size());
  const std::string_view language = tag.substr(0, languageLength);
  const std::string_view rest = tag.substr(languageLength);
  return language.size() >= 2 && language.size() <= 3 &&
         std::all_of(language.begin(), language.end(), [](char c) { return g_ascii_isalpha(c); }) &&
         rest != "-" &&
         std::all_of(rest.begin(), rest.end(), [](char c) { return c == '-' || g_ascii_isalnum(c); });
}

bool isRegionCode(std::string_view code) {
  return code.size() == 2 && std::all_of(code.begin(), code.end(), [](char c) { return g_ascii_isupper(c); });
}

std::string firstSet(std::initializer_list<const char*> variables) {
  for (const char* variable : variables) {
    if (const char* value = g_getenv(variable); value && *value) return value;
  }
  return "C";
}

std::string utf8From(const UChar* text, int length) {
  std::string utf8(static_cast<std::size_t>(length) * 3, '\0');
  int utf8Length = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8(utf8.data(), static_cast<int>(utf8.size()), &utf8Length, text, length, &status);
  utf8.resize(U_SUCCESS(status) ? static_cast<std::size_t>(utf8Length) : 0);
  return utf8;
}

}  // namespace

std::vector<std::string> languageTags(const char* const* localeNames) {
  std::vector<std::string> tags;
  for (; *localeNames; ++localeNames) {
    const std::string_view name = *localeNames;
    std::string tag(name.substr(0, name.find_first_of(".@")));
    std::replace(tag.begin(), tag.end(), '_', '-');
    const bool isKnown = std::find(tags.begin(), tags.end(), tag) != tags.end();
    if (!isKnown && !isLanguageless(tag) && isTag(tag)) tags.push_back(std::move(tag));
  }
  if (tags.empty()) tags.emplace_back("en");
  return tags;
}

std::string messagesLocale() {
  return firstSet({"LC_ALL", "LC_MESSAGES", "LANG"});
}

std::string formatsLocale() {
  return firstSet({"LC_ALL", "LC_TIME", "LC_MONETARY", "LC_MEASUREMENT", "LC_NUMERIC", "LANG"});
}

std::optional<std::string> regionOfLocale(const std::string& localeName) {
  if (isLanguageless(localeName)) return std::nullopt;
  std::array<char, ULOC_FULLNAME_CAPACITY> canonical{};
  std::array<char, ULOC_COUNTRY_CAPACITY> country{};
  UErrorCode status = U_ZERO_ERROR;
  uloc_canonicalize(localeName.c_str(), canonical.data(), canonical.size() - 1, &status);
  const int length = uloc_getCountry(canonical.data(), country.data(), country.size(), &status);
  const std::string code(country.data(), U_SUCCESS(status) ? static_cast<std::size_t>(length) : 0);
  return isRegionCode(code) ? std::optional(code) : std::nullopt;
}

std::optional<std::string> displayNameOfRegion(std::string_view code, const std::string& localeName) {
  if (!isRegionCode(code)) return std::nullopt;
  const std::string region = "und_" + std::string(code);
  const std::string language = isLanguageless(localeName) ? "en" : localeName;
  std::array<UChar, 256> name{};
  UErrorCode status = U_ZERO_ERROR;
  const int length =
      uloc_getDisplayCountry(region.c_str(), language.c_str(), name.data(), name.size(), &status);
  // Without data for the region, ICU returns the code itself.
  if (U_FAILURE(status) || status == U_USING_DEFAULT_WARNING) return std::nullopt;
  return utf8From(name.data(), length);
}

}  // namespace vemora::gtk
