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

  /// Adds a value to the field and keeps those that it has.
  void addValue(std::string_view value, std::string_view field) { headers.emplace_back(field, value); }
};

/// A session without cookies, cache and stored credentials, for one or more downloads.
///
/// Lifetime: A started download keeps alive what it needs until it completes. The session object may be
/// destroyed before.
///
/// Threads: Thread-safe. The completion runs on a background thread, never inside the call.
///
/// Completion: Runs exactly once for each download, with an error when there was no answer. An HTTP error
/// status is an answer.
///
/// Errors: Domain and code are those of the platform.
class URLSession {
 public:
  using Completion = std::function<void(const std::optional<VMRError>&)>;

  virtual ~URLSession() = default;
  virtual void downloadTaskWithRequest(const URLRequest& request, Completion completion) = 0;
};

}  // namespace vemora
