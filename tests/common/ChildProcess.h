#pragma once

#include "../../apps/common/GLibHandles.h"
#include "../../apps/common/GObjectPtr.h"

#include <gio/gio.h>
#include <sys/prctl.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vemora::test {

/// A running program, which ends with this object at the latest. Nothing reads its outputs until the test
/// does: for programs whose output fits into a pipe.
class ChildProcess {
 public:
  using Environment = std::map<std::string, std::string>;
  enum class Errors { Kept, Dropped };

  /// `environment` is added to this process's own. Drop the errors of programs that
  /// run long and may print many.
  explicit ChildProcess(const std::vector<std::string>& commandLine, const Environment& environment = {},
                        Errors errors = Errors::Kept) {
    std::vector<const char*> argv;
    for (const std::string& argument : commandLine) argv.push_back(argument.c_str());
    argv.push_back(nullptr);
    const int pipes =
        G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE |
        (errors == Errors::Kept ? G_SUBPROCESS_FLAGS_STDERR_PIPE : G_SUBPROCESS_FLAGS_STDERR_SILENCE);
    const auto launcher = GObjectPtr<GSubprocessLauncher>::adopt(
        g_subprocess_launcher_new(static_cast<GSubprocessFlags>(pipes)));
    for (const auto& [name, value] : environment) {
      g_subprocess_launcher_setenv(launcher.get(), name.c_str(), value.c_str(), TRUE);
    }
    // A test that is killed leaves nothing behind.
    g_subprocess_launcher_set_child_setup(
        launcher.get(), [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGKILL); }, nullptr, nullptr);
    GErrorHolder error;
    process_ = GObjectPtr<GSubprocess>::adopt(
        g_subprocess_launcher_spawnv(launcher.get(), argv.data(), error.out()));
    if (!process_) g_error("%s", error.message().c_str());
    output_ = GObjectPtr<GDataInputStream>::adopt(
        g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
    if (errors == Errors::Dropped) return;
    errors_ = GObjectPtr<GDataInputStream>::adopt(
        g_data_input_stream_new(g_subprocess_get_stderr_pipe(process_.get())));
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() {
    g_subprocess_force_exit(process_.get());
    g_subprocess_wait(process_.get(), nullptr, nullptr);
  }

  /// The next line on the standard output; absent at its end.
  std::optional<std::string> line() { return lineOf(output_.get()); }
  /// All that is left on the standard output and on the standard error.
  std::string output() { return restOf(output_.get()); }
  std::string errors() { return restOf(errors_.get()); }

  /// Reads both outputs to their end, of any size: for programs that got no input before.
  struct Outputs {
    std::string output;
    std::string errors;
  };
  Outputs outputs() {
    char* output = nullptr;
    char* errors = nullptr;
    g_subprocess_communicate_utf8(process_.get(), nullptr, nullptr, &output, &errors, nullptr);
    const GStringPtr ownedOutput(output);
    const GStringPtr ownedErrors(errors);
    return {output ? output : "", errors ? errors : ""};
  }

  void closeInput() { g_output_stream_close(g_subprocess_get_stdin_pipe(process_.get()), nullptr, nullptr); }
  void signal(int number) { g_subprocess_send_signal(process_.get(), number); }
  [[nodiscard]] std::string id() const { return g_subprocess_get_identifier(process_.get()); }

  /// The exit status; -1 when a signal ended it.
  int wait() {
    g_subprocess_wait(process_.get(), nullptr, nullptr);
    return g_subprocess_get_if_exited(process_.get()) ? g_subprocess_get_exit_status(process_.get()) : -1;
  }

 private:
  static std::optional<std::string> lineOf(GDataInputStream* stream) {
    const GStringPtr line(g_data_input_stream_read_line(stream, nullptr, nullptr, nullptr));
    return line ? std::optional<std::string>(line.get()) : std::nullopt;
  }
  static std::string restOf(GDataInputStream* stream) {
    std::string all;
    while (const auto line = lineOf(stream)) all += *line + "\n";
    return all;
  }

  GObjectPtr<GSubprocess> process_;
  GObjectPtr<GDataInputStream> output_;
  GObjectPtr<GDataInputStream> errors_;
};

}  // namespace vemora::test
