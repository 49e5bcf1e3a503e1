#include "BeaconCollector.h"

#include "../common/GLibHandles.h"
#include "Timeout.h"

#include <utility>

namespace vemora {
namespace {

constexpr unsigned kPauseInMilliseconds = 100;
constexpr gint64 kQuietInMicroseconds = 800'000;
constexpr gint64 kPatienceInMicroseconds = 10'000'000;

gboolean isTrustedCertificate(SoupMessage*, GTlsCertificate* shown, GTlsCertificateFlags, gpointer trusted) {
  return trusted && g_tls_certificate_is_same(shown, static_cast<GTlsCertificate*>(trusted));
}

}  // namespace

void BeaconCollector::collect(const std::string& origin, GObjectPtr<GTlsCertificate> certificate, Done done) {
  std::shared_ptr<BeaconCollector>(new BeaconCollector(origin, std::move(certificate), std::move(done)))
      ->fetch();
}

BeaconCollector::BeaconCollector(const std::string& origin, GObjectPtr<GTlsCertificate> certificate,
                                 Done done)
    : url_(origin + "/beacons"),
      certificate_(std::move(certificate)),
      session_(GObjectPtr<SoupSession>::adopt(soup_session_new_with_options("timeout", 5, nullptr))),
      startedAt_(g_get_monotonic_time()),
      done_(std::move(done)),
      changedAt_(startedAt_) {}

void BeaconCollector::fetch() {
  message_ = GObjectPtr<SoupMessage>::adopt(soup_message_new("GET", url_.c_str()));
  if (!message_) return finish(std::nullopt, "'" + url_ + "' is not an address");
  g_signal_connect(message_.get(), "accept-certificate", G_CALLBACK(isTrustedCertificate),
                   certificate_.get());
  soup_session_send_and_read_async(
      session_.get(), message_.get(), G_PRIORITY_DEFAULT, nullptr,
      [](GObject*, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<std::shared_ptr<BeaconCollector>> self(
            static_cast<std::shared_ptr<BeaconCollector>*>(data));
        (*self)->onFetched(result);
      },
      new std::shared_ptr<BeaconCollector>(shared_from_this()));
}

void BeaconCollector::onFetched(GAsyncResult* result) {
  GErrorHolder error;
  const GBytesPtr body(soup_session_send_and_read_finish(session_.get(), result, error.out()));
  if (!body) return finish(std::nullopt, error.message());
  if (soup_message_get_status(message_.get()) != SOUP_STATUS_OK) {
    return finish(std::nullopt,
                  "'" + url_ + "' answers " + std::to_string(soup_message_get_status(message_.get())));
  }
  gsize size = 0;
  const auto* const data = static_cast<const char*>(g_bytes_get_data(body.get(), &size));
  onList(data ? std::string(data, size) : std::string());
}

void BeaconCollector::onList(const std::string& list) {
  const gint64 now = g_get_monotonic_time();
  if (list != lastList_) changedAt_ = now;
  lastList_ = list;
  if (now - changedAt_ >= kQuietInMicroseconds || now - startedAt_ >= kPatienceInMicroseconds) {
    return finish(lastList_, "");
  }
  addTimeout(kPauseInMilliseconds, [self = shared_from_this()] { self->fetch(); });
}

void BeaconCollector::finish(std::optional<std::string> list, const std::string& problem) {
  const Done done = std::exchange(done_, nullptr);
  done(std::move(list), problem);
}

}  // namespace vemora
