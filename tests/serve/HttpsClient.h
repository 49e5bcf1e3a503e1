#pragma once

#include "../../apps/common/GObjectPtr.h"
#include "../common/TestFolder.h"

#include <gio/gio.h>
#include <libsoup/soup.h>

#include <functional>
#include <map>
#include <string>

namespace vemora::test {

/// Starts something asynchronous and runs the main context until its result is there; the context also runs a
/// server of the same process.
GObjectPtr<GAsyncResult> await(const std::function<void(GAsyncReadyCallback, gpointer)>& begin);

/// The response. Status 0: no answer, and `error` says why.
struct Reply {
  unsigned status = 0;
  std::string body;
  std::string error;
  std::map<std::string, std::string> headers;  ///< Names in lower case.

  [[nodiscard]] std::string header(const std::string& name) const {
    const auto found = headers.find(name);
    return found == headers.end() ? "" : found->second;
  }
};

struct Request {
  std::string method = "GET";
  std::map<std::string, std::string> headers{};
  std::string body{};
};

/// An HTTPS client that trusts one certificate and nothing else.
class HttpsClient {
 public:
  /// `certificatePem` empty: trusts nothing at all.
  explicit HttpsClient(const std::string& certificatePem);

  Reply send(const std::string& url, const Request& request = {});

  /// Writes bytes as they are into a new connection and returns everything received before it ends.
  std::string exchange(const std::string& origin, const std::string& bytes);

  [[nodiscard]] SoupSession* session() const { return session_.get(); }

 private:
  TestFolder folder_;
  GObjectPtr<GTlsDatabase> trusted_;
  GObjectPtr<SoupSession> session_;
};

}  // namespace vemora::test
