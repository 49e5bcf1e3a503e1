#pragma once

#include <libsoup/soup.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace vemora {

/// Answers a GET or a HEAD with a file, in pieces, so that a long video costs no memory. Obeys "Range" with
/// one range; answers 416 when nothing of it exists. A request for several ranges gets the whole file. 404 or
/// 403 when the file cannot be opened.
void respondWithFile(SoupServerMessage* message, const std::filesystem::path& file);

/// Texts to replace, and what with, in this order.
using Replacements = std::vector<std::pair<std::string, std::string>>;

/// Answers with a text file in which the texts are replaced.
void respondWithTemplate(SoupServerMessage* message, const std::filesystem::path& file, const char* mediaType,
                         const Replacements& replacements);

/// Answers with `body`, all of it.
void respondWithText(SoupServerMessage* message, unsigned status, const char* mediaType,
                     const std::string& body);

/// Answers with a status alone, with its name as the text.
void respondWithStatus(SoupServerMessage* message, unsigned status);

}  // namespace vemora
