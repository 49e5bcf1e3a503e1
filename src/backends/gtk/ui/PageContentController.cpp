#include "backends/gtk/ui/PageContentController.h"

#include "backends/gtk/ui/ScriptValue.h"
#include "core/settings/StallWatch.h"
#include "ports/Platform.h"

namespace vemora::gtk {

namespace {

/// `window.webkit` itself cannot be replaced, its property can.
constexpr char kBridgeScript[] = R"js((secret => {
  const namespace = window.webkit;
  if (!namespace) return;
  const prototype = Object.getPrototypeOf(namespace);
  const native = namespace.messageHandlers;
  delete prototype.messageHandlers;
  if (window !== window.top) return;
  const known = new Map();
  const bridged = handler => {
    if (!known.has(handler)) {
      const postMessage = message => handler.postMessage([secret, message]);
      known.set(handler, Object.create(handler, { postMessage: { value: postMessage, writable: true } }));
    }
    return known.get(handler);
  };
  const messageHandlers = new Proxy(native, {
    get(handlers, name) {
      return Object.hasOwn(handlers, name) ? bridged(handlers[name]) : handlers[name];
    },
  });
  // Not on the object itself: it is collected while no script refers to it, and made anew without the property.
  Object.defineProperty(prototype, "messageHandlers", { get: () => messageHandlers, enumerable: true });
}))js";

std::string newSecret() {
  std::string secret;
  for (int word = 0; word < 4; ++word)
    secret += std::to_string(Platform::shared().system().randomUInt32()) + '-';
  return secret;
}

/// The message of `[secret, message]`; null for anything else.
GObjectPtr<JSCValue> messageOf(JSCValue* sent, const std::string& secret) {
  if (!jsc_value_is_array(sent)) return {};
  const auto first = GObjectPtr<JSCValue>::adopt(jsc_value_object_get_property_at_index(sent, 0));
  if (!jsc_value_is_string(first.get())) return {};
  const std::unique_ptr<char, GFree<g_free>> text(jsc_value_to_string(first.get()));
  if (text.get() != secret) return {};
  return GObjectPtr<JSCValue>::adopt(jsc_value_object_get_property_at_index(sent, 1));
}

}  // namespace

PageContentController::PageContentController()
    : secret_(newSecret()),
      manager_(GObjectPtr<WebKitUserContentManager>::adopt(webkit_user_content_manager_new())) {
  assertMainThread();
  addBridgeScript();
}

void PageContentController::addBridgeScript() {
  const std::string source = std::string(kBridgeScript) + "(\"" + secret_ + "\");";
  const std::unique_ptr<WebKitUserScript, GFree<webkit_user_script_unref>> script(
      webkit_user_script_new(source.c_str(), WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                             WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_START, nullptr, nullptr));
  webkit_user_content_manager_add_script(manager_.get(), script.get());
}

PageContentController::~PageContentController() = default;

void PageContentController::addScriptMessageHandler(std::shared_ptr<ScriptMessageHandler> handler,
                                                    std::string_view name) {
  assertMainThread();
  const std::string key(name);
  if (!handler || registrations_.contains(key)) return;
  Registration& registration = registrations_[key];
  registration.handler = std::move(handler);
  // Connect first, so that no message arrives while the handler is registered but not connected.
  registration.received =
      connectSignal<void(JSCValue*)>(manager_.get(), ("script-message-received::" + key).c_str(),
                                     [weak = weak_from_this(), key](JSCValue* sent) {
                                       if (const auto self = weak.lock()) self->received(key, sent);
                                     });
  webkit_user_content_manager_register_script_message_handler(manager_.get(), key.c_str(), nullptr);
}

void PageContentController::removeScriptMessageHandlerForName(std::string_view name) {
  assertMainThread();
  const auto entry = registrations_.find(name);
  if (entry == registrations_.end()) return;
  webkit_user_content_manager_unregister_script_message_handler(manager_.get(), entry->first.c_str(),
                                                                nullptr);
  registrations_.erase(entry);
}

void PageContentController::received(const std::string& name, JSCValue* sent) {
  const StallWatch watch("message of the page");
  const auto entry = registrations_.find(name);
  const auto body = messageOf(sent, secret_);
  if (entry == registrations_.end() || !body) return;
  const auto handler = entry->second.handler;
  handler->userContentControllerDidReceiveScriptMessage({name, jsonFromScriptValue(body.get())});
}

}  // namespace vemora::gtk
