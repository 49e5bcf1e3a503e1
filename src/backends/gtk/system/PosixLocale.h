#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Reads POSIX locale names, such as "pt_BR.UTF-8@euro".
namespace vemora::gtk {

/// Language tags such as "pt-BR" and "pt", in the order of the names and each once; "en" when there is none.
std::vector<std::string> languageTags(const char* const* localeNames);

/// The locale that the environment sets for messages; "C" when it sets none.
std::string messagesLocale();

/// The locale that the environment sets for formats, such as dates and money; "C" when it sets none. Desktops
/// let the user choose it separately from the language, and it is the better source for the country.
std::string formatsLocale();

/// ISO 3166-1 alpha-2 code of the locale's region.
std::optional<std::string> regionOfLocale(const std::string& localeName);

/// The region's name in the language of the locale.
std::optional<std::string> displayNameOfRegion(std::string_view code, const std::string& localeName);

}  // namespace vemora::gtk
