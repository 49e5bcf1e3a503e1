#include "CommandLine.h"

#include "../common/DataFiles.h"
#include "../common/GLibHandles.h"
#include "../common/GObjectPtr.h"
#include "../common/InputFiles.h"
#include "../common/Options.h"

#include <Vemora/Vemora.h>

#include <gio/gio.h>

#include <cstdint>
#include <string_view>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr const char* kSummary =
    "Plays an ad group in the window of a host app, and prints every callback.\n"
    "Without --controller-host, it starts its own server for the page, the ads and the beacons.";
constexpr const char* kDescription =
    "Commands of --do: play, pause, resume, skip, stop, close, smaller, larger. WHEN is a time of the "
    "running\nad in seconds, or a callback: --do pause@1.5 --do resume@adPaused. They run in "
    "order.\n\n"
    "Keys: space pauses and resumes, s skips, c or Escape closes, + and - resize.\n\n"
    "Exit status: 0 when the ad group has completed, 1 otherwise, 2 for arguments or files that cannot be "
    "used.\n";

using Kind = Option::Kind;
constexpr Option kOptions[] = {
    {"placement", Kind::Text, "inline (default), resizable or interstitial", "KIND", 'p'},
    {"size", Kind::Text, "Fraction of its place that a resizable ad takes, up to 1", "F"},
    {"ads", Kind::File, "Ad list of the demo's server (default: three short ads)", "FILE"},
    {"vast", Kind::Text, "VAST document, or the address of an ad tag", "FILE|URL"},
    {"media", Kind::File, "Folder that the demo's server has at /media", "DIR"},
    {"config", Kind::File, "Configuration of the page of the demo's server", "FILE"},
    {"controller-host", Kind::Text, "Take the page from this host", "HOST[:PORT]"},
    {"ca", Kind::File, "Trust this certificate for that host", "FILE"},
    {"api-key", Kind::Text, "Publisher's key", "KEY"},
    {"channel", Kind::Text, "Channel number (default: 1)", "N"},
    {"param", Kind::Text, "Request parameter (repeatable)", "KEY=VALUE"},
    {"gdpr", Kind::Text, "Whether the GDPR applies: yes or no", "yes|no"},
    {"consent", Kind::Text, "The viewer's IAB consent string", "STRING"},
    {"do", Kind::Text, "Give the player a command (repeatable)", "COMMAND@WHEN"},
    {"events", Kind::File, "Write each callback as a line of JSON", "FILE|-"},
    {"beacons", Kind::File, "At the end, write the server's beacons as JSON", "FILE"},
    {"screenshot", Kind::File, "Take a picture while an ad plays", "FILE.png"},
    {"inspect", Kind::File, "Record the session, for vemora-inspect", "FILE"},
    {"timeout", Kind::Text, "End the session after this many seconds", "S"},
    {"debug", Kind::Flag, "Let the SDK log what it does", nullptr},
};

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

bool isWebAddress(const std::string& text) {
  const GStringPtr scheme(g_uri_parse_scheme(text.c_str()));
  return scheme && (g_str_equal(scheme.get(), "https") || g_str_equal(scheme.get(), "http"));
}

/// Connects without asking for anything: a request to an ad tag would count.
void checkReachable(const std::string& option, const std::string& address) {
  constexpr unsigned kSeconds = 5;
  const GUriPtr uri(g_uri_parse(address.c_str(), G_URI_FLAGS_ENCODED, nullptr));
  if (!uri || !*g_uri_get_host(uri.get()))
    throw BadArguments("--" + option + ": '" + address + "' is not a web address");
  const int port = g_str_equal(g_uri_get_scheme(uri.get()), "https") ? 443 : 80;
  const auto client = GObjectPtr<GSocketClient>::adopt(g_socket_client_new());
  g_socket_client_set_timeout(client.get(), kSeconds);
  GErrorHolder error;
  const auto connection = GObjectPtr<GSocketConnection>::adopt(g_socket_client_connect_to_uri(
      client.get(), address.c_str(), static_cast<guint16>(port), nullptr, error.out()));
  if (!connection) throw BadArguments("--" + option + ": cannot reach '" + address + "': " + error.message());
}

