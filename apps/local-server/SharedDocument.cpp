#include "SharedDocument.h"

#include "../common/GLibHandles.h"
#include "../common/InputFiles.h"
#include "FileLookup.h"

#include <gnutls/crypto.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDelimiters = " \t\r\n<>\"\'[]";

std::string randomName() {
  std::array<unsigned char, 16> bytes{};
  if (gnutls_rnd(GNUTLS_RND_KEY, bytes.data(), bytes.size()) != 0)
    throw std::runtime_error("no random numbers");
  std::string name;
  for (const unsigned char byte : bytes) {
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    name += digits.data();
  }
  return name;
}

/// The path of an address without its query and fragment, decoded; empty for what is not a relative address.
std::string relativePathOf(std::string_view address) {
  const std::string path(address.substr(0, address.find_first_of("?#")));
  if (path.empty() || path.front() == '/' || path.find(':') != std::string::npos) return "";
  const GStringPtr decoded(g_uri_unescape_string(path.c_str(), nullptr));
  return decoded ? decoded.get() : "";
}

}  // namespace

SharedDocument::SharedDocument(const fs::path& document)
    : document_(fs::canonical(document)), prefix_("/" + randomName() + "/") {}

std::string SharedDocument::path() const {
  const GStringPtr name(g_uri_escape_string(document_.filename().c_str(), nullptr, FALSE));
  return prefix_ + name.get();
}

std::optional<fs::path> SharedDocument::find(std::string_view relative) const {
  const std::optional<fs::path> file = fileBelow(document_.parent_path(), relative);
  return file && named().files.contains(*file) ? file : std::nullopt;
}

Replacements SharedDocument::replacements(const std::string& origin) const {
  Replacements result;
  for (const std::string& name : named().marked) {
    // A name may begin another one ("a.mp4", "a.mp4.vtt"): the prefix keeps a second replacement off.
    std::string marked = kOriginMark;
    std::string address = origin;
    marked.append("/").append(name);
    address.append(prefix_).append(name);
    result.emplace_back(std::move(marked), std::move(address));
  }
  result.emplace_back(kOriginMark, origin);
  return result;
}

SharedDocument::Named SharedDocument::named() const {
  Named result;
  result.files.insert(document_);
  addNamesIn(document_, result);
  return result;
}

void SharedDocument::addNamesIn(const fs::path& file, Named& named) const {
  const std::string text = contentOf(file);
  const std::string mark = std::string(kOriginMark) + "/";
  for (std::size_t at = 0; (at = text.find_first_not_of(kDelimiters, at)) != std::string::npos;) {
    const std::size_t end = std::min(text.find_first_of(kDelimiters, at), text.size());
    std::string_view address = std::string_view(text).substr(at, end - at);
    at = end;
    const bool isMarked = address.starts_with(mark);
    if (isMarked) address.remove_prefix(mark.size());
    const std::string name = relativePathOf(address);
    if (name.empty()) continue;
    const fs::path folder = document_.parent_path();
    const fs::path base = isMarked ? fs::path() : fs::relative(file.parent_path(), folder);
    const std::optional<fs::path> found = fileBelow(folder, (base / name).string());
    if (!found) continue;
    if (isMarked) named.marked.insert(std::string(address.substr(0, address.find_first_of("?#"))));
    const std::string_view type = mediaTypeOf(*found);
    const bool isDocument = type == "application/xml" || type == "application/json";
    if (named.files.insert(*found).second && isDocument) addNamesIn(*found, named);
  }
}

}  // namespace vemora
