#include "CommandLine.h"

#include "../common/GLibHandles.h"
#include "FileLookup.h"
#include "check/ConformanceCheck.h"

#include <algorithm>
#include <charconv>
#include <iostream>
#include <span>
#include <string_view>
#include <system_error>
#include <utility>

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
    "origin.\n\n"
    "With --check [PAGE_URL] it drives a controller page through sessions as a host app does, and\n"
    "tells which rules of the controller protocol hold; without an address, those of the page that\n"
    "it would serve. It needs a display; without one:\n"
    "  dbus-run-session xvfb-run -a vemora-serve --check\n"
    "It exits with 0 when all rules hold, with 1 when not or when the page cannot be checked.\n";

/// The values that the option parser fills in.
struct Values {
  int version = FALSE;
  int exitWithParent = FALSE;
  int listBeacons = FALSE;
  int verbose = FALSE;
  int check = FALSE;
  int json = FALSE;
  char** sessions = nullptr;
  char* authority = nullptr;
  char* request = nullptr;
  char* timeout = nullptr;
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
    for (char* text : {port, page, ads, config, media, root, certificateFile, authority, request, timeout}) {
      g_free(text);
    }
    g_strfreev(sessions);
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
  const GOptionEntry checkEntries[] = {
      {"check", 0, 0, kFlag, &v.check, "Check a controller page in place of serving", nullptr},
      {"ca", 0, 0, kFile, &v.authority, "Trust the certificates in this file as well, PEM", "FILE"},
      {"request", 0, 0, kFile, &v.request, "Object to lay over the ad request of the check", "FILE"},
      {"session", 0, 0, G_OPTION_ARG_STRING_ARRAY, &v.sessions,
       "Only this session: play, controls, waiting or robustness; may be repeated", "NAME"},
      {"timeout", 0, 0, G_OPTION_ARG_STRING, &v.timeout, "Longest time for a session (default: 300)",
       "SECONDS"},
      {"json", 0, 0, kFlag, &v.json, "Report as one line of JSON", nullptr},
      {nullptr, 0, 0, kFlag, nullptr, nullptr, nullptr},
  };
  GOptionContextPtr context(g_option_context_new("[PAGE_URL]"));
  g_option_context_set_summary(context.get(), kSummary);
  g_option_context_set_description(context.get(), kDescription);
  g_option_context_add_main_entries(context.get(), entries, nullptr);
  g_option_context_add_main_entries(context.get(), checkEntries, nullptr);
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

/// The first option that was given and does not go with what was asked for; null when all do.
const char* strayOption(const Values& v, bool isCheckOfOwnPage) {
  const std::pair<const char*, bool> forChecks[] = {{"--ca", v.authority},
                                                    {"--request", v.request},
                                                    {"--session", v.sessions},
                                                    {"--timeout", v.timeout},
                                                    {"--json", v.json}};
  const std::pair<const char*, bool> forServing[] = {{"--ca-out", v.certificateFile},
                                                     {"--exit-with-parent", v.exitWithParent},
                                                     {"--list-beacons", v.listBeacons}};
  const std::pair<const char*, bool> forOwnPages[] = {{"--port", v.port},   {"--page", v.page},
                                                      {"--ads", v.ads},     {"--config", v.config},
                                                      {"--media", v.media}, {"--root", v.root}};
  const auto firstGiven = [](std::span<const std::pair<const char*, bool>> options) -> const char* {
    const auto found =
        std::find_if(options.begin(), options.end(), [](const auto& option) { return option.second; });
    return found == options.end() ? nullptr : found->first;
  };
  if (!v.check) return firstGiven(forChecks);
  if (const char* const stray = firstGiven(forServing)) return stray;
  return isCheckOfOwnPage ? nullptr : firstGiven(forOwnPages);
}

/// Absent for what is no positive number of seconds.
std::optional<double> readSeconds(const char* text) {
  char* end = nullptr;
  const double seconds = g_ascii_strtod(text, &end);
  // The toolkit counts milliseconds in 32 bits.
  constexpr double kMost = 1'000'000;
  if (end == text || *end != '\0' || !(seconds > 0) || seconds > kMost) return std::nullopt;
  return seconds;
}

bool isSecureAddress(const std::string& address) {
  const GUriPtr uri(g_uri_parse(address.c_str(), G_URI_FLAGS_ENCODED, nullptr));
  return uri && g_uri_get_scheme(uri.get()) == std::string_view("https") && g_uri_get_host(uri.get()) &&
         *g_uri_get_host(uri.get());
}

/// Absent when it makes no sense; `problem` then says why.
std::optional<CheckRequest> readCheckRequest(const Values& v, const char* address, std::string& problem) {
  CheckRequest check;
  if (address) {
    check.address = address;
    if (!isSecureAddress(*check.address)) {
      problem = "not an https address: " + *check.address;
      return std::nullopt;
    }
  }
  const std::vector<std::string> known = check::sessionNames();
  for (char** name = v.sessions; name && *name; ++name) {
    if (std::find(known.begin(), known.end(), *name) == known.end()) {
      problem = "no such session: " + std::string(*name);
      return std::nullopt;
    }
    check.sessions.emplace_back(*name);
  }
  if (v.timeout) {
    const std::optional<double> seconds = readSeconds(v.timeout);
    if (!seconds) {
      problem = "not a number of seconds: " + std::string(v.timeout);
      return std::nullopt;
    }
    check.timeout = *seconds;
  }
  check.adRequest = pathOf(v.request);
  check.authority = pathOf(v.authority);
  check.asJson = v.json;
  return check;
}

/// What the own page plays when nobody says what.
void giveAdsToCheck(LocalServerOptions& server) {
  if (server.ads) return;
  server.ads = VEMORA_SERVE_CHECK_ADS;
  if (!server.mediaFolder) server.mediaFolder = VEMORA_SERVE_CHECK_MEDIA;
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
  const int mostArguments = values.check ? 2 : 1;
  if (argc > mostArguments) return badArguments("unexpected argument: " + std::string(argv[mostArguments]));
  const char* const address = argc > 1 ? argv[1] : nullptr;
  if (const char* const stray = strayOption(values, !address)) {
    return badArguments(std::string(stray) +
                        (values.check ? " does not go with this check" : " needs --check"));
  }

  CommandLine result;
  if (values.check) {
    std::string problem;
    result.check = readCheckRequest(values, address, problem);
    if (!result.check) return badArguments(problem);
  }
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
  if (result.check && !result.check->address) giveAdsToCheck(result.server);
  result.certificateFile = pathOf(values.certificateFile);
  result.exitWithParent = values.exitWithParent;
  result.listBeacons = values.listBeacons;
  result.verbose = values.verbose;
  return result;
}

std::optional<std::string> unusableInput(const CommandLine& commandLine) {
  if (const auto& check = commandLine.check) {
    std::optional<std::string> problem;
    if (check->adRequest) {
      problem = unusable("request", *check->adRequest, whyUnreadableFile(*check->adRequest));
    }
    if (!problem && check->authority) {
      problem = unusable("certificates", *check->authority, whyUnreadableFile(*check->authority));
    }
    if (problem || check->address) return problem;
  }
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