void readPlacementOptions(const Options& options, CommandLine& into) {
  if (const auto placement = options.value("placement")) into.placement = readPlacement(*placement);
  const auto text = options.value("size");
  if (!text) return;
  if (into.placement != Placement::Resizable) throw BadArguments("--size: only for --placement resizable");
  const std::optional<double> size = readNumber(*text);
  if (!size || *size <= 0 || *size > 1) {
    throw BadArguments("--size: '" + *text + "' is not a number above 0 and up to 1");
  }
  into.size = static_cast<float>(*size);
}

void readServerOptions(const Options& options, CommandLine& into) {
  if (const auto host = options.value("controller-host")) {
    into.controllerHost = readControllerHost(*host);
    for (const char* const option : {"ads", "config", "media"}) {
      if (options.has(option))
        throw BadArguments(std::string("--") + option + ": not together with --controller-host");
    }
    if (const auto file = options.file("ca")) {
      into.certificate = readableFile("ca", *file);
      checkCertificates("ca", *file);
    }
    return;
  }
  if (options.has("ca")) throw BadArguments("--ca: only together with --controller-host");
  const fs::path own = dataFile("demo", VEMORA_DEMO_FOLDER);
  into.ads = readableFile("ads", options.file("ads").value_or(own / "ads.json"));
  checkAdList("ads", into.ads);
  into.media = readableFolder("media", options.file("media").value_or(own / "media"));
  if (const auto file = options.file("config")) {
    into.config = readableFile("config", *file);
    checkConfiguration("config", *file);
  }
}

void readVast(const std::string& text, CommandLine& into) {
  if (isWebAddress(text)) {
    checkReachable("vast", text);
    into.vastUrl = text;
  } else {
    into.vastFile = readableFile("vast", text);
    checkAdDocument("vast", text);
  }
}

void readConsentOptions(const Options& options, CommandLine& into) {
  into.consent = options.value("consent");
  const auto gdpr = options.value("gdpr");
  if (gdpr && *gdpr != "yes" && *gdpr != "no")
    throw BadArguments("--gdpr: '" + *gdpr + "' is neither yes nor no");
  if (gdpr) into.subjectToGDPR = *gdpr == "yes";
}

void readRequestOptions(const Options& options, CommandLine& into) {
  if (const auto vast = options.value("vast")) readVast(*vast, into);
  into.apiKey = options.value("api-key");
  if (const auto channel = options.value("channel")) {
    if (!readWholeNumber(*channel, INT32_MAX))
      throw BadArguments("--channel: '" + *channel + "' is not a whole number");
    into.channel = *channel;
  }
  for (const std::string& param : options.values("param")) into.params.push_back(readParam(param));
  for (const std::string& step : options.values("do")) {
    const std::optional<RehearsedStep> read = readRehearsedStep(step);
    if (!read) throw BadArguments("--do: '" + step + "' is not of the form COMMAND@WHEN");
    into.rehearsal.push_back(*read);
  }
}

void readOutputOptions(const Options& options, CommandLine& into) {
  if (const auto events = options.value("events")) {
    into.events = *events == "-" ? *events : writableFile("events", *events).string();
  }
  if (const auto file = options.file("beacons")) into.beacons = writableFile("beacons", *file);
  if (const auto file = options.file("screenshot")) {
    if (file->extension() != ".png") {
      throw BadArguments("--screenshot: '" + file->string() + "' does not end in .png, the only format");
    }
    into.screenshot = writableFile("screenshot", *file);
  }
  if (const auto file = options.file("inspect")) into.inspect = writableFile("inspect", *file);
  into.debug = options.has("debug");
  const auto timeout = options.value("timeout");
  if (!timeout) return;
  into.timeout = readNumber(*timeout);
  if (!into.timeout || *into.timeout <= 0) {
    throw BadArguments("--timeout: '" + *timeout + "' is not a number of seconds");
  }
}

}  // namespace

CommandLine readCommandLine(int argc, char** argv) {
  const std::string version = Vemora::version();
  const ProgramDescription program{"vemora-demo", version.c_str(), nullptr, kSummary, kDescription};
  const Options options = Options::read(program, kOptions, argc, argv);
  CommandLine result;
  readPlacementOptions(options, result);
  readServerOptions(options, result);
  readConsentOptions(options, result);
  readRequestOptions(options, result);
  readOutputOptions(options, result);
  return result;
}

}  // namespace vemora
