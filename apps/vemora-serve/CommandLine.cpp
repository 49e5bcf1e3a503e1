#include "CommandLine.h"

#include "../common/DataFiles.h"
#include "../common/GLibHandles.h"
#include "../common/InputFiles.h"
#include "../common/Options.h"
#include "check/ConformanceCheck.h"

#include <algorithm>
#include <limits>
#include <string_view>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSummary =
    "Serves a controller page, an ad list and media over HTTPS to clients on this machine,\n"
    "and counts the beacons that they send. It generates its certificate at start-up.";
constexpr const char* kDescription =
    "The first line on the standard output is its address, as JSON:\n"
    "  {\"origin\":\"https://127.0.0.1:PORT\",\"ca\":\"FILE or null\",\"document\":\"URL or null\"}\n\n"
    "Paths: /mobile/sdk/v4/native/VMRWebViewRuntime.html, /ads.json, /config.json, /media/...,\n"
    "/beacon/... (counted), /beacons (lists them); anything else comes from --root.\n"
    "In the ad list, the configuration and every .json and .xml file, {{origin}} becomes the server's "
    "origin.\n\n"
    "--document serves one file, and the files that it names as {{origin}}/NAME or by a relative address,\n"
    "at an address that cannot be guessed; nothing else of its folder.\n\n"
    "With --check [PAGE_URL] it drives a controller page through sessions as a host app does, and reports\n"
    "which rules of the controller protocol hold; without an address it checks the page that it would\n"
    "serve. It needs a display; without one:\n"
    "  dbus-run-session xvfb-run -a vemora-serve --check\n\n"
    "Exit status: 0 for a server that was stopped, or when all rules hold; 1 when a rule is broken, or when\n"
    "the server or the page fails; 2 for arguments or files that cannot be used; 3 when no rule is broken,\n"
    "but rules about commands could not be judged.\n";

constexpr ProgramDescription kProgram{"vemora-serve", VEMORA_VERSION, "[PAGE_URL]", kSummary, kDescription};

using Kind = Option::Kind;
constexpr Option kOptions[] = {
    {"port", Kind::Text, "Port to listen on (default: any free one)", "N", 'p'},
    {"page", Kind::File, "Controller page (default: the one built with this program)", "FILE"},
    {"ads", Kind::File, "Ad list; without one there are no ads", "FILE"},
    {"config", Kind::File, "JSON object that the page adds to its configuration", "FILE"},
    {"media", Kind::File, "Folder of the media files", "DIR"},
    {"root", Kind::File, "Folder for every other path", "DIR"},
    {"document", Kind::File, "Serve this file and what it names, at a secret address", "FILE"},
    {"ca-out", Kind::File, "Write the certificate to trust to this file, as PEM", "FILE"},
    {"exit-with-parent", Kind::Flag, "End when the standard input closes", nullptr},
    {"list-beacons", Kind::Flag, "At the end, write the counted beacons as one line of JSON", nullptr},
    {"verbose", Kind::Flag, "Write each request to the standard error", nullptr, 'v'},
    {"check", Kind::Flag, "Check a controller page instead of serving", nullptr},
    {"ca", Kind::File, "Trust the certificates in this file as well, PEM", "FILE"},
    {"request", Kind::File, "JSON object to merge into the ad request of the check", "FILE"},
    {"session", Kind::Text, "Only this session: play, controls, waiting or robustness; may be repeated",
     "NAME"},
    {"timeout", Kind::Text, "Longest time for a session (default: 300)", "SECONDS"},
    {"recordings", Kind::File, "Record each session that breaks a rule in this folder", "DIR"},
    {"json", Kind::Flag, "Report as one line of JSON", nullptr},
};

constexpr std::string_view kForChecks[] = {"ca", "request", "session", "timeout", "recordings", "json"};
constexpr std::string_view kForServing[] = {"ca-out", "exit-with-parent", "list-beacons", "document"};
constexpr std::string_view kForOwnPages[] = {"port", "page", "ads", "config", "media", "root"};

void refuse(const Options& options, std::span<const std::string_view> names, const char* why) {
  for (const std::string_view name : names) {
    if (options.has(name)) throw BadArguments("--" + std::string(name) + " " + why);
  }
}

void refuseStrayOptions(const Options& options) {
  if (!options.has("check")) return refuse(options, kForChecks, "needs --check");
  refuse(options, kForServing, "cannot be combined with --check");
  if (!options.parameters().empty())
    refuse(options, kForOwnPages, "cannot be combined with the check of an address");
}

