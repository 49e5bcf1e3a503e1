#pragma once

#include "base/Locked.h"
#include "core/bridge/VMRFuture.h"
#include "core/bridge/VMRObservable.h"
#include "core/bridge/VMRRpc.h"

#include <Vemora/VMRError.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vemora {

/// The abstract channel to the controller page: posts messages, passes received ones to its observers, and
/// turns a request into a future of its reply. Any thread, unless an operation says otherwise.
class VMRRuntime : public VMRObservable, public std::enable_shared_from_this<VMRRuntime> {
 public:
  using ErrorHandler = std::function<void(const VMRError&)>;

  /// Sends a message without waiting for anything. The handler is called when sending failed, and only then.
  /// Abstract: the base throws `InternalInconsistencyException`.
  virtual void postMessage(const std::shared_ptr<VMRRpc>& message, ErrorHandler errorHandler);

  /// Passes a received message, which may be null, to the observers until one consumes it. Background threads
  /// only.
  void onMessage(const std::shared_ptr<VMRRpc>& message);

  /// Sends a request and returns at once. The future's value is the reply as `std::shared_ptr<VMRRpc>`, which
  /// may itself carry an error; the future's error is the bridge's. The page is given 15 seconds to load
  /// first, then the reply `timeout` seconds to come. Without a message the call has failed already.
  std::shared_ptr<VMRFuture> exec(const std::shared_ptr<VMRRpc>& message, double timeout);
  std::shared_ptr<VMRFuture> exec(const std::shared_ptr<VMRRpc>& message);

  virtual void close() {}
  virtual bool isVisible() const { return true; }

  /// Counts the runtimes of this process from 1. Recordings know a session by it.
  std::uint64_t number() const { return number_; }

  /// Done once the page is ready, or will never be.
  std::shared_ptr<VMRFuture> loaded() const { return loaded_.get(); }
  void setLoaded(std::shared_ptr<VMRFuture> loaded) { loaded_.set(std::move(loaded)); }

 protected:
  virtual const char* className() const { return "VMRRuntime"; }

 private:
  inline static std::atomic<std::uint64_t> count_{0};
  const std::uint64_t number_ = ++count_;
  Locked<std::shared_ptr<VMRFuture>> loaded_;
};

}  // namespace vemora
