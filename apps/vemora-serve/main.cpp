#include "../common/GLibHandles.h"
#include "../common/GObjectPtr.h"
#include "../common/Options.h"
#include "CommandLine.h"
#include "LocalServer.h"
#include "check/ConformanceCheck.h"

#include <Vemora/JsonValue.h>

#include <gio/gunixinputstream.h>
#include <glib-unix.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <utility>

namespace vemora {
namespace {

constexpr int kFailure = 1;

gboolean quitOnSignal(gpointer loop) {
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_CONTINUE;
}

void discardAndQuitAtEnd(GInputStream* input, GMainLoop* loop);

void onInput(GObject* input, GAsyncResult* result, gpointer loop) {
  const GBytesPtr bytes(g_input_stream_read_bytes_finish(G_INPUT_STREAM(input), result, nullptr));
  if (bytes && g_bytes_get_size(bytes.get()) > 0) {
    discardAndQuitAtEnd(G_INPUT_STREAM(input), static_cast<GMainLoop*>(loop));
  } else {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
  }
}

/// Quits the loop when the input ends, as it does when the process at its other end exits.
void discardAndQuitAtEnd(GInputStream* input, GMainLoop* loop) {
  constexpr gsize kChunk = 4096;
  g_input_stream_read_bytes_async(input, kChunk, G_PRIORITY_DEFAULT, nullptr, onInput, loop);
}

std::string readyLine(const LocalServer& server,
                      const std::optional<std::filesystem::path>& certificateFile) {
  const JsonValue certificate = certificateFile ? JsonValue(certificateFile->string()) : JsonValue(nullptr);
  return JsonValue::object(
             {{"origin", server.origin()}, {"ca", certificate}, {"document", server.documentAddress()}})
      .serialized()
      .value_or("null");
}

int fail(const std::string& why) {
  std::cerr << "vemora-serve: " << why << "\n";
  return kFailure;
}

check::PageView::Certificates certificatesIn(const std::filesystem::path& file) {
  check::PageView::Certificates certificates;
  GList* const list = g_tls_certificate_list_new_from_file(file.c_str(), nullptr);
  for (const GList* item = list; item; item = item->next) {
    certificates.push_back(GObjectPtr<GTlsCertificate>::adopt(G_TLS_CERTIFICATE(item->data)));
  }
  g_list_free(list);
  return certificates;
}

int check(CommandLine commandLine) {
  const CheckRequest& request = *commandLine.check;
  check::CheckOptions options{.address = request.address.value_or(""),
                              .sessions = request.sessions,
                              .adRequest = request.adRequest,
                              .trusted = {},
                              .timeout = request.timeout,
                              .asJson = request.asJson,
                              .recordings = request.recordings,
                              .trace = {}};
  if (commandLine.verbose) options.trace = [](const std::string& line) { std::cerr << line << "\n"; };
  if (request.authority) options.trusted = certificatesIn(*request.authority);
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

  if (commandLine.certificateFile) {
    GErrorHolder error;
    const std::string& pem = server.certificatePem();
    if (!g_file_set_contents(commandLine.certificateFile->c_str(), pem.data(),
                             static_cast<gssize>(pem.size()), error.out())) {
      return fail("cannot write the certificate: " + error.message());
    }
  }
  std::cout << readyLine(server, commandLine.certificateFile) << std::endl;

  const auto input = GObjectPtr<GInputStream>::adopt(g_unix_input_stream_new(STDIN_FILENO, FALSE));
  if (commandLine.exitWithParent) discardAndQuitAtEnd(input.get(), loop.get());
  g_main_loop_run(loop.get());

  server.stop();
  if (commandLine.listBeacons) std::cout << beaconsAsJson(server.beacons()) << std::endl;
  return 0;
}

int run(CommandLine commandLine) {
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
  // The reader of the output may have exited: the write then fails, and the program continues.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    return vemora::run(vemora::readCommandLine(argc, argv));
  } catch (const vemora::BadArguments& problem) {
    return vemora::reportBadArguments("vemora-serve", problem);
  }
}
