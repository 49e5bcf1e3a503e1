#pragma once

#include "LocalServer.h"

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vemora {

/// A conformance check in place of serving.
struct CheckRequest {
  std::optional<std::string> address;  ///< Absent: the page of this server.
  std::vector<std::string> sessions;   ///< Empty: all.
  std::optional<std::filesystem::path> adRequest;
  std::optional<std::filesystem::path> authority;
  double timeout = 300;
  bool asJson = false;
};

/// What the program was asked to do.
struct CommandLine {
  std::optional<CheckRequest> check;
  LocalServerOptions server;
  std::optional<std::filesystem::path> certificateFile;
  bool exitWithParent = false;
  bool listBeacons = false;
  bool verbose = false;
};

/// The status to leave with at once: after help, after the version, or after arguments that make no sense.
struct ExitNow {
  int status = 0;
};

/// Reads the arguments. Whatever there is to say about them has been written when this returns.
std::variant<CommandLine, ExitNow> readCommandLine(int argc, char** argv);

/// Which of the named files cannot be used, and why; absent when all can.
std::optional<std::string> unusableInput(const CommandLine& commandLine);

}  // namespace vemora
