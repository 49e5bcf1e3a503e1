#pragma once

#include "base/Locked.h"
#include "core/bridge/VMRRuntimeMessageHandler.h"

#include <Vemora/JsonValue.h>
#include <Vemora/NotificationCenter.h>
#include <Vemora/VMRError.h>
#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdRequest.h>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace vemora {

class VMRConfig;
class VMRContext;
class VMRRpc;
class VMRRuntime;

/// The native client of the controller page. Every command sends one request and blocks its thread until the
/// reply has come, for five seconds at the most, so no command may be called on the main thread, through
/// which replies come. Commands may overlap; `lastError` is then that of whichever ended last.
class VMRAdDumper final : public VMRRuntimeMessageHandler, public std::enable_shared_from_this<VMRAdDumper> {
 public:
  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VMRAdDumper> init();
  /// Registers with the runtime and for audio route changes.
  static std::shared_ptr<VMRAdDumper> initWithContext(std::weak_ptr<VMRContext> context,
                                                      const std::shared_ptr<VMRRuntime>& runtime);
  /// Shuts down.
  ~VMRAdDumper() override;

  /// Null when it failed: see `lastError`.
  std::shared_ptr<VMRConfig> loadConfigForRequest(const std::shared_ptr<VemoraAdRequest>& request);
  /// A group without ads comes together with an error; null when there was none to build.
  std::shared_ptr<VemoraAdGroup> loadAdsForRequest(const std::shared_ptr<VemoraAdRequest>& request);

  /// Starts now, or once the runtime is visible; the data is then lost, on purpose.
  bool start(const JsonValue& data);
  bool play(const JsonValue& data);
  bool stop(const JsonValue& data);
  bool pause(const JsonValue& data);
  bool resume(const JsonValue& data);
  bool skip(const JsonValue& data);
  bool close(const JsonValue& data);
  bool _sendControl(const std::string& method, const JsonValue& data);

  /// The parameters of "get.config" and "get.ads", from what is known now.
  JsonValue vastDictionary(const VemoraAdRequest& request);

  /// Closes the runtime and clears `lastError`.
  void shutdown();

  void onHide() override;
  void onShow() override;
  void routeChangeNotification(const Notification& notification);

  std::optional<VMRError> lastError() const { return lastError_.get(); }
  std::shared_ptr<VMRContext> context() const { return context_.get().lock(); }
  void setContext(std::weak_ptr<VMRContext> context) { context_.set(std::move(context)); }
  std::shared_ptr<VMRRuntime> runtime() const { return runtime_.get(); }
  void setRuntime(std::shared_ptr<VMRRuntime> runtime) { runtime_.set(std::move(runtime)); }
  /// A plain reference, for whoever wants one beside the dumper.
  std::shared_ptr<void> timer() const { return timer_.get(); }
  void setTimer(std::shared_ptr<void> timer) { timer_.set(std::move(timer)); }

 private:
  struct Reply {
    bool cameInTime = false;
    std::shared_ptr<VMRRpc> message;
  };

  VMRAdDumper() = default;
  Reply ask(const std::string& method, const JsonValue& params);
  void setSendFailure(const std::string& reason);

  std::atomic<bool> startOnVisible{false};
  Locked<std::optional<VMRError>> lastError_;
  Locked<std::weak_ptr<VMRContext>> context_;
  Locked<std::shared_ptr<VMRRuntime>> runtime_;
  Locked<std::shared_ptr<void>> timer_;
  NotificationCenter::Token routeChanges_;
};

}  // namespace vemora
