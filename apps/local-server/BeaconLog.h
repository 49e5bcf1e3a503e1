#pragma once

#include <string>
#include <vector>

namespace vemora {

/// One request below /beacon/, as it was sent: path and query are not decoded. All of it is UTF-8: what came
/// in as other bytes is escaped in the path and the query, and U+FFFD in the user agent.
struct Beacon {
  std::string method;
  std::string path;
  std::string query;      ///< Without the question mark; empty when there was none.
  std::string userAgent;  ///< Empty when the client named none.
};

/// The beacons as the server lists them: {"count": n, "beacons": [{"method", "path", "query", "userAgent"},
/// ...]}.
std::string beaconsAsJson(const std::vector<Beacon>& beacons);

}  // namespace vemora
