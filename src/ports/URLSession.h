#pragma once

#include <Vemora/VMRError.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vemora {

/// An absolute address that the platform's parser accepted.
struct URL {
  std::string absoluteString;
  std::string scheme;  ///< In lower case.
  std::string host;    ///< Empty when the address has none.
};

enum class URLRequestCachePolicy { UseProtocolCachePolicy, ReloadIgnoringLocalCacheData };

struct URLRequest {
  std::string url;
  std::string httpMethod = "GET";
  URLRequestCachePolicy cachePolicy = URLRequestCachePolicy::UseProtocolCachePolicy;
  std::vector<std::pair<std::string, std::string>> headers;

  /// Adds the value to whatever the field holds.
  void addValue(std::string_view value, std::string_view field) { headers.emplace_back(field, value); }
};

/// A session without cookies, cache or credentials on disk, for one or more downloads.
///
/// Lifetime: a started download keeps what it needs alive until it completes; the session object may go
/// before.
/// Threads: any. The completion runs on a thread of the session's own, never on the caller's stack.
/// Completion: exactly once for each download, with an error when no answer came; an HTTP error status is an
/// answer.
/// Errors: domain and code are the platform's own.
class URLSession {
 public:
  using Completion = std::function<void(const std::optional<VMRError>&)>;

  virtual ~URLSession() = default;
  virtual void downloadTaskWithRequest(const URLRequest& request, Completion completion) = 0;
};

}  // namespace vemora
