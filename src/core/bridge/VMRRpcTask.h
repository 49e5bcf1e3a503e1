#pragma once

#include "base/Mutex.h"
#include "core/bridge/VMRFuture.h"
#include "core/bridge/VMRRpc.h"
#include "core/bridge/VMRRuntimeMessageHandler.h"
#include "ports/Dispatch.h"

#include <Vemora/VMRError.h>

#include <memory>
#include <optional>
#include <string_view>

namespace vemora {

class VMRRuntime;

/// One outstanding call: completes its future with the reply, with an error, or when the time is up,
/// whichever is first.
///
/// A sent task is kept alive by the error handler of its posting and by its time-out, which releases it when
/// it comes due, cancelled or not. Until then it still consumes replies, without effect. Any thread.
class VMRRpcTask final : public VMRRuntimeMessageHandler, public std::enable_shared_from_this<VMRRpcTask> {
 public:
  static std::shared_ptr<VMRRpcTask> initWithRuntime(std::shared_ptr<VMRRuntime> runtime,
                                                     std::shared_ptr<VMRRpc> message,
                                                     std::shared_ptr<VMRFuture> future);
  ~VMRRpcTask() override;

  const std::shared_ptr<VMRRuntime>& runtime() const { return runtime_; }
  const std::shared_ptr<VMRRpc>& message() const { return message_; }
  const std::shared_ptr<VMRFuture>& future() const { return future_; }

  /// Posts the message and waits for `timeout` seconds from now on.
  void send(double timeout);
  /// Consumes the response with the request's id, whatever method it carries.
  bool onMessage(const std::shared_ptr<VMRRpc>& message) override;
  std::string_view awaitedResponse() const override;
  void timeout();
  void complete(const std::shared_ptr<VMRRpc>& message, const std::optional<VMRError>& error);

 private:
  VMRRpcTask(std::shared_ptr<VMRRuntime> runtime, std::shared_ptr<VMRRpc> message,
             std::shared_ptr<VMRFuture> future);
  bool claimCompletion();
  void recordEnd(const std::optional<VMRError>& error) const;
  void settle(const std::shared_ptr<VMRRpc>& message, const std::optional<VMRError>& error);

  Mutex mutex_;  ///< Guards the two fields below. Nothing is locked under it.
  /// Weak, since the block holds the task: a block that is dropped without having run must not keep the task.
  std::weak_ptr<DispatchBlock> timeoutBlock_ VMR_GUARDED_BY(mutex_);
  bool didFireCallback_ VMR_GUARDED_BY(mutex_) = false;
  double sentAt_;  ///< For recordings. Set before anything can complete the call.
  const std::shared_ptr<VMRRuntime> runtime_;
  const std::shared_ptr<VMRRpc> message_;
  const std::shared_ptr<VMRFuture> future_;
};

}  // namespace vemora
