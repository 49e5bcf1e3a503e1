#include "web/PageServer.h"

#include <LocalServer.h>
#include <glib.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace vemora::bench {

namespace {

[[noreturn]] void serve(const LocalServerOptions& options, int report) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  LocalServer server(options);
  std::string problem;
  if (!server.start(problem)) {
    std::fprintf(stderr, "no server: %s\n", problem.c_str());
    _exit(1);
  }
  const std::string greeting = server.origin() + "\n" + server.certificatePem();
  if (write(report, greeting.data(), greeting.size()) != static_cast<ssize_t>(greeting.size())) _exit(1);
  close(report);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
  _exit(0);
}

std::string readAll(int from) {
  std::string text;
  char bytes[1024];
  for (ssize_t count = 0; (count = read(from, bytes, sizeof bytes)) > 0;) {
    text.append(bytes, static_cast<std::size_t>(count));
  }
  return text;
}

}  // namespace

PageServer::PageServer(const std::filesystem::path& page, const std::optional<std::filesystem::path>& ads,
                       const std::optional<std::filesystem::path>& pages,
                       const std::optional<std::filesystem::path>& media) {
  int ends[2];
  if (pipe(ends) != 0) std::abort();
  process_ = fork();
  if (process_ == 0) {
    close(ends[0]);
    LocalServerOptions options;
    options.page = page;
    options.ads = ads;
    options.rootFolder = pages;
    options.mediaFolder = media;
    serve(options, ends[1]);
  }
  close(ends[1]);
  const std::string greeting = readAll(ends[0]);
  close(ends[0]);
  const std::string scheme = "https://";
  if (!greeting.starts_with(scheme)) std::exit(1);
  const std::size_t line = greeting.find('\n');
  host_ = greeting.substr(scheme.size(), line - scheme.size());
  certificatePem_ = greeting.substr(line + 1);
}

PageServer::PageServer(int process, std::string host, std::string certificatePem)
    : process_(process), host_(std::move(host)), certificatePem_(std::move(certificatePem)) {}

PageServer PageServer::runningAt(std::string host, std::string certificatePem) {
  return PageServer(-1, std::move(host), std::move(certificatePem));
}

PageServer::~PageServer() {
  if (process_ < 0) return;
  kill(process_, SIGTERM);
  waitpid(process_, nullptr, 0);
}

std::string PageServer::pageAddress() const {
  return "https://" + host_ + std::string(kControllerPagePath);
}

}  // namespace vemora::bench
