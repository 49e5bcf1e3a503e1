#pragma once

#include "../common/GObjectPtr.h"
#include "CallbackLog.h"
#include "CommandLine.h"
#include "DemoWindow.h"
#include "RecordingDelegate.h"
#include "Rehearsal.h"
#include "ServerProcess.h"

#include <Vemora/VemoraAdPlayerBase.h>

#include <gtk/gtk.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vemora {

/// One session of a host app: a window, an ad group in it, and an end.
///
///   server ready -> load -> vemoraDidLoadAds -> start -> ... -> vemoraAdGroupComplete or an error
///     -> the last beacons have left -> everything is released -> the main loop ends
///
/// Threads: the main one.
class DemoApplication {
 public:
  DemoApplication(CommandLine commandLine, std::shared_ptr<CallbackLog> log);
  DemoApplication(const DemoApplication&) = delete;
  DemoApplication& operator=(const DemoApplication&) = delete;

  /// Runs to the end and returns the exit status. To be called once.
  int run();

 private:
  void activate();
  void watchForEarlyEnd();
  void startServer();
  void useServer(const ServerProcess::Ready& ready);
  void usePage(const std::string& hostAndPort, const std::string& host,
               const std::optional<std::filesystem::path>& certificateFile);
  void load();
  std::shared_ptr<VemoraAdRequest> makeRequest() const;
  void addVast(VemoraAdRequest& request) const;
  std::shared_ptr<VemoraAdPlayerBase> makePlayer() const;

  void onCallback(const PlayerCallback& callback);
  void onLoaded(const PlayerCallback& callback);
  void onTime(const PlayerCallback& callback);
  void takeScreenshot();
  void perform(Command command);
  void resize(float factor);

  /// Ends a session before its natural end.
  void endEarly(const std::string& why);
  /// The session is over, with `failure` when it failed. Only the first call counts.
  void finish(std::optional<std::string> failure);
  void awaitLastBeacons();
  void writeBeacons(const std::optional<std::string>& list, const std::string& problem);
  void complain(const std::string& failure);
  void release();
  void quit();

  const CommandLine commandLine_;
  const std::shared_ptr<CallbackLog> log_;
  Rehearsal rehearsal_;
  GObjectPtr<GtkApplication> application_;
  std::vector<guint> signalSources_;
  guint timeoutSource_ = 0;
  std::shared_ptr<ServerProcess> server_;
  GObjectPtr<GTlsCertificate> certificate_;
  std::string origin_;
  std::string documentAddress_;  ///< Where the server has the document of --vast; empty without one.
  std::unique_ptr<DemoWindow> window_;
  std::shared_ptr<RecordingDelegate> delegate_;
  std::shared_ptr<VemoraAdPlayerBase> player_;

  float size_ = 1;
  enum class Picture { Wanted, Asked, Poor, Taken } picture_ = Picture::Wanted;
  bool finished_ = false;
  std::vector<std::string> failures_;
};

}  // namespace vemora
