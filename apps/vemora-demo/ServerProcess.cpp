#include "ServerProcess.h"

#include "../common/GLibHandles.h"
#include "Timeout.h"

#include <Vemora/JsonValue.h>

#include <utility>

namespace vemora {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kPatienceInMilliseconds = 3000;
constexpr const char* kProgramName = "vemora-serve";

std::vector<std::string> argumentsOf(const fs::path& program, const ServerProcess::Options& options,
                                     const fs::path& certificateFile) {
  std::vector<std::string> arguments{program, "--exit-with-parent", "--ca-out", certificateFile,
                                     "--ads", options.ads,          "--media",  options.media};
  if (options.config) arguments.insert(arguments.end(), {"--config", *options.config});
  if (options.document) arguments.insert(arguments.end(), {"--document", *options.document});
  return arguments;
}

/// Lets a C callback keep its object until it has been called.
template <typename T>
std::shared_ptr<T> takeBack(gpointer data) {
  const std::unique_ptr<std::shared_ptr<T>> holder(static_cast<std::shared_ptr<T>*>(data));
  return *holder;
}

}  // namespace

std::optional<fs::path> ServerProcess::findProgram() {
  std::error_code ignored;
  const fs::path here = fs::read_symlink("/proc/self/exe", ignored).parent_path();
  for (const fs::path& candidate : {here / kProgramName, here.parent_path() / kProgramName / kProgramName}) {
    if (g_file_test(candidate.c_str(), G_FILE_TEST_IS_EXECUTABLE) &&
        !g_file_test(candidate.c_str(), G_FILE_TEST_IS_DIR)) {
      return candidate;
    }
  }
  return std::nullopt;
}

std::shared_ptr<ServerProcess> ServerProcess::start(const fs::path& program, const Options& options,
                                                    Handlers handlers) {
  std::shared_ptr<ServerProcess> server(new ServerProcess(std::move(handlers)));
  server->launch(program, options);
  return server;
}

ServerProcess::~ServerProcess() {
  if (!folder_.empty()) {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
}

void ServerProcess::launch(const fs::path& program, const Options& options) {
  GErrorHolder error;
  const GStringPtr folder(g_dir_make_tmp("vemora-demo-XXXXXX", error.out()));
  if (!folder) return fail(error.message());
  folder_ = folder.get();

  const std::vector<std::string> arguments = argumentsOf(program, options, folder_ / "ca.pem");
  std::vector<const char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(argument.c_str());
  argv.push_back(nullptr);
  constexpr int kPipes = G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE;
  process_ = GObjectPtr<GSubprocess>::adopt(
      g_subprocess_newv(argv.data(), static_cast<GSubprocessFlags>(kPipes), error.out()));
  if (!process_) return fail(error.message());
  exited_ = false;
  output_ = GObjectPtr<GDataInputStream>::adopt(
      g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
  readReadyLine();
  g_subprocess_wait_async(
      process_.get(), nullptr,
      [](GObject*, GAsyncResult*, gpointer data) { takeBack<ServerProcess>(data)->onExit(); },
      new std::shared_ptr<ServerProcess>(shared_from_this()));
}

void ServerProcess::readReadyLine() {
  g_data_input_stream_read_line_async(
      output_.get(), G_PRIORITY_DEFAULT, nullptr,
      [](GObject*, GAsyncResult* result, gpointer data) {
        takeBack<ServerProcess>(data)->onReadyLine(result);
      },
      new std::shared_ptr<ServerProcess>(shared_from_this()));
}

void ServerProcess::onReadyLine(GAsyncResult* result) {
  const GStringPtr line(g_data_input_stream_read_line_finish(output_.get(), result, nullptr, nullptr));
  // Without a line it has ended: it wrote why to the standard error, and `onExit` follows.
  if (!line || !handlers_.ready) return;
  const JsonValue ready = JsonValue::parse(line.get()).value_or(nullptr);
  const auto origin = ready["origin"].asString();
  const auto certificate = ready["ca"].asString();
  if (!origin || !certificate) return fail("cannot read its first line");
  const auto handler = std::exchange(handlers_.ready, nullptr);
  handler({std::string(*origin), fs::path(*certificate), ready["document"].stringValue().value_or("")});
}

void ServerProcess::onExit() {
  exited_ = true;
  if (const auto stopped = std::exchange(stopped_, nullptr)) return stopped();
  fail("it ended too early");
}

void ServerProcess::fail(const std::string& why) {
  handlers_.ready = nullptr;
  if (const auto failed = std::exchange(handlers_.failed, nullptr)) failed("The server failed: " + why);
}

void ServerProcess::stop(std::function<void()> stopped) {
  handlers_ = {};
  if (exited_) return stopped();
  stopped_ = std::move(stopped);
  g_output_stream_close(g_subprocess_get_stdin_pipe(process_.get()), nullptr, nullptr);
  addTimeout(kPatienceInMilliseconds, [weak = weak_from_this()] {
    const auto server = weak.lock();
    if (server && !server->exited_) g_subprocess_force_exit(server->process_.get());
  });
}

}  // namespace vemora
