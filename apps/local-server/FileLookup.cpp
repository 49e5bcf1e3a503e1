#include "FileLookup.h"

#include "../common/GLibHandles.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr std::array<std::pair<std::string_view, const char*>, 31> kMediaTypes{{
    {".aac", "audio/aac"},
    {".css", "text/css; charset=utf-8"},
    {".gif", "image/gif"},
    {".htm", "text/html; charset=utf-8"},
    {".html", "text/html; charset=utf-8"},
    {".ico", "image/x-icon"},
    {".jpeg", "image/jpeg"},
    {".jpg", "image/jpeg"},
    {".js", "text/javascript; charset=utf-8"},
    {".json", "application/json"},
    {".m3u8", "application/vnd.apple.mpegurl"},
    {".m4a", "audio/mp4"},
    {".m4v", "video/mp4"},
    {".map", "application/json"},
    {".mjs", "text/javascript; charset=utf-8"},
    {".mov", "video/quicktime"},
    {".mp3", "audio/mpeg"},
    {".mp4", "video/mp4"},
    {".mpd", "application/dash+xml"},
    {".ogg", "audio/ogg"},
    {".png", "image/png"},
    {".svg", "image/svg+xml"},
    {".ts", "video/mp2t"},
    {".txt", "text/plain; charset=utf-8"},
    {".vtt", "text/vtt; charset=utf-8"},
    {".wasm", "application/wasm"},
    {".wav", "audio/wav"},
    {".webm", "video/webm"},
    {".webp", "image/webp"},
    {".woff2", "font/woff2"},
    {".xml", "application/xml"},
}};

}  // namespace

std::optional<fs::path> fileBelow(const fs::path& folder, std::string_view relative) {
  relative.remove_prefix(std::min(relative.find_first_not_of('/'), relative.size()));
  std::error_code error;
  const fs::path top = fs::canonical(folder, error);
  if (error) return std::nullopt;
  fs::path file = fs::canonical(top / relative, error);
  if (error) return std::nullopt;
  if (std::mismatch(top.begin(), top.end(), file.begin(), file.end()).first != top.end()) return std::nullopt;
  // Only a regular file: opening a pipe would block until something writes to it.
  if (!fs::is_regular_file(file, error)) return std::nullopt;
  return file;
}

const char* mediaTypeOf(const fs::path& file) {
  const GStringPtr ending(g_ascii_strdown(file.extension().c_str(), -1));
  const auto* const found = std::find_if(kMediaTypes.begin(), kMediaTypes.end(),
                                         [&](const auto& type) { return type.first == ending.get(); });
  return found == kMediaTypes.end() ? "application/octet-stream" : found->second;
}

}  // namespace vemora
