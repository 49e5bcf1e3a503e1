#pragma once

#include "backends/gtk/base/GObjectPtr.h"
#include "base/Mutex.h"

#include <libsoup/soup.h>

#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace vemora::test {

/// A web server on a loopback port and a separate thread, for tests that block their main thread.
class BackgroundServer {
 public:
  struct Request {
    std::string path;
    std::multimap<std::string, std::string> headers;
  };
  /// Called on the server's thread.
  using Handler = std::function<void(SoupServerMessage*)>;

  explicit BackgroundServer(GTlsCertificate* certificate = nullptr);
  ~BackgroundServer();

  /// Set before the first request.
  void on(const std::string& path, Handler handler) { handlers_[path] = std::move(handler); }
  std::string url(const std::string& path) const { return origin_ + path; }
  /// The requests so far.
  std::vector<Request> requests() const;
  /// Requests that were paused by their handler, now answered.
  void answerPaused();
  std::size_t pausedCount() const;
  void pause(SoupServerMessage* message);

 private:
  void run(GTlsCertificate* certificate);
  void handle(SoupServerMessage* message, const char* path);

  GMainContext* const context_ = g_main_context_new();
  GMainLoop* const loop_ = g_main_loop_new(context_, FALSE);
  SoupServer* server_ = nullptr;
  std::string origin_;
  std::map<std::string, Handler> handlers_;
  std::thread thread_;

  /// Guards everything below.
  mutable Mutex mutex_;
  std::vector<Request> requests_ VMR_GUARDED_BY(mutex_);
  std::vector<gtk::GObjectPtr<SoupServerMessage>> paused_ VMR_GUARDED_BY(mutex_);
};

}  // namespace vemora::test
