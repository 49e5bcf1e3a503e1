#include "CommandLine.h"

#include "../common/GLibHandles.h"
#include "FileLookup.h"

#include <charconv>
#include <iostream>
#include <string_view>
#include <system_error>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr int kBadArguments = 2;
constexpr const char* kSummary =
    "Serves a controller page, an ad list and media over HTTPS to clients on this machine,\n"
    "and counts the beacons that they send. The certificate is made at the start.";
constexpr const char* kDescription =
    "The first line on the standard output says where it serves, as JSON:\n"
    "  {\"origin\":\"https://127.0.0.1:PORT\",\"ca\":\"FILE or null\"}\n\n"
    "Paths: /mobile/sdk/v4/native/VMRWebViewRuntime.html, /ads.json, /config.json, /media/...,\n"
    "/beacon/... (counted), /beacons (lists them); anything else comes from --root.\n"
    "In the ad list, the configuration and every .json and .xml file, {{origin}} becomes the server's "
    "origin.\n";

/// The values that the option parser fills in.
struct Values {
  int version = FALSE;
  int exitWithParent = FALSE;
  int listBeacons = FALSE;
  int verbose = FALSE;
  char* port = nullptr;
  char* page = nullptr;
  char* ads = nullptr;
  char* config = nullptr;
  char* media = nullptr;
  char* root = nullptr;
  char* certificateFile = nullptr;

  Values() = default;
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;
  ~Values() {
    for (char* text : {port, page, ads, config, media, root, certificateFile}) g_free(text);
  }
};

GOptionContextPtr makeContext(Values& v) {
  constexpr auto kFile = G_OPTION_ARG_FILENAME;
  constexpr auto kFlag = G_OPTION_ARG_NONE;
  const GOptionEntry entries[] = {
      {"port", 'p', 0, G_OPTION_ARG_STRING, &v.port, "Port to listen on (default: any free one)", "N"},
      {"page", 0, 0, kFile, &v.page, "Controller page (default: the one built with this program)", "FILE"},
      {"ads", 0, 0, kFile, &v.ads, "Ad list; without one there are no ads", "FILE"},
      {"config", 0, 0, kFile, &v.config, "Object that the page adds to its configuration", "FILE"},
      {"media", 0, 0, kFile, &v.media, "Folder of the media files", "DIR"},
      {"root", 0, 0, kFile, &v.root, "Folder for every other path", "DIR"},
      {"ca-out", 0, 0, kFile, &v.certificateFile, "Write the certificate to trust to this file, as PEM",
       "FILE"},
      {"exit-with-parent", 0, 0, kFlag, &v.exitWithParent, "End when the standard input closes", nullptr},
      {"list-beacons", 0, 0, kFlag, &v.listBeacons,
       "At the end, write the counted beacons as one line of JSON", nullptr},
      {"verbose", 'v', 0, kFlag, &v.verbose, "Tell each request on the standard error", nullptr},
      {"version", 0, 0, kFlag, &v.version, "Show the version", nullptr},
      {nullptr, 0, 0, kFlag, nullptr, nullptr, nullptr},
  };
  GOptionContextPtr context(g_option_context_new(nullptr));
  g_option_context_set_summary(context.get(), kSummary);
  g_option_context_set_description(context.get(), kDescription);
  g_option_context_add_main_entries(context.get(), entries, nullptr);
  return context;
}

ExitNow badArguments(const std::string& why) {
  std::cerr << "vemora-serve: " << why << "\nTry 'vemora-serve --help'.\n";
  return {kBadArguments};
}

std::optional<std::uint16_t> readPort(std::string_view text) {
  std::uint16_t port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return port;
}

std::optional<fs::path> pathOf(const char* text) {
  return text ? std::optional<fs::path>(text) : std::nullopt;
}

std::optional<std::string> unusable(const char* what, const fs::path& path,
                                    const std::optional<std::string>& why) {
  if (!why) return std::nullopt;
  return std::string("cannot read the ") + what + " '" + path.string() + "': " + *why;
}

}  // namespace

std::variant<CommandLine, ExitNow> readCommandLine(int argc, char** argv) {
  Values values;
  const GOptionContextPtr context = makeContext(values);
  GErrorHolder error;
  if (!g_option_context_parse(context.get(), &argc, &argv, error.out())) return badArguments(error.message());
  if (values.version) {
    std::cout << "vemora-serve " << VEMORA_VERSION << "\n";
    return ExitNow{};
  }
  if (argc > 1) return badArguments("unexpected argument: " + std::string(argv[1]));

  CommandLine result;
  if (values.port) {
    const std::optional<std::uint16_t> port = readPort(values.port);
    if (!port) return badArguments("not a port: " + std::string(values.port));
    result.server.port = *port;
  }
  result.server.page = values.page ? values.page : VEMORA_SERVE_DEFAULT_PAGE;
  result.server.ads = pathOf(values.ads);
  result.server.config = pathOf(values.config);
  result.server.mediaFolder = pathOf(values.media);
  result.server.rootFolder = pathOf(values.root);
  result.certificateFile = pathOf(values.certificateFile);
  result.exitWithParent = values.exitWithParent;
  result.listBeacons = values.listBeacons;
  result.verbose = values.verbose;
  return result;
}

std::optional<std::string> unusableInput(const CommandLine& commandLine) {
  const LocalServerOptions& server = commandLine.server;
  auto problem = unusable("controller page", server.page, whyUnreadableFile(server.page));
  if (problem && server.page == VEMORA_SERVE_DEFAULT_PAGE) *problem += "; build it, or name one with --page";
  if (!problem && server.ads) problem = unusable("ad list", *server.ads, whyUnreadableFile(*server.ads));
  if (!problem && server.config)
    problem = unusable("configuration", *server.config, whyUnreadableFile(*server.config));
  if (!problem && server.mediaFolder) {
    problem = unusable("media folder", *server.mediaFolder, whyUnreadableFolder(*server.mediaFolder));
  }
  if (!problem && server.rootFolder) {
    problem = unusable("root folder", *server.rootFolder, whyUnreadableFolder(*server.rootFolder));
  }
  return problem;
}

}  // namespace vemora
