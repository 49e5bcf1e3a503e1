#include "ChildServer.h"

#include <LocalServer.h>
#include <glib.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace vemora {

namespace {

[[noreturn]] void serve(const std::filesystem::path& page, int report) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  LocalServerOptions options;
  options.page = page;
  LocalServer server(std::move(options));
  std::string problem;
  if (!server.start(problem)) {
    std::fprintf(stderr, "vemora-soak: no server: %s\n", problem.c_str());
    _exit(1);
  }
  const std::string text = server.origin() + "\n" + server.certificatePem();
  if (write(report, text.data(), text.size()) != static_cast<ssize_t>(text.size())) _exit(1);
  close(report);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
  _exit(0);
}

}  // namespace

ChildServer::ChildServer(const std::filesystem::path& page) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  process_ = fork();
  if (process_ == 0) {
    close(ends[0]);
    serve(page, ends[1]);
  }
  close(ends[1]);
  std::string text;
  char bytes[1024];
  for (ssize_t count = 0; (count = read(ends[0], bytes, sizeof bytes)) > 0;)
    text.append(bytes, static_cast<std::size_t>(count));
  close(ends[0]);
  constexpr std::string_view kScheme = "https://";
  const std::size_t line = text.find('\n');
  if (!text.starts_with(kScheme) || line == std::string::npos) std::exit(1);
  host_ = text.substr(kScheme.size(), line - kScheme.size());
  certificatePem_ = text.substr(line + 1);
}

ChildServer::~ChildServer() {
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
}

}  // namespace vemora
