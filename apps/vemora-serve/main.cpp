#include "../common/GLibHandles.h"
#include "../common/GObjectPtr.h"
#include "CommandLine.h"
#include "LocalServer.h"
#include "check/ConformanceCheck.h"

#include <gio/gunixinputstream.h>
#include <glib-unix.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace vemora {
namespace {

constexpr int kFailure = 1;

gboolean quitOnSignal(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;
}

void readAwayAndQuitAtEnd(GInputStream* input, GMainLoop* loop);

void onInput(GObject* input, GAsyncResult* result, gpointer loop) {
  const GBytesPtr bytes(g_input_stream_read_bytes_finish(G_INPUT_STREAM(input), result, nullptr));
  if (bytes && g_bytes_get_size(bytes.get()) > 0) {
    readAwayAndQuitAtEnd(G_INPUT_STREAM(input), static_cast<GMainLoop*>(loop));
  } else {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
  }
}

/// Quits the loop when the input ends, which the end of whoever holds its other side brings about.
void readAwayAndQuitAtEnd(GInputStream* input, GMainLoop* loop) {
  constexpr gsize kEnough = 4096;
  g_input_stream_read_bytes_async(input, kEnough, G_PRIORITY_DEFAULT, nullptr, onInput, loop);
}

std::string readyLine(const LocalServer& server, const std::string& certificateFile) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  writer.Key("origin");
  writer.String(server.origin().c_str());
  writer.Key("ca");
  if (certificateFile.empty()) {
    writer.Null();
  } else {
    writer.String(certificateFile.c_str());
  }
  writer.EndObject();
  return buffer.GetString();
}

int fail(const std::string& why) {
  std::cerr << "vemora-serve: " << why << "\n";
  return kFailure;
}

/// Adds the certificates of a file to those to trust. Absent when it could; otherwise why not.
std::optional<std::string> trustFile(const std::filesystem::path& file,
                                     check::PageView::Certificates& trusted) {
  GErrorHolder error;
  GList* const list = g_tls_certificate_list_new_from_file(file.c_str(), error.out());
  for (const GList* item = list; item; item = item->next) {
    trusted.push_back(GObjectPtr<GTlsCertificate>::adopt(G_TLS_CERTIFICATE(item->data)));
  }
  g_list_free(list);
  if (error) return "cannot use the certificates of '" + file.string() + "': " + error.message();
  if (trusted.empty()) return "there are no certificates in '" + file.string() + "'";
  return std::nullopt;
}

int check(CommandLine commandLine) {
  const CheckRequest& request = *commandLine.check;
  check::CheckOptions options{.address = request.address.value_or(""),
                              .sessions = request.sessions,
                              .adRequest = request.adRequest,
                              .trusted = {},
                              .timeout = request.timeout,
                              .asJson = request.asJson,
                              .tell = {}};
  if (commandLine.verbose) options.tell = [](const std::string& line) { std::cerr << line << "\n"; };
  if (request.authority) {
    if (const auto problem = trustFile(*request.authority, options.trusted)) return fail(*problem);
  }
  LocalServer server(std::move(commandLine.server));
  if (!request.address) {
    std::string problem;
    if (!server.start(problem)) return fail(problem);
    const std::string& pem = server.certificatePem();
    options.trusted.push_back(GObjectPtr<GTlsCertificate>::adopt(
        g_tls_certificate_new_from_pem(pem.data(), static_cast<gssize>(pem.size()), nullptr)));
    options.address = server.origin() + std::string(kControllerPagePath);
  }
  return check::runCheck(options);
}

int serve(CommandLine commandLine) {
  const GMainLoopPtr loop(g_main_loop_new(nullptr, FALSE));
  g_unix_signal_add(SIGINT, quitOnSignal, loop.get());
  g_unix_signal_add(SIGTERM, quitOnSignal, loop.get());

  LocalServer server(std::move(commandLine.server));
  std::string problem;
  if (!server.start(problem)) return fail(problem);

  std::string certificateFile;
  if (commandLine.certificateFile) {
    certificateFile = std::filesystem::absolute(*commandLine.certificateFile).string();
    GErrorHolder error;
    const std::string& pem = server.certificatePem();
    if (!g_file_set_contents(certificateFile.c_str(), pem.data(), static_cast<gssize>(pem.size()),
                             error.out())) {
      return fail("cannot write the certificate: " + error.message());
    }
  }
  std::cout << readyLine(server, certificateFile) << std::endl;

  const auto input = GObjectPtr<GInputStream>::adopt(g_unix_input_stream_new(STDIN_FILENO, FALSE));
  if (commandLine.exitWithParent) readAwayAndQuitAtEnd(input.get(), loop.get());
  g_main_loop_run(loop.get());

  server.stop();
  if (commandLine.listBeacons) std::cout << beaconsAsJson(server.beacons()) << std::endl;
  return 0;
}

int run(CommandLine commandLine) {
  if (const auto problem = unusableInput(commandLine)) return fail(*problem);
  if (commandLine.verbose) {
    commandLine.server.onRequest = [](const std::string& method, const std::string& target, unsigned status) {
      std::cerr << method << " " << target << " " << status << "\n";
    };
  }
  return commandLine.check ? check(std::move(commandLine)) : serve(std::move(commandLine));
}

}  // namespace
}  // namespace vemora

int main(int argc, char** argv) {
  // Whoever read our output may be gone: that ends a write, not the program.
  std::signal(SIGPIPE, SIG_IGN);
  const auto commandLine = vemora::readCommandLine(argc, argv);
  if (const auto* exit = std::get_if<vemora::ExitNow>(&commandLine)) return exit->status;
  return vemora::run(std::get<vemora::CommandLine>(commandLine));
}
