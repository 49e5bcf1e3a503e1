#pragma once

#include <Vemora/JsonValue.h>

#include <filesystem>
#include <string>
#include <vector>

namespace vemora {

/// All of a file; empty when it cannot be read.
std::string contentOf(const std::filesystem::path& file);

/// The "{{origin}}" that served files carry in place of their server's origin.
inline constexpr const char* kOriginMark = "{{origin}}";
void replaceAll(std::string& text, std::string_view mark, const std::string& value);

// Each throws BadArguments with the option, the file and what is wrong with it.

/// An object whose members the page or the SDK knows. A misspelt name would silently change nothing.
void checkConfiguration(const std::string& option, const std::filesystem::path& file);
/// {"ads": [{"id": ...}, ...]}.
void checkAdList(const std::string& option, const std::filesystem::path& file);
JsonValue readJsonObject(const std::string& option, const std::filesystem::path& file);
/// A well-formed XML document whose root is VAST or VMAP.
void checkAdDocument(const std::string& option, const std::filesystem::path& file);
/// At least one certificate, as PEM.
void checkCertificates(const std::string& option, const std::filesystem::path& file);

}  // namespace vemora
