#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Reads the locale names of POSIX, such as "pt_BR.UTF-8@euro".
namespace vemora::gtk {

/// Language tags such as "pt-BR" and "pt", in the order of the names and each once; "en" when there is none.
std::vector<std::string> languageTags(const char* const* localeNames);

/// The name that the environment gives for messages; "C" when it gives none.
std::string messagesLocale();

/// ISO 3166-1 alpha-2 code of the locale's region.
std::optional<std::string> regionOfLocale(const std::string& localeName);

/// What the region is called in the language of the locale.
std::optional<std::string> displayNameOfRegion(std::string_view code, const std::string& localeName);

}  // namespace vemora::gtk
