#pragma once

#include "Platform/Gtk/GObjectPtr.h"

#include <gio/gio.h>
#include <signal.h>
#include <sys/prctl.h>

#include <map>
#include <string>
#include <vector>

namespace vemora::gtk::test {

/// A helper program that ends, at the latest, with this object or with the thread that made it, however that
/// dies.
class ChildProcess {
 public:
  using Environment = std::map<std::string, std::string>;

  ChildProcess(const std::vector<std::string>& command, const Environment& environment = {}) {
    std::vector<const char*> arguments;
    for (const std::string& word : command) arguments.push_back(word.c_str());
    arguments.push_back(nullptr);
    const auto flags =
        static_cast<GSubprocessFlags>(G_SUBPROCESS_FLAGS_STDOUT_PIPE | G_SUBPROCESS_FLAGS_STDERR_SILENCE);
    const auto launcher = GObjectPtr<GSubprocessLauncher>::adopt(g_subprocess_launcher_new(flags));
    for (const auto& [name, value] : environment) {
      g_subprocess_launcher_setenv(launcher.get(), name.c_str(), value.c_str(), TRUE);
    }
    g_subprocess_launcher_set_child_setup(
        launcher.get(), [](gpointer) { prctl(PR_SET_PDEATHSIG, SIGKILL); }, nullptr, nullptr);
    process_ = GObjectPtr<GSubprocess>::adopt(
        g_subprocess_launcher_spawnv(launcher.get(), arguments.data(), nullptr));
  }
  ~ChildProcess() { stop(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  explicit operator bool() const { return static_cast<bool>(process_); }

  /// Blocks until the program has written a line.
  std::string firstLine() {
    const auto stream = GObjectPtr<GDataInputStream>::adopt(
        g_data_input_stream_new(g_subprocess_get_stdout_pipe(process_.get())));
    char* line = g_data_input_stream_read_line(stream.get(), nullptr, nullptr, nullptr);
    const std::string text = line ? line : "";
    g_free(line);
    return text;
  }
  /// Blocks until the program has ended.
  bool succeeds() { return process_ && g_subprocess_wait_check(process_.get(), nullptr, nullptr); }
  void stop() {
    if (!process_) return;
    g_subprocess_force_exit(process_.get());
    g_subprocess_wait(process_.get(), nullptr, nullptr);
    process_.reset();
  }

 private:
  GObjectPtr<GSubprocess> process_;
};

}  // namespace vemora::gtk::test
