#pragma once

#include "ports/Device.h"

#include <optional>
#include <string>
#include <string_view>

namespace vemora::gtk {

/// Facts about this machine from files of the kernel and the system. Reads them at each call, without a
/// cache.
class MachineInfo {
 public:
  /// All files are looked up below `root`.
  explicit MachineInfo(std::string root = "") : root_(std::move(root)) {}

  /// The maker's name of the machine's model; "Linux" when it has none.
  std::string model() const;
  std::string systemName() const;
  std::optional<std::string> systemVersion() const;
  UserInterfaceIdiom userInterfaceIdiom() const;

  /// A UUID that identifies this machine to one vendor. It reveals neither the machine's own id nor the UUID
  /// of another vendor. Absent when the machine has no id yet.
  std::optional<std::string> identifierForVendor(std::string_view vendor) const;

 private:
  std::optional<std::string> line(std::string_view path) const;
  /// A variable of a file of shell-like assignments.
  std::optional<std::string> assignment(std::string_view path, std::string_view variable) const;
  std::optional<std::string> osRelease(std::string_view variable) const;
  std::optional<std::string> machineId() const;
  std::string chassis() const;
  bool exists(std::string_view path) const;

  const std::string root_;
};

/// The part of a reverse-DNS application id that its vendor's applications share: "com.example" of
/// "com.example.Player", also for country domains and hosting sites ("io.github.someone"). Letter case aside.
/// Absent for an empty id.
std::optional<std::string> vendorOfApplication(std::string_view applicationId);

}  // namespace vemora::gtk
