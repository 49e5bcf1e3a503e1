#include "backends/gtk/base/ContextThread.h"
#include "backends/gtk/base/TrustedCertificates.h"
#include "backends/gtk/network/SoupURLSession.h"
#include "support/Report.h"

#include <SelfSignedCertificate.h>
#include <fcntl.h>
#include <libsoup/soup.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <future>
#include <memory>
#include <sstream>
#include <string>

// The cost of a beacon for the host app, over http and https, compared with one libsoup session that sends
// the same requests and with the curl program. All beacons are requested at once. The server is a separate
// process.

namespace {

using namespace vemora;
using namespace vemora::bench;
using gtk::GObjectPtr;

constexpr int kBeacons = 300;

struct Server {
  std::string http;   ///< The address of the plain server.
  std::string https;  ///< The same content with TLS.
  std::string certificatePem;
  pid_t process = -1;
};

GObjectPtr<SoupServer> listenOn(GTlsCertificate* certificate) {
  auto server = GObjectPtr<SoupServer>::adopt(soup_server_new("tls-certificate", certificate, nullptr));
  soup_server_add_handler(
      server.get(), nullptr,
      [](SoupServer*, SoupServerMessage* message, const char*, GHashTable*, gpointer) {
        // With a body: libsoup's server closes the connection after an answer without one.
        soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
        soup_server_message_set_response(message, "image/gif", SOUP_MEMORY_STATIC, "GIF89a", 6);
      },
      nullptr, nullptr);
  const auto options = certificate ? SOUP_SERVER_LISTEN_HTTPS : static_cast<SoupServerListenOptions>(0);
  if (!soup_server_listen_local(server.get(), 0, options, nullptr)) std::exit(1);
  return server;
}

std::string addressOf(SoupServer* server, const char* scheme) {
  GSList* uris = soup_server_get_uris(server);
  const int port = g_uri_get_port(static_cast<GUri*>(uris->data));
  g_slist_free_full(uris, reinterpret_cast<GDestroyNotify>(g_uri_unref));
  return std::string(scheme) + "://127.0.0.1:" + std::to_string(port) + "/beacon?n=";
}

[[noreturn]] void serve(int report) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  std::string problem;
  const auto made = makeLoopbackCertificate(problem);
  if (!made) _exit(1);
  const std::string pem = made->certificatePem + made->privateKeyPem;
  const auto certificate =
      GObjectPtr<GTlsCertificate>::adopt(g_tls_certificate_new_from_pem(pem.c_str(), -1, nullptr));
  const auto plain = listenOn(nullptr);
  const auto secure = listenOn(certificate.get());
  dprintf(report, "%s\n%s\n%s", addressOf(plain.get(), "http").c_str(),
          addressOf(secure.get(), "https").c_str(), made->certificatePem.c_str());
  close(report);
  g_main_loop_run(g_main_loop_new(nullptr, FALSE));
  _exit(0);
}

/// To be called before the process has made a thread.
Server startServer() {
  int ends[2];
  if (pipe(ends) != 0) std::exit(1);
  Server server;
  server.process = fork();
  if (server.process == 0) {
    close(ends[0]);
    serve(ends[1]);
  }
  close(ends[1]);
  std::string text;
  char bytes[1024];
  for (ssize_t count = 0; (count = read(ends[0], bytes, sizeof bytes)) > 0;) {
    text.append(bytes, static_cast<std::size_t>(count));
  }
  close(ends[0]);
  std::istringstream lines(text);
  std::getline(lines, server.http);
  std::getline(lines, server.https);
  std::getline(lines, server.certificatePem, '\0');
  return server;
}

/// Waits for the last of all beacons.
class Completions {
 public:
  void count(bool failed) {
    if (failed) std::abort();
    if (++done_ == kBeacons) all_.set_value();
  }
  void wait() { all_.get_future().wait(); }

 private:
  std::atomic<int> done_{0};
  std::promise<void> all_;
};

void sendByVemora(const std::string& address) {
  Completions completions;
  for (int i = 0; i < kBeacons; ++i) {
    URLRequest request;
    request.url = address + std::to_string(i);
    gtk::makeSoupURLSession()->downloadTaskWithRequest(
        request, [&](const std::optional<VMRError>& error) { completions.count(error.has_value()); });
  }
  completions.wait();
}

