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

/// A vemora-serve of the demo's own, which never outlives it: the server ends when its standard input closes,
/// and that happens with this process, however it ends.
///
/// Threads: the main one. Lifetime: keeps itself until the server has ended; destroying the last handle
/// before `stop` closes its input as well.
class ServerProcess : public std::enable_shared_from_this<ServerProcess> {
 public:
  struct Options {
    std::filesystem::path ads;
    std::filesystem::path media;
    std::optional<std::filesystem::path> config;
    std::optional<std::filesystem::path> root;
  };
  struct Handlers {
    /// It serves at `origin`, and `certificateFile` is what to trust there.
    std::function<void(const std::string& origin, const std::filesystem::path& certificateFile)> ready;
    /// It has ended without having been told to, or never began.
    std::function<void(const std::string& why)> failed;
  };

  /// The program beside this one, or beside it in the build tree; absent when there is neither.
  static std::optional<std::filesystem::path> findProgram();

  static std::shared_ptr<ServerProcess> start(const std::filesystem::path& program, const Options& options,
                                              Handlers handlers);
  ~ServerProcess();

  /// Ends the server and calls `stopped` once it has gone. No handler is called any more.
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