void refuseStrayParameters(const Options& options) {
  const std::size_t most = options.has("check") ? 1 : 0;
  if (options.parameters().size() > most)
    throw BadArguments("unexpected argument: " + options.parameters()[most]);
}

std::uint16_t readPort(const std::string& text) {
  const auto port = readWholeNumber(text, std::numeric_limits<std::uint16_t>::max());
  if (!port) throw BadArguments("--port: '" + text + "' is not a port, 0 to 65535");
  return static_cast<std::uint16_t>(*port);
}

double readSeconds(const std::string& text) {
  // The toolkit counts milliseconds in 32 bits.
  constexpr double kMost = 1'000'000;
  const auto seconds = readNumber(text);
  if (!seconds || *seconds <= 0 || *seconds > kMost) {
    throw BadArguments("--timeout: '" + text + "' is not a number of seconds");
  }
  return *seconds;
}

bool isSecureAddress(const std::string& address) {
  const GUriPtr uri(g_uri_parse(address.c_str(), G_URI_FLAGS_ENCODED, nullptr));
  return uri && g_uri_get_scheme(uri.get()) == std::string_view("https") && g_uri_get_host(uri.get()) &&
         *g_uri_get_host(uri.get());
}

CheckRequest readCheckRequest(const Options& options) {
  CheckRequest check;
  if (!options.parameters().empty()) check.address = options.parameters().front();
  if (check.address && !isSecureAddress(*check.address)) {
    throw BadArguments("not an https address: " + *check.address);
  }
  check.sessions = options.values("session");
  const std::vector<std::string> known = check::sessionNames();
  for (const std::string& name : check.sessions) {
    if (std::find(known.begin(), known.end(), name) == known.end()) {
      throw BadArguments("--session: there is no session '" + name + "'");
    }
  }
  if (const auto timeout = options.value("timeout")) check.timeout = readSeconds(*timeout);
  check.adRequest = options.file("request");
  if (check.adRequest) readJsonObject("request", *check.adRequest);
  check.authority = options.file("ca");
  if (check.authority) checkCertificates("ca", *check.authority);
  check.recordings = options.file("recordings");
  if (check.recordings && std::filesystem::exists(*check.recordings))
    check.recordings = readableFolder("recordings", *check.recordings);
  check.asJson = options.has("json");
  return check;
}

LocalServerOptions readServerOptions(const Options& options) {
  LocalServerOptions server;
  if (const auto port = options.value("port")) server.port = readPort(*port);
  server.page = options.file("page").value_or(dataFile("VMRWebViewRuntime.html", VEMORA_SERVE_DEFAULT_PAGE));
  if (!options.has("page") && whyUnreadableFile(server.page)) {
    throw BadArguments("there is no controller page at '" + server.page.string() +
                       "'; build it with scripts/setup, or name one with --page");
  }
  server.page = readableFile("page", server.page);
  server.ads = options.file("ads");
  if (server.ads) checkAdList("ads", *server.ads);
  server.config = options.file("config");
  if (server.config) checkConfiguration("config", *server.config);
  server.document = options.file("document");
  if (server.document) checkAdDocument("document", *server.document);
  if (const auto folder = options.file("media")) server.mediaFolder = readableFolder("media", *folder);
  if (const auto folder = options.file("root")) server.rootFolder = readableFolder("root", *folder);
  return server;
}

/// What a check of the own page plays unless an ad list is named.
void addAdsForCheck(LocalServerOptions& server) {
  if (server.ads) return;
  server.ads = dataFile("demo/ads.json", VEMORA_SERVE_CHECK_ADS);
  if (!server.mediaFolder) server.mediaFolder = dataFile("demo/media", VEMORA_SERVE_CHECK_MEDIA);
}

}  // namespace

CommandLine readCommandLine(int argc, char** argv) {
  const Options options = Options::read(kProgram, kOptions, argc, argv);
  refuseStrayParameters(options);
  refuseStrayOptions(options);

  CommandLine result;
  if (options.has("check")) result.check = readCheckRequest(options);
  const bool isServed = !result.check || !result.check->address;
  if (isServed) result.server = readServerOptions(options);
  if (result.check && isServed) addAdsForCheck(result.server);
  if (const auto file = options.file("ca-out")) result.certificateFile = writableFile("ca-out", *file);
  result.exitWithParent = options.has("exit-with-parent");
  result.listBeacons = options.has("list-beacons");
  result.verbose = options.has("verbose");
  return result;
}

}  // namespace vemora
