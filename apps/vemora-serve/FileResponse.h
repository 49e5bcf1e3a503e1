#pragma once

#include <libsoup/soup.h>

#include <filesystem>
#include <string>

namespace vemora {

/// Answers a GET or a HEAD with a file, in pieces, so that a long film costs no memory. Obeys "Range" with
/// one range; answers 416 when nothing of it exists. A request for several ranges gets the whole file. 404 or
/// 403 when the file cannot be opened.
void respondWithFile(SoupServerMessage* message, const std::filesystem::path& file);

/// Answers with a text file in which each "{{origin}}" became `origin`.
void respondWithTemplate(SoupServerMessage* message, const std::filesystem::path& file, const char* mediaType,
                         const std::string& origin);

/// Answers with `body`, all of it.
void respondWithText(SoupServerMessage* message, unsigned status, const char* mediaType,
                     const std::string& body);

/// Answers with a status alone, and its name as the text for people.
void respondWithStatus(SoupServerMessage* message, unsigned status);

}  // namespace vemora
