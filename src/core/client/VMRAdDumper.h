#pragma once

#include "base/Locked.h"
#include "core/bridge/VMRRuntimeMessageHandler.h"

#include <Vemora/JsonValue.h>
#include <Vemora/NotificationCenter.h>
#include <Vemora/VMRError.h>
#include <Vemora/VemoraAdGroup.h>
#include <Vemora/VemoraAdRequest.h>

#include <atomic>
#include <functional>
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
/// which replies come. Commands may overlap: each decides on its own reply, and `lastError` is that of the
/// one that ended last.
///
/// An error reply of the page is logged, and is the underlying error of the command's.
class VMRAdDumper final : public VMRRuntimeMessageHandler, public std::enable_shared_from_this<VMRAdDumper> {
 public:
  /// Not a valid initialiser: throws `InternalInconsistencyException`.
  static std::shared_ptr<VMRAdDumper> init();
  /// Registers with the runtime and for audio route changes.
  static std::shared_ptr<VMRAdDumper> initWithContext(std::weak_ptr<VMRContext> context,
                                                      const std::shared_ptr<VMRRuntime>& runtime);
  /// Shuts down.
  ~VMRAdDumper() override;

  /// Null when it failed: see `lastError`. Any "data" makes a configuration, so that a reply in time is
  /// always one.
  std::shared_ptr<VMRConfig> loadConfigForRequest(const std::shared_ptr<VemoraAdRequest>& request);
  /// A group without ads comes together with an error; null when there was none to build.
  std::shared_ptr<VemoraAdGroup> loadAdsForRequest(const std::shared_ptr<VemoraAdRequest>& request);
  /// The same, with the error of this call alone.
  std::shared_ptr<VemoraAdGroup> loadAdsForRequest(const std::shared_ptr<VemoraAdRequest>& request,
                                                   std::optional<VMRError>& error);

  /// Starts now, or once the runtime is visible; the data is then lost, on purpose.
  bool start(const JsonValue& data);
  bool play(const JsonValue& data);
  bool stop(const JsonValue& data);
  bool pause(const JsonValue& data);
  bool resume(const JsonValue& data);
  bool skip(const JsonValue& data);
  bool close(const JsonValue& data);
  bool _sendControl(const std::string& method, const JsonValue& data);

  /// Called, on the thread that sent it, when "control.start" failed. Set it before the first command.
  void setStartFailureHandler(std::function<void(const VMRError&)> handler) {
    startFailureHandler_ = std::move(handler);
  }

  /// The parameters of "get.config" and "get.ads", from what is known now. Without a context, null for all
  /// that it would be asked for. Throws `InternalInconsistencyException` for a request without an API key.
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
  /// A plain reference that nothing here uses.
  std::shared_ptr<void> timer() const { return timer_.get(); }
  void setTimer(std::shared_ptr<void> timer) { timer_.set(std::move(timer)); }

 private:
  struct Reply {
    std::shared_ptr<VMRRpc> message;            ///< Null unless a good reply came in time.
    std::optional<VMRError> error;              ///< The call's own.
    std::shared_ptr<const VMRError> pageError;  ///< What an error reply said.
  };

  VMRAdDumper() = default;
  Reply ask(const std::string& method, const JsonValue& params);
  /// The error of a command without a good reply. It becomes `lastError` unless there is one.
  VMRError sendFailure(const Reply& reply, const std::string& reason);
  std::optional<VMRError> control(const std::string& method, const JsonValue& data);

  std::function<void(const VMRError&)> startFailureHandler_;
  std::atomic<bool> startOnVisible_{false};
  Locked<std::optional<VMRError>> lastError_;
  Locked<std::weak_ptr<VMRContext>> context_;
  Locked<std::shared_ptr<VMRRuntime>> runtime_;
  Locked<std::shared_ptr<void>> timer_;
  NotificationCenter::Token routeChanges_;
};

}  // namespace vemora
