#include "backends/gtk/services/LocationPermission.h"

#include "backends/gtk/base/GObjectPtr.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace vemora::gtk {

namespace {

using Status = LocationAuthorizationStatus;

/// An entry with "allowed" speaks for the listed users, or for all when none are listed.
Status permissionInFile(const std::string& path, const std::string& desktopId) {
  const GKeyFilePtr file(g_key_file_new());
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr))
    return Status::NotDetermined;
  if (!g_key_file_has_group(file.get(), desktopId.c_str())) return Status::NotDetermined;
  if (!g_key_file_get_boolean(file.get(), desktopId.c_str(), "allowed", nullptr)) return Status::Denied;
  gsize count = 0;
  const std::unique_ptr<int, GFree<g_free>> users(
      g_key_file_get_integer_list(file.get(), desktopId.c_str(), "users", &count, nullptr));
  const bool listed =
      std::find(users.get(), users.get() + count, static_cast<int>(getuid())) != users.get() + count;
  return count == 0 || listed ? Status::AuthorizedAlways : Status::Denied;
}

std::vector<std::string> configurationFilesIn(const std::string& folder) {
  std::vector<std::string> files;
  const std::unique_ptr<GDir, GFree<g_dir_close>> dir(g_dir_open(folder.c_str(), 0, nullptr));
  while (const char* name = dir ? g_dir_read_name(dir.get()) : nullptr) {
    if (g_str_has_suffix(name, ".conf")) files.push_back(folder + "/" + name);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

Status configuredLocationPermission(const std::string& file, const std::string& folder,
                                    std::string_view desktopId) {
  if (desktopId.empty()) return Status::NotDetermined;
  std::vector<std::string> files = configurationFilesIn(folder);
  files.insert(files.begin(), file);
  Status status = Status::NotDetermined;
  for (const std::string& path : files) {
    const Status here = permissionInFile(path, std::string(desktopId));
    if (here != Status::NotDetermined) status = here;
  }
  return status;
}

Status storedLocationPermission(GVariant* permissions, std::string_view desktopId) {
  if (!permissions || desktopId.empty()) return Status::NotDetermined;
  const GVariantPtr entry(
      g_variant_lookup_value(permissions, std::string(desktopId).c_str(), G_VARIANT_TYPE_STRING_ARRAY));
  if (!entry || g_variant_n_children(entry.get()) == 0) return Status::NotDetermined;
  const char* accuracy = nullptr;
  g_variant_get_child(entry.get(), 0, "&s", &accuracy);
  return g_str_equal(accuracy, "NONE") ? Status::Denied : Status::AuthorizedWhenInUse;
}

}  // namespace vemora::gtk
