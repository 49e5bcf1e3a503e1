#pragma once

#include "ports/URLSession.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace vemora::gtk {

/// The limits of one download. An answer that has begun counts as received; what it sends beyond a limit is
/// not read.
struct URLSessionLimits {
  std::chrono::milliseconds total = std::chrono::minutes(2);  ///< From the call, waiting for a turn included.
  std::size_t bodyBytes = std::size_t{1} << 20;
};

/// How long a server may send nothing, while connecting and afterwards.
inline constexpr unsigned int kServerSilenceSeconds = 15;
/// How many downloads run at the same time, for each host and in all. Others wait for their turn, so that a
/// page cannot use up the descriptors of the process, and a silent server does not hold up other hosts.
inline constexpr unsigned int kDownloadsPerHost = 6;
inline constexpr unsigned int kConcurrentDownloads = 64;

/// A session on libsoup without cookies, cache or credentials. Follows redirects, takes http and https, and
/// trusts the machine's authorities and the certificates of `isTrustedCertificate`.
///
/// All sessions share one pool of connections, since nothing but bytes of requests and answers passes over a
/// connection: without cookies, cache and credentials one session cannot see another's. A connection is kept
/// for a few seconds.
std::unique_ptr<URLSession> makeSoupURLSession(const URLSessionLimits& limits = {});

}  // namespace vemora::gtk
