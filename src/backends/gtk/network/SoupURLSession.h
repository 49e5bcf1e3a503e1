#pragma once

#include "ports/URLSession.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace vemora::gtk {

/// The limits that a download keeps to. Beyond them, an answer that has begun counts as one; its rest is not
/// read.
struct URLSessionLimits {
  unsigned int idleSeconds = 60;  ///< Without a byte from the server.
  std::chrono::milliseconds total = std::chrono::minutes(5);
  std::size_t bodyBytes = std::size_t{1} << 20;
};

/// How many downloads run at the same time, of all sessions together. Others wait their turn: a page may ask
/// for as many as it likes without using up the descriptors of the process.
inline constexpr std::size_t kConcurrentDownloads = 32;

/// A session on libsoup, which has no cookies, no cache and no stored credentials unless it is told to.
/// Follows redirects; takes http and https; trusts the machine's authorities and the certificates of
/// `isTrustedCertificate`.
std::unique_ptr<URLSession> makeSoupURLSession(const URLSessionLimits& limits = {});

}  // namespace vemora::gtk
