#pragma once

#include "LocalServer.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

/// A conformance check instead of serving.
struct CheckRequest {
  std::optional<std::string> address;  ///< Absent: the page of this server.
  std::vector<std::string> sessions;   ///< Empty: all.
  std::optional<std::filesystem::path> adRequest;
  std::optional<std::filesystem::path> authority;
  std::optional<std::filesystem::path> recordings;
  double timeout = 300;
  bool asJson = false;
};

/// The parsed arguments.
struct CommandLine {
  std::optional<CheckRequest> check;
  LocalServerOptions server;
  std::optional<std::filesystem::path> certificateFile;
  bool exitWithParent = false;
  bool listBeacons = false;
  bool verbose = false;
};

/// Reads the arguments and looks at the input files. Throws BadArguments when they cannot be used; ends the
/// program after "--help" and "--version".
CommandLine readCommandLine(int argc, char** argv);

}  // namespace vemora
