#pragma once

#include "Rehearsal.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vemora {

enum class Placement { Inline, Resizable, Interstitial };

/// Where the controller page comes from when it is not the demo's own server.
struct ControllerHost {
  std::string hostAndPort;  ///< As the player takes it, "ads.example:8443".
  std::string host;         ///< Without the port.
};

/// The parsed arguments. Paths are absolute; input files exist and are well-formed.
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
  std::string channel = "1";
  std::vector<std::pair<std::string, std::string>> params;
  std::optional<bool> subjectToGDPR;
  std::optional<std::string> consent;  ///< Of the IAB framework.

  std::optional<std::string> events;  ///< "-" is the standard output.
  std::optional<std::filesystem::path> beacons;
  std::optional<std::filesystem::path> screenshot;
  std::optional<std::filesystem::path> inspect;
  std::vector<RehearsedStep> rehearsal;
  std::optional<double> timeout;  ///< Seconds.
  bool debug = false;
};

/// Reads the arguments and looks at the input files. Throws BadArguments when they cannot be used; ends the
/// program after "--help" and "--version".
CommandLine readCommandLine(int argc, char** argv);

}  // namespace vemora
