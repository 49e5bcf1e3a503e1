#pragma once

#include <string>
#include <vector>

namespace vemora {

/// One request below /beacon/, as it was sent: path and query are not decoded.
struct Beacon {
  std::string method;
  std::string path;
  std::string query;      ///< Without the question mark; empty when there was none.
  std::string userAgent;  ///< Empty when the client named none.
};

/// The beacons as the server lists them: {"count": n, "beacons": [{"method", "path", "query", "userAgent"},
/// ...]}.
///
/// Bytes that are no UTF-8 become U+FFFD.
std::string beaconsAsJson(const std::vector<Beacon>& beacons);

}  // namespace vemora
