#pragma once

#include "backends/gtk/base/GObjectPtr.h"

#include <libsoup/soup.h>

#include <functional>
#include <map>
#include <string>

namespace vemora::test {

/// An HTTP server on 127.0.0.1, in the main loop of the test. Paths that were not given answer 404.
class LoopbackServer {
 public:
  enum class Security { Plain, SelfSigned };
  using Handler = std::function<void(SoupServerMessage*)>;

  explicit LoopbackServer(Security security = Security::Plain);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  void serve(const std::string& path, const std::string& body, const char* type = "text/html");
  void serve(const std::string& path, Handler handler);
  std::string url(const std::string& path) const;
  GTlsCertificate* certificate() const { return certificate_.get(); }
  int requests(const std::string& path) const;
  /// A header of the last request for the path; empty without.
  std::string requestHeader(const std::string& path, const std::string& name) const;

 private:
  static void answer(SoupServer* server, SoupServerMessage* message, const char* path, GHashTable* query,
                     gpointer self);

  struct Seen {
    int count = 0;
    std::map<std::string, std::string> headers;
  };
  gtk::GObjectPtr<SoupServer> server_;
  gtk::GObjectPtr<GTlsCertificate> certificate_;
  std::map<std::string, Handler> handlers_;
  std::map<std::string, Seen> seen_;
  std::string base_;
};

}  // namespace vemora::test
