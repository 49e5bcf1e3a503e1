#include "CommandLine.h"

#include "../common/GLibHandles.h"

#include <Vemora/Vemora.h>

#include <gio/gio.h>
#include <glib/gstdio.h>

#include <array>
#include <cmath>
#include <iostream>
#include <stdexcept>
#include <string_view>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr int kBadArguments = 2;
constexpr const char* kSummary =
    "Plays an ad group in the window of a host app, and tells of every callback.\n"
    "Without --controller-host, it starts a server of its own for the page, the ads and the beacons.";
constexpr const char* kDescription =
    "Commands of --do: play, pause, resume, skip, stop, close, smaller, larger. WHEN is a time of the "
    "running\nad in seconds, or a callback: --do pause@1.5 --do resume@adPaused. They are taken in "
    "order.\n\n"
    "Keys: space pauses and resumes, s skips, c or Escape closes, + and - resize.\n\n"
    "Exit status: 0 when the ad group has completed, 1 otherwise, 2 for arguments that make no sense.\n";

/// The arguments make no sense; the text says why.
class BadArguments : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The values that the option parser fills in.
struct Values {
  int version = FALSE;
  int debug = FALSE;
  char* placement = nullptr;
  char* size = nullptr;
  char* controllerHost = nullptr;
  char* certificate = nullptr;
  char* ads = nullptr;
  char* config = nullptr;
  char* media = nullptr;
  char* vast = nullptr;
  char* apiKey = nullptr;
  char* channel = nullptr;
  char* events = nullptr;
  char* beacons = nullptr;
  char* screenshot = nullptr;
  char* timeout = nullptr;
  char** params = nullptr;
  char** steps = nullptr;

  Values() = default;
  Values(const Values&) = delete;
  Values& operator=(const Values&) = delete;
  ~Values() {
    for (char* text : {placement, size, controllerHost, certificate, ads, config, media, vast, apiKey,
                       channel, events, beacons, screenshot, timeout}) {
      g_free(text);
    }
    g_strfreev(params);
    g_strfreev(steps);
  }
};

GOptionContextPtr makeContext(Values& v) {
  constexpr auto kText = G_OPTION_ARG_STRING;
  constexpr auto kFile = G_OPTION_ARG_FILENAME;
  constexpr auto kTexts = G_OPTION_ARG_STRING_ARRAY;
  constexpr auto kFlag = G_OPTION_ARG_NONE;
  const GOptionEntry entries[] = {
      {"placement", 'p', 0, kText, &v.placement, "inline (default), resizable or interstitial", "KIND"},
      {"size", 0, 0, kText, &v.size, "Fraction of its place that a resizable ad takes", "F"},
      {"ads", 0, 0, kFile, &v.ads, "Ad list of the own server (default: three short ads)", "FILE"},
      {"vast", 0, 0, kText, &v.vast, "VAST document, or the address of an ad tag", "FILE|URL"},
      {"media", 0, 0, kFile, &v.media, "Folder that the own server has at /media", "DIR"},
      {"config", 0, 0, kFile, &v.config, "Configuration of the own server's page", "FILE"},
      {"controller-host", 0, 0, kText, &v.controllerHost, "Take the page from this host", "HOST[:PORT]"},
      {"ca", 0, 0, kFile, &v.certificate, "Trust this certificate for that host", "FILE"},
      {"api-key", 0, 0, kText, &v.apiKey, "Publisher's key", "KEY"},
      {"channel", 0, 0, kText, &v.channel, "Channel number", "N"},
      {"param", 0, 0, kTexts, &v.params, "Request parameter (repeatable)", "KEY=VALUE"},
      {"do", 0, 0, kTexts, &v.steps, "Give the player a command (repeatable)", "COMMAND@WHEN"},
      {"events", 0, 0, kFile, &v.events, "Write each callback as a line of JSON", "FILE|-"},
      {"beacons", 0, 0, kFile, &v.beacons, "At the end, write the server's beacons as JSON", "FILE"},
      {"screenshot", 0, 0, kFile, &v.screenshot, "Take a picture while an ad plays", "FILE.png"},
      {"timeout", 0, 0, kText, &v.timeout, "Give up after so many seconds", "S"},
      {"debug", 0, 0, kFlag, &v.debug, "Let the SDK log what it does", nullptr},
      {"version", 0, 0, kFlag, &v.version, "Show the version", nullptr},
      {nullptr, 0, 0, kFlag, nullptr, nullptr, nullptr},
  };
  GOptionContextPtr context(g_option_context_new(nullptr));
  g_option_context_set_summary(context.get(), kSummary);
  g_option_context_set_description(context.get(), kDescription);
  g_option_context_add_main_entries(context.get(), entries, nullptr);
  return context;
}

fs::path readable(const char* option, const fs::path& path, GFileTest kind) {
  if (g_file_test(path.c_str(), kind) && g_access(path.c_str(), R_OK) == 0) return fs::absolute(path);
  const char* const what = kind == G_FILE_TEST_IS_DIR ? "folder" : "file";
  throw BadArguments(std::string(option) + ": cannot read the " + what + " '" + path.string() + "'");
}

fs::path writable(const char* option, const char* path) {
  fs::path file = fs::absolute(path);
  if (file.has_filename() && !fs::is_directory(file) && g_access(file.parent_path().c_str(), W_OK) == 0)
    return file;
  throw BadArguments(std::string(option) + ": cannot write the file '" + path + "'");
}

std::optional<double> number(const char* text) {
  char* end = nullptr;
  const double value = g_ascii_strtod(text, &end);
  return end != text && *end == '\0' ? std::optional(value) : std::nullopt;
}

