#pragma once

#include <memory>
#include <string_view>

namespace vemora {

class VMRRpc;

/// An observer of the channel to the controller page. Every operation is optional and is called on a
/// background thread.
class VMRRuntimeMessageHandler {
 public:
  virtual ~VMRRuntimeMessageHandler() = default;

  /// A message came from the page; null for a posted object that is no message. True when this observer
  /// consumed it, which ends the dispatch.
  virtual bool onMessage(const std::shared_ptr<VMRRpc>& /*message*/) { return false; }
  /// The runtime's view stopped or began being visible.
  virtual void onHide() {}
  virtual void onShow() {}

  /// The one id whose response this observer may consume, for an observer that ignores every other message.
  /// Empty for observers that want to see all. Must not change while registered.
  virtual std::string_view awaitedResponse() const { return {}; }
};

}  // namespace vemora