gboolean acceptAnyCertificate(SoupMessage*, GTlsCertificate*, GTlsCertificateFlags, gpointer) {
  return TRUE;
}

void sendByOneSession(gtk::ContextThread& thread, const std::string& address) {
  Completions completions;
  GObjectPtr<SoupSession> session;
  thread.post([&] {
    session = GObjectPtr<SoupSession>::adopt(soup_session_new_with_options("max-conns-per-host", 6, nullptr));
    for (int i = 0; i < kBeacons; ++i) {
      const auto message =
          GObjectPtr<SoupMessage>::adopt(soup_message_new("GET", (address + std::to_string(i)).c_str()));
      g_signal_connect(message.get(), "accept-certificate", G_CALLBACK(acceptAnyCertificate), nullptr);
      soup_session_send_and_read_async(
          session.get(), message.get(), G_PRIORITY_DEFAULT, nullptr,
          [](GObject* source, GAsyncResult* result, gpointer data) {
            const gtk::GBytesPtr body(
                soup_session_send_and_read_finish(SOUP_SESSION(source), result, nullptr));
            static_cast<Completions*>(data)->count(!body);
          },
          &completions);
    }
  });
  completions.wait();
  std::promise<void> released;
  thread.post([&] {
    session.reset();
    released.set_value();
  });
  released.get_future().wait();
}

/// Seconds of CPU time of one curl program for all beacons.
double costOfCurl(const std::string& address) {
  const auto childTime = [] {
    rusage used{};
    getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) +
           static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec) * 1e-6;
  };
  const double before = childTime();
  const std::string all = address + "[1-" + std::to_string(kBeacons) + "]";
  const pid_t child = fork();
  if (child == 0) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDOUT_FILENO);
    dup2(nowhere, STDERR_FILENO);
    execlp("curl", "curl", "-s", "-k", "--parallel", "--parallel-max", "6", all.c_str(),
           static_cast<char*>(nullptr));
    _exit(127);
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status == 0 ? childTime() - before : 0;
}

double kilobytesOf(const char* field) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(field)) return std::strtod(line.c_str() + std::string(field).size(), nullptr);
  }
  return 0;
}

/// How much the resident memory rises while the work runs.
template <typename Work>
double peakMemory(Work work) {
  std::ofstream("/proc/self/clear_refs") << "5";  // Resets the high-water mark.
  const double before = kilobytesOf("VmRSS:");
  work();
  return kilobytesOf("VmHWM:") - before;
}

void compare(Report& report, const std::string& scheme, const std::string& address) {
  // First, before memory that an earlier burst has released is used again. With https it includes the TLS
  // library and the authorities of the system.
  report.value("300 beacons over " + scheme + " at once, memory of the first time", "KB",
               peakMemory([&] { sendByVemora(address); }), {});
  gtk::ContextThread thread("one-session");
  const auto perBeacon = [](double seconds) { return seconds * 1e6 / kBeacons; };
  const auto ours = [&] { return perBeacon(usageOf([&] { sendByVemora(address); }).cpu); };
  const auto session = [&] { return perBeacon(usageOf([&] { sendByOneSession(thread, address); }).cpu); };
  const auto curl = [&] { return perBeacon(costOfCurl(address)); };
  report.ratio("a beacon over " + scheme + ", CPU time", "us", "one libsoup session",
               takeTurns(report.rounds(11), session, ours), 1.3);
  report.ratio("the same", "us", "curl", takeTurns(report.rounds(11), curl, ours), {});
}

}  // namespace

int main(int argc, char** argv) {
  const Server server = startServer();
  Report report("Beacons", argc, argv);
  gtk::addTrustedCertificate(GObjectPtr<GTlsCertificate>::adopt(
                                 g_tls_certificate_new_from_pem(server.certificatePem.c_str(), -1, nullptr))
                                 .get(),
                             "127.0.0.1");
  compare(report, "http", server.http);
  compare(report, "https", server.https);
  kill(server.process, SIGTERM);
  return report.finish();
}