Placement readPlacement(std::string_view text) {
  if (text == "inline") return Placement::Inline;
  if (text == "resizable") return Placement::Resizable;
  if (text == "interstitial") return Placement::Interstitial;
  throw BadArguments("--placement: '" + std::string(text) +
                     "' is neither inline, resizable nor interstitial");
}

ControllerHost readControllerHost(const std::string& text) {
  const GUriPtr uri(g_uri_parse(("https://" + text).c_str(), G_URI_FLAGS_NONE, nullptr));
  const bool isHostAlone = uri && *g_uri_get_host(uri.get()) && !*g_uri_get_path(uri.get()) &&
                           !g_uri_get_userinfo(uri.get()) && !g_uri_get_query(uri.get()) &&
                           !g_uri_get_fragment(uri.get());
  if (!isHostAlone) throw BadArguments("--controller-host: '" + text + "' is not of the form HOST[:PORT]");
  return {text, g_uri_get_host(uri.get())};
}

std::pair<std::string, std::string> readParam(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals == 0 || equals == std::string::npos) {
    throw BadArguments("--param: '" + text + "' is not of the form KEY=VALUE");
  }
  return {text.substr(0, equals), text.substr(equals + 1)};
}

bool isWebAddress(const char* text) {
  const GStringPtr scheme(g_uri_parse_scheme(text));
  return scheme && (g_str_equal(scheme.get(), "https") || g_str_equal(scheme.get(), "http"));
}

void readPlacementOptions(const Values& v, CommandLine& into) {
  if (v.placement) into.placement = readPlacement(v.placement);
  if (!v.size) return;
  if (into.placement != Placement::Resizable) throw BadArguments("--size: only for --placement resizable");
  // Whatever is a number is handed on, as a host app would.
  const std::optional<double> size = number(v.size);
  if (!size) throw BadArguments("--size: '" + std::string(v.size) + "' is not a number");
  into.size = static_cast<float>(*size);
}

void readServerOptions(const Values& v, CommandLine& into) {
  const std::array<std::pair<const char*, const char*>, 3> ofTheOwnServer{
      {{"--ads", v.ads}, {"--config", v.config}, {"--media", v.media}}};
  if (v.controllerHost) {
    into.controllerHost = readControllerHost(v.controllerHost);
    for (const auto& [option, value] : ofTheOwnServer) {
      if (value) throw BadArguments(std::string(option) + ": not together with --controller-host");
    }
  } else if (v.certificate) {
    throw BadArguments("--ca: only together with --controller-host");
  }
  if (v.certificate) into.certificate = readable("--ca", v.certificate, G_FILE_TEST_IS_REGULAR);
  if (v.config) into.config = readable("--config", v.config, G_FILE_TEST_IS_REGULAR);
  if (into.controllerHost) return;
  const fs::path own(VEMORA_DEMO_FOLDER);
  into.ads = readable("--ads", v.ads ? fs::path(v.ads) : own / "ads.json", G_FILE_TEST_IS_REGULAR);
  into.media = readable("--media", v.media ? fs::path(v.media) : own / "media", G_FILE_TEST_IS_DIR);
}

void readRequestOptions(const Values& v, CommandLine& into) {
  if (v.vast && isWebAddress(v.vast)) {
    into.vastUrl = v.vast;
  } else if (v.vast) {
    into.vastFile = readable("--vast", v.vast, G_FILE_TEST_IS_REGULAR);
  }
  if (v.apiKey) into.apiKey = v.apiKey;
  if (v.channel) into.channel = v.channel;
  for (char** param = v.params; param && *param; ++param) into.params.push_back(readParam(*param));
  for (char** step = v.steps; step && *step; ++step) {
    const std::optional<RehearsedStep> read = readRehearsedStep(*step);
    if (!read) throw BadArguments("--do: '" + std::string(*step) + "' is not of the form COMMAND@WHEN");
    into.rehearsal.push_back(*read);
  }
}

void readOutputOptions(const Values& v, CommandLine& into) {
  if (v.events)
    into.events = std::string_view(v.events) == "-" ? "-" : writable("--events", v.events).string();
  if (v.beacons) into.beacons = writable("--beacons", v.beacons);
  if (v.screenshot) into.screenshot = writable("--screenshot", v.screenshot);
  into.debug = v.debug;
  if (!v.timeout) return;
  into.timeout = number(v.timeout);
  if (!into.timeout || !std::isfinite(*into.timeout) || *into.timeout <= 0) {
    throw BadArguments("--timeout: '" + std::string(v.timeout) + "' is not a number of seconds");
  }
}

CommandLine read(const Values& values) {
  CommandLine result;
  readPlacementOptions(values, result);
  readServerOptions(values, result);
  readRequestOptions(values, result);
  readOutputOptions(values, result);
  return result;
}

ExitNow badArguments(const std::string& why) {
  std::cerr << "vemora-demo: " << why << "\nTry 'vemora-demo --help'.\n";
  return {kBadArguments};
}

}  // namespace

std::variant<CommandLine, ExitNow> readCommandLine(int argc, char** argv) {
  Values values;
  const GOptionContextPtr context = makeContext(values);
  GErrorHolder error;
  if (!g_option_context_parse(context.get(), &argc, &argv, error.out())) return badArguments(error.message());
  if (values.version) {
    std::cout << "vemora-demo " << Vemora::version() << "\n";
    return ExitNow{};
  }
  if (argc > 1) return badArguments("unexpected argument: " + std::string(argv[1]));
  try {
    return read(values);
  } catch (const BadArguments& bad) {
    return badArguments(bad.what());
  }
}

}  // namespace vemora
