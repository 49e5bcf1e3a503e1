#pragma once

#include "../common/GObjectPtr.h"
#include "BeaconLog.h"
#include "SharedDocument.h"

#include <gio/gio.h>
#include <libsoup/soup.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemora {

/// Where the controller page lives on every origin that serves one.
inline constexpr std::string_view kControllerPagePath = "/mobile/sdk/v4/native/VMRWebViewRuntime.html";

/// What a LocalServer serves. Files are read again for every request, so that an edit shows on the next load.
struct LocalServerOptions {
  std::uint16_t port = 0;                            ///< 0: any free one.
  std::filesystem::path page;                        ///< The controller page.
  std::optional<std::filesystem::path> ads;          ///< GET /ads.json; absent: 404.
  std::optional<std::filesystem::path> config;       ///< GET /config.json; absent: 404.
  std::optional<std::filesystem::path> mediaFolder;  ///< GET /media/...; absent: 404.
  std::optional<std::filesystem::path> rootFolder;   ///< Every other path; absent: 404.
  std::optional<std::filesystem::path> document;     ///< See SharedDocument.
  /// Called for each answered request with its method, its path with the query, and the status.
  std::function<void(const std::string& method, const std::string& target, unsigned status)> onRequest;
};

/// An HTTPS server for loopback clients: it serves a controller page with all that the page fetches, and
/// counts the beacons that come back.
///
///   LocalServer server({.page = "page.html", .ads = "ads.json"});
///   std::string problem;
///   if (!server.start(problem)) fail(problem);
///   trust(server.certificatePem());
///   load(server.origin() + std::string(kControllerPagePath));
///
/// It listens on 127.0.0.1 and, where the machine has it, on ::1. In the ad list, the configuration and every
/// .json and .xml file below the folders, "{{origin}}" is replaced with the server's origin.
///
/// Threads: everything happens on the thread that called `start`, inside the main context that was that
/// thread's default then; nothing is served unless that context runs. Lifetime: the destructor stops; a
/// client in the middle of a response is disconnected.
class LocalServer {
 public:
  explicit LocalServer(LocalServerOptions options);
  LocalServer(const LocalServer&) = delete;
  LocalServer& operator=(const LocalServer&) = delete;
  ~LocalServer();

  /// Makes the certificate and listens. False when it cannot; `problem` then says why. To be called once.
  [[nodiscard]] bool start(std::string& problem);
  /// Closes every connection and the port. What was counted stays. May be called at any time.
  void stop();

  /// "https://127.0.0.1:PORT"; empty before `start`.
  [[nodiscard]] const std::string& origin() const { return origin_; }
  /// The address of the shared document; absent without one, or before `start`.
  [[nodiscard]] std::optional<std::string> documentAddress() const;
  /// The certificate to trust, as PEM; empty before `start`. The key stays in the process.
  [[nodiscard]] const std::string& certificatePem() const { return certificatePem_; }
  /// The beacons so far, in order of arrival.
  [[nodiscard]] const std::vector<Beacon>& beacons() const { return beacons_; }

 private:
  void answerFile(SoupServerMessage* message, const std::optional<std::filesystem::path>& file,
                  const Replacements& replacements);
  [[nodiscard]] bool listen(GTlsCertificate* certificate, std::string& problem);
  void answer(SoupServerMessage* message);
  void answerBeacon(SoupServerMessage* message);
  void answerPath(SoupServerMessage* message, const std::string& path);
  void answerBelow(SoupServerMessage* message, const std::optional<std::filesystem::path>& folder,
                   std::string_view relative);
  void answerJsonFile(SoupServerMessage* message, const std::optional<std::filesystem::path>& file);

  LocalServerOptions options_;
  std::optional<SharedDocument> document_;
  GObjectPtr<SoupServer> server_;
  std::string origin_;
  std::string certificatePem_;
  std::vector<Beacon> beacons_;
};

}  // namespace vemora
