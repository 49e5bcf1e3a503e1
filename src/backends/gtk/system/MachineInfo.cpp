#include "backends/gtk/system/MachineInfo.h"

#include "backends/gtk/base/GObjectPtr.h"
#include "backends/gtk/base/PrivateFile.h"

#include <glib.h>
#include <libsoup/soup.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <memory>
#include <sstream>

namespace vemora::gtk {

namespace {

constexpr std::size_t kMachineIdBytes = 16;

/// What board makers leave in place of a name.
bool isPlaceholder(const std::string& name) {
  static constexpr std::array kPlaceholders = {"to be filled by o.e.m.",
                                               "system product name",
                                               "system version",
                                               "default string",
                                               "not specified",
                                               "not applicable",
                                               "o.e.m.",
                                               "oem",
                                               "none",
                                               "unknown",
                                               "product name",
                                               "invalid",
                                               "undefined",
                                               "n/a"};
  const GStringPtr lower(g_ascii_strdown(name.c_str(), -1));
  return std::any_of(kPlaceholders.begin(), kPlaceholders.end(),
                     [&](const char* placeholder) { return std::string_view(placeholder) == lower.get(); });
}

/// Up to the first line or string end, in UTF-8, without blanks around it.
std::string trimmedLine(const std::string& text) {
  const GStringPtr line(g_utf8_make_valid(text.c_str(), -1));
  line.get()[strcspn(line.get(), "\n")] = '\0';
  return g_strstrip(line.get());
}

std::string dottedBackwards(std::string_view name) {
  std::string backwards;
  while (!name.empty()) {
    const std::size_t dot = name.rfind('.');
    const std::size_t begin = dot == std::string_view::npos ? 0 : dot + 1;
    if (!backwards.empty()) backwards += '.';
    backwards += name.substr(begin);
    name = name.substr(0, dot == std::string_view::npos ? 0 : dot);
  }
  return backwards;
}

std::string uuidText(const std::array<guint8, 16>& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 15];
  }
  return text;
}

}  // namespace

std::optional<std::string> MachineInfo::line(std::string_view path) const {
  const std::optional<std::string> text = readFile(root_ + std::string(path));
  if (!text) return std::nullopt;
  std::string line = trimmedLine(*text);
  return line.empty() ? std::nullopt : std::optional(std::move(line));
}

bool MachineInfo::exists(std::string_view path) const {
  struct stat status {};
  return stat((root_ + std::string(path)).c_str(), &status) == 0;
}

std::optional<std::string> MachineInfo::assignment(std::string_view path, std::string_view variable) const {
  std::istringstream text(readFile(root_ + std::string(path)).value_or(""));
  const std::string prefix = std::string(variable) + "=";
  for (std::string entry; std::getline(text, entry);) {
    if (!entry.starts_with(prefix)) continue;
    const GStringPtr value(g_shell_unquote(entry.c_str() + prefix.size(), nullptr));
    if (value && *value && g_utf8_validate(value.get(), -1, nullptr)) return value.get();
  }
  return std::nullopt;
}

std::optional<std::string> MachineInfo::osRelease(std::string_view variable) const {
  return assignment(exists("/etc/os-release") ? "/etc/os-release" : "/usr/lib/os-release", variable);
}

std::string MachineInfo::model() const {
  for (const char* path :
       {"/sys/class/dmi/id/product_name", "/sys/class/dmi/id/board_name", "/proc/device-tree/model"}) {
    const std::optional<std::string> name = line(path);
    if (name && !isPlaceholder(*name)) return *name;
  }
  return "Linux";
}

std::string MachineInfo::systemName() const {
  return osRelease("NAME").value_or("Linux");
}

std::optional<std::string> MachineInfo::systemVersion() const {
  return osRelease("VERSION_ID");
}

std::string MachineInfo::chassis() const {
  if (const auto chosen = assignment("/etc/machine-info", "CHASSIS")) return *chosen;
  const std::optional<std::string> type = line("/sys/class/dmi/id/chassis_type");
  if (type == "11") return "handset";
  if (type == "30") return "tablet";
  return line("/proc/device-tree/chassis-type").value_or("");
}

UserInterfaceIdiom MachineInfo::userInterfaceIdiom() const {
  const std::string kind = chassis();
  if (kind == "handset") return UserInterfaceIdiom::Phone;
  if (kind == "tablet") return UserInterfaceIdiom::Pad;
  return UserInterfaceIdiom::Unspecified;
}

std::optional<std::string> MachineInfo::machineId() const {
  for (const char* path : {"/etc/machine-id", "/var/lib/dbus/machine-id"}) {
    const std::optional<std::string> text = line(path);
    const bool isId = text && text->size() == 2 * kMachineIdBytes &&
                      std::all_of(text->begin(), text->end(), [](char c) { return g_ascii_isxdigit(c); });
    if (!isId) continue;
    std::string bytes;
    for (std::size_t i = 0; i < text->size(); i += 2) {
      bytes +=
          static_cast<char>(g_ascii_xdigit_value((*text)[i]) * 16 + g_ascii_xdigit_value((*text)[i + 1]));
    }
    return bytes;
  }
  return std::nullopt;
}

std::optional<std::string> MachineInfo::identifierForVendor(std::string_view vendor) const {
  const std::optional<std::string> key = machineId();
  if (!key) return std::nullopt;
  const std::unique_ptr<GHmac, GFree<g_hmac_unref>> hmac(
      g_hmac_new(G_CHECKSUM_SHA256, reinterpret_cast<const guchar*>(key->data()), key->size()));
  g_hmac_update(hmac.get(), reinterpret_cast<const guchar*>(vendor.data()),
                static_cast<gssize>(vendor.size()));
  std::array<guint8, 32> digest{};
  gsize length = digest.size();
  g_hmac_get_digest(hmac.get(), digest.data(), &length);

  std::array<guint8, 16> uuid{};
  std::copy_n(digest.begin(), uuid.size(), uuid.begin());
  uuid[6] = static_cast<guint8>((uuid[6] & 0x0F) | 0x40);  // Version 4.
  uuid[8] = static_cast<guint8>((uuid[8] & 0x3F) | 0x80);  // The variant of RFC 4122.
  return uuidText(uuid);
}

std::optional<std::string> vendorOfApplication(std::string_view applicationId) {
  if (applicationId.empty()) return std::nullopt;
  const GStringPtr lower(g_ascii_strdown(applicationId.data(), static_cast<gssize>(applicationId.size())));
  const std::string_view name = lower.get();
  const std::size_t lastDot = name.rfind('.');
  if (lastDot == std::string_view::npos) return std::string(name);
  const std::string_view prefix = name.substr(0, lastDot);
  // The list of public suffixes knows under which names vendors register. The answer is a part of the
  // question.
  const std::string host = dottedBackwards(prefix);
  const char* domain = soup_tld_get_base_domain(host.c_str(), nullptr);
  return domain ? dottedBackwards(domain) : std::string(prefix);
}

}  // namespace vemora::gtk
