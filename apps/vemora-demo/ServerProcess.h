#pragma once

#include "../common/GObjectPtr.h"

#include <gio/gio.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

/// The demo's own vemora-serve, which never outlives the demo: the server ends when its standard input
/// closes, which the system does when this process ends for any reason.
///
/// Threads: the main one. Lifetime: keeps itself alive until the server has ended; releasing the last handle
/// before `stop` closes the server's input as well.
class ServerProcess : public std::enable_shared_from_this<ServerProcess> {
 public:
  struct Options {
    std::filesystem::path ads;
    std::filesystem::path media;
    std::optional<std::filesystem::path> config;
    std::optional<std::filesystem::path> document;
  };
  /// What the server reports when it is ready.
  struct Ready {
    std::string origin;
    std::filesystem::path certificateFile;  ///< The certificate to trust there.
    std::string documentAddress;            ///< Empty without a document.
  };
  struct Handlers {
    std::function<void(const Ready& ready)> ready;
    /// It ended although it was not stopped, or it could not be started.
    std::function<void(const std::string& why)> failed;
  };

  /// vemora-serve next to this program, or next to its folder in the build tree; absent when it is in
  /// neither.
  static std::optional<std::filesystem::path> findProgram();

  static std::shared_ptr<ServerProcess> start(const std::filesystem::path& program, const Options& options,
                                              Handlers handlers);
  ~ServerProcess();

  /// Ends the server and calls `stopped` once it has exited. No handler is called any more.
  void stop(std::function<void()> stopped);

 private:
  explicit ServerProcess(Handlers handlers) : handlers_(std::move(handlers)) {}
  void launch(const std::filesystem::path& program, const Options& options);
  void readReadyLine();
  void onReadyLine(GAsyncResult* result);
  void onExit();
  void fail(const std::string& why);

  Handlers handlers_;
  std::function<void()> stopped_;
  bool exited_ = true;
  std::filesystem::path folder_;  ///< Holds the certificate; empty while there is none.
  GObjectPtr<GSubprocess> process_;
  GObjectPtr<GDataInputStream> output_;
};

}  // namespace vemora
