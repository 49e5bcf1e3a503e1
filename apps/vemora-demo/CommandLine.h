#pragma once

#include "Rehearsal.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vemora {

enum class Placement { Inline, Resizable, Interstitial };

/// Where the controller page comes from when it is not the demo's own server.
struct ControllerHost {
  std::string hostAndPort;  ///< As the player takes it, "ads.example:8443".
  std::string host;         ///< Without the port.
};

/// What the program was asked to do. Paths are absolute, and those to be read have been found readable.
struct CommandLine {
  Placement placement = Placement::Inline;
  std::optional<float> size;

  std::optional<ControllerHost> controllerHost;
  std::optional<std::filesystem::path> certificate;
  std::filesystem::path ads;
  std::optional<std::filesystem::path> config;
  std::filesystem::path media;

  std::optional<std::filesystem::path> vastFile;
  std::optional<std::string> vastUrl;
  std::optional<std::string> apiKey;
  std::optional<std::string> channel;
  std::vector<std::pair<std::string, std::string>> params;

  std::optional<std::string> events;  ///< "-" is the standard output.
  std::optional<std::filesystem::path> beacons;
  std::optional<std::filesystem::path> screenshot;
  std::vector<RehearsedStep> rehearsal;
  std::optional<double> timeout;  ///< Seconds.
  bool debug = false;
};

/// The status to leave with at once: after help, after the version, or after arguments that make no sense.
struct ExitNow {
  int status = 0;
};

/// Reads the arguments. Whatever there is to say about them has been written when this returns.
std::variant<CommandLine, ExitNow> readCommandLine(int argc, char** argv);

}  // namespace vemora
