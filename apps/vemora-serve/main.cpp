#include "../common/GLibHandles.h"
#include "../common/GObjectPtr.h"
#include "CommandLine.h"
#include "LocalServer.h"

#include <gio/gunixinputstream.h>
#include <glib-unix.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <unistd.h>

#include <csignal>
#include <iostream>
#include <string>
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

int serve(CommandLine commandLine) {
  if (const auto problem = unusableInput(commandLine)) return fail(*problem);
  if (commandLine.verbose) {
    commandLine.server.onRequest = [](const std::string& method, const std::string& target, unsigned status) {
      std::cerr << method << " " << target << " " << status << "\n";
    };
  }
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

}  // namespace
}  // namespace vemora

int main(int argc, char** argv) {
  // Whoever read our output may be gone: that ends a write, not the program.
  std::signal(SIGPIPE, SIG_IGN);
  const auto commandLine = vemora::readCommandLine(argc, argv);
  if (const auto* exit = std::get_if<vemora::ExitNow>(&commandLine)) return exit->status;
  return vemora::serve(std::get<vemora::CommandLine>(commandLine));
}
