#pragma once

#include "../common/GObjectPtr.h"

#include <gio/gio.h>
#include <libsoup/soup.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace vemora {

/// Fetches the list of the beacons that a server has counted, once no more come in: the last ones of a
/// session are on their way for a moment after its end.
///
/// Threads: the main one. Lifetime: keeps itself until it has called `done`, which it does exactly once.
class BeaconCollector : public std::enable_shared_from_this<BeaconCollector> {
 public:
  /// `list` is absent when the server does not give it; `problem` then says why.
  using Done = std::function<void(std::optional<std::string> list, const std::string& problem)>;

  /// `certificate` is trusted in addition to the system's; it may be null.
  static void collect(const std::string& origin, GObjectPtr<GTlsCertificate> certificate, Done done);

 private:
  BeaconCollector(const std::string& origin, GObjectPtr<GTlsCertificate> certificate, Done done);
  void fetch();
  void onFetched(GAsyncResult* result);
  void onList(const std::string& list);
  void finish(std::optional<std::string> list, const std::string& problem);

  const std::string url_;
  const GObjectPtr<GTlsCertificate> certificate_;
  const GObjectPtr<SoupSession> session_;
  const gint64 startedAt_;
  Done done_;
  GObjectPtr<SoupMessage> message_;
  std::string lastList_;
  gint64 changedAt_;
};

}  // namespace vemora
